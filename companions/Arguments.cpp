#include "companions/Arguments.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string_view>

namespace {

std::string LastName(char const* names) {
    std::string const all = names;
    return all.substr(all.rfind(',') + 1);
}

// Neither variables nor conversions: the texts are taken from the options as they came.
void Declare(CLI::App& app, std::span<OptionRule const> rules,
             std::span<char const* const> operandNames) {
    app.set_help_flag();
    for (OptionRule const& rule : rules) {
        CLI::Option* const option =
            rule.accepted ? app.add_option(rule.names) : app.add_flag(rule.names);
        if (rule.accepted)
            option->expected(1)->allow_extra_args(false)->multi_option_policy(
                CLI::MultiOptionPolicy::TakeAll);
        else
            option->disable_flag_override();
    }
    for (char const* const name : operandNames)
        app.add_option(name)->expected(1)->allow_extra_args(false);
}

std::string Join(std::span<char const* const> names) {
    std::string text = names.empty() ? "none" : "";
    for (char const* const name : names)
        text += text.empty() ? name : std::string(" ") + name;
    return text;
}

std::string DescribeUnknown(std::string const& text) {
    return "'" + text + "' is no option of this program; --help shows those accepted";
}

std::string DescribeSurplus(std::vector<std::string> const& surplus,
                            std::span<char const* const> operandNames) {
    auto const found = std::ranges::find_if(surplus, [](auto const& text) { return text != "--"; });
    std::string const text = found == surplus.end() ? "" : *found;
    if (text.starts_with('-'))
        return DescribeUnknown(text);
    return "'" + text + "' is one operand too many; accepted: " + Join(operandNames);
}

// The messages begin with the name of the option that they are about, that of a flag without its
// dashes.
std::string DescribeMismatch(std::span<OptionRule const> rules, std::string const& message) {
    for (OptionRule const& rule : rules) {
        std::string const name = LastName(rule.names);
        if (message.starts_with(name + ":") && rule.accepted)
            return name + ": a value is missing; accepted: " + rule.accepted;
        if (message.starts_with(name.substr(2) + " ") && !rule.accepted)
            return name + ": this option takes no value";
    }
    return message;
}

bool TakesValue(std::span<OptionRule const> rules, std::string const& name) {
    return std::ranges::any_of(rules, [&](OptionRule const& rule) {
        return rule.accepted && name == LastName(rule.names);
    });
}

bool IsLetterOfOption(std::span<OptionRule const> rules, char letter) {
    return std::ranges::any_of(rules, [&](OptionRule const& rule) {
        std::string const names = std::string(rule.names) + ',';
        return names.starts_with(std::string{'-', letter, ','});
    });
}

// "-xh" means "-x" and "-h".
bool HasUnknownLetter(std::span<OptionRule const> rules, std::string const& text) {
    return text.size() > 2 && text[0] == '-' && IsLetterOfOption(rules, text[1]) &&
           !std::ranges::all_of(text.substr(1),
                                [&](char letter) { return IsLetterOfOption(rules, letter); });
}

// Two arguments that CLI11 reads otherwise are passed to it with this mark inside. No argument of a
// program can have a NUL, so Unmark restores each text, and values and operands need no care.
//
// - "--name=": CLI11 would take the next argument as the value. The mark is the value instead.
// - "-x-" for an option "-x": CLI11 would take the rest as an argument of its own, here "--". The
//   mark makes "-x" an unknown option.
constexpr std::string_view mark{"?\0", 2};

std::string Mark(std::span<OptionRule const> rules, std::string text) {
    if (text.ends_with('=') && TakesValue(rules, text.substr(0, text.size() - 1)))
        text += mark;
    else if (HasUnknownLetter(rules, text))
        text.insert(1, mark);
    return text;
}

std::string Unmark(std::string text) {
    if (std::size_t const start = text.find(mark); start != std::string::npos)
        text.erase(start, mark.size());
    return text;
}

// In reverse order, as CLI11 expects them.
std::vector<std::string> MarkAll(std::span<OptionRule const> rules, int count,
                                 char const* const* arguments) {
    std::vector<std::string> texts;
    for (int index = count - 1; index > 0; --index)
        texts.push_back(Mark(rules, arguments[index]));
    return texts;
}

std::vector<std::string> UnmarkAll(std::vector<std::string> texts) {
    std::ranges::transform(texts, texts.begin(), Unmark);
    return texts;
}

} // namespace

Arguments::Arguments(std::span<OptionRule const> rules, std::span<char const* const> operandNames,
                     int count, char const* const* arguments) {
    CLI::App app;
    Declare(app, rules, operandNames);
    try {
        app.parse(MarkAll(rules, count, arguments));
    } catch (CLI::ExtrasError const&) {
        throw CommandLineError(DescribeSurplus(UnmarkAll(app.remaining()), operandNames));
    } catch (CLI::ParseError const& error) {
        throw CommandLineError(DescribeMismatch(rules, error.what()));
    }
    for (OptionRule const& rule : rules) {
        std::string const name = LastName(rule.names);
        if (app.count(name) != 0)
            values[name] = UnmarkAll(app.get_option(name)->results());
    }
    for (char const* const name : operandNames)
        if (app.count(name) != 0)
            operands.push_back(Unmark(app.get_option(name)->results().front()));
}

std::vector<std::string> const& Arguments::Values(std::string const& option) const {
    static std::vector<std::string> const none;
    auto const found = values.find(option);
    return found == values.end() ? none : found->second;
}
