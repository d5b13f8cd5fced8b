#include "companions/Arguments.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <utility>

#include "companions/CommandLineError.h"

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

// "-xh" stands for "-x" and "-h". The parser would take what stands behind a letter for an argument
// of its own, and so "-x-" for "-x" and "--".
void RequireLetters(std::span<OptionRule const> rules, std::string const& text) {
    if (text.size() < 3 || text[0] != '-' || !IsLetterOfOption(rules, text[1]))
        return;
    if (!std::ranges::all_of(text.substr(1),
                             [&](char letter) { return IsLetterOfOption(rules, letter); }))
        throw CommandLineError(DescribeUnknown(text));
}

// "--name=" as two arguments, of which the second one is empty: the parser would take the next
// argument for the value. The result is in reverse order, as the parser wants it.
std::vector<std::string> SplitEmptyValues(std::span<OptionRule const> rules, int count,
                                          char const* const* arguments) {
    std::vector<std::string> texts;
    bool onlyOperands = false;
    bool isValue = false;
    for (int index = 1; index < count; ++index) {
        std::string text = arguments[index];
        bool const isTaken = std::exchange(isValue, false);
        onlyOperands = onlyOperands || (!isTaken && text == "--");
        if (onlyOperands || isTaken) {
            texts.push_back(text);
            continue;
        }
        RequireLetters(rules, text);
        isValue = TakesValue(rules, text);
        if (text.ends_with('=') && TakesValue(rules, text.substr(0, text.size() - 1))) {
            texts.push_back(text.substr(0, text.size() - 1));
            texts.emplace_back();
        } else {
            texts.push_back(text);
        }
    }
    std::ranges::reverse(texts);
    return texts;
}

} // namespace

Arguments::Arguments(std::span<OptionRule const> rules, std::span<char const* const> operandNames,
                     int count, char const* const* arguments) {
    CLI::App app;
    Declare(app, rules, operandNames);
    try {
        app.parse(SplitEmptyValues(rules, count, arguments));
    } catch (CLI::ExtrasError const&) {
        throw CommandLineError(DescribeSurplus(app.remaining(), operandNames));
    } catch (CLI::ParseError const& error) {
        throw CommandLineError(DescribeMismatch(rules, error.what()));
    }
    for (OptionRule const& rule : rules) {
        std::string const name = LastName(rule.names);
        if (app.count(name) != 0)
            values[name] = app.get_option(name)->results();
    }
    for (char const* const name : operandNames)
        if (app.count(name) != 0)
            operands.push_back(app.get_option(name)->results().front());
}

std::vector<std::string> const& Arguments::Values(std::string const& option) const {
    static std::vector<std::string> const none;
    auto const found = values.find(option);
    return found == values.end() ? none : found->second;
}
