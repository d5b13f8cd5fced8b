#include "companions/Arguments.h"

#include <getopt.h>

#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>

namespace {

// getopt_long returns this number plus the index of the rule for a long option. Greater than every
// character.
constexpr int firstLongOption = 256;

// '-' makes getopt_long return operands in their order; ':' makes it distinguish a missing value
// from an unknown option.
std::string LettersOf(std::span<OptionRule const> rules) {
    std::string letters = "-:";
    for (OptionRule const& rule : rules)
        if (rule.letter != '\0')
            letters.append(1, rule.letter).append(rule.accepted ? ":" : "");
    return letters;
}

// An option without a long name gets an empty one. Only "--=VALUE" can match it, which
// IsAbbreviated refuses.
std::vector<option> LongOptionsOf(std::span<OptionRule const> rules) {
    std::vector<option> options;
    int code = firstLongOption;
    for (OptionRule const& rule : rules)
        options.push_back(
            {rule.name + 2, rule.accepted ? required_argument : no_argument, nullptr, code++});
    options.push_back({});
    return options;
}

// Returns the rule for a return value of getopt_long, or null.
OptionRule const* FindRule(std::span<OptionRule const> rules, int code) {
    if (code >= firstLongOption)
        return &rules[static_cast<std::size_t>(code - firstLongOption)];
    auto const rule = std::ranges::find(rules, code, &OptionRule::letter);
    return rule == rules.end() ? nullptr : &*rule;
}

// getopt_long accepts abbreviated names. They are refused, because a script that uses one would
// fail when another option with the same initial letters is added.
bool IsAbbreviated(std::string_view argument, OptionRule const& rule) {
    return argument.starts_with("--") && argument.substr(0, argument.find('=')) != rule.name;
}

std::string Join(std::span<char const* const> names) {
    std::string text = names.empty() ? "none" : "";
    for (char const* const name : names)
        text += text.empty() ? name : std::string(" ") + name;
    return text;
}

// Returns the Levenshtein distance. Takes O(from * to) time.
std::size_t EditDistance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            std::size_t const replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

// Returns "--a, --b or --c".
std::string JoinWithOr(std::vector<std::string> const& names) {
    std::string text;
    for (std::size_t index = 0; index < names.size(); ++index)
        text += (index == 0 ? "" : index + 1 == names.size() ? " or " : ", ") + names[index];
    return text;
}

// Returns the argument without its value. Adds a second dash to a name with one dash and more than
// one letter. REQUIRES: the argument starts with a dash.
std::string IntendedName(std::string const& argument) {
    std::string const name = argument.substr(0, argument.find('='));
    return name.starts_with("--") || name.size() <= 2 ? name : "-" + name;
}

std::vector<std::string> NamesThatBeginWith(std::span<OptionRule const> rules,
                                            std::string const& text) {
    std::vector<std::string> names;
    for (OptionRule const& rule : rules)
        if (std::string_view(rule.name).starts_with(text))
            names.emplace_back(rule.name);
    return names;
}

// Returns the most similar long name, or an empty list.
std::vector<std::string> SimilarNames(std::span<OptionRule const> rules, std::string const& text) {
    // Beyond this distance the argument is another word, not a typing error.
    std::size_t const letters = text.size() - 2;
    std::size_t const maxDistance = std::min<std::size_t>(2, (letters + 1) / 2);
    auto const distance = [&](OptionRule const& rule) {
        bool const isLong = std::string_view(rule.name).starts_with("--");
        return isLong ? EditDistance(text, rule.name) : maxDistance + 1;
    };
    auto const best = std::ranges::min_element(rules, {}, distance);
    if (best == rules.end() || distance(*best) > maxDistance)
        return {};
    return {best->name};
}

// Returns "; did you mean --json?", or an empty string if no long name is similar.
std::string Suggest(std::span<OptionRule const> rules, std::string const& argument) {
    // Limits the time of EditDistance.
    constexpr std::size_t maxLength = 32;
    std::string const text = IntendedName(argument);
    if (!text.starts_with("--") || text.size() <= 2 || text.size() > maxLength)
        return "";
    std::vector<std::string> names = NamesThatBeginWith(rules, text);
    if (names.empty())
        names = SimilarNames(rules, text);
    return names.empty() ? "" : "; did you mean " + JoinWithOr(names) + "?";
}

// True for a long name with a single dash. getopt_long parses "-output" as the option -o with the
// value "utput".
bool LacksDash(std::span<OptionRule const> rules, std::string const& argument) {
    std::string const name = argument.substr(0, argument.find('='));
    return !name.starts_with("--") &&
           std::ranges::find(rules, "-" + name, &OptionRule::name) != rules.end();
}

[[noreturn]] void RefuseUnknown(std::span<OptionRule const> rules, std::string const& argument) {
    throw CommandLineError("'" + argument +
                           "' is not an option of this program; --help lists the options" +
                           Suggest(rules, argument));
}

// REQUIRES: getopt_long returned '?' or ':' for the argument.
[[noreturn]] void Refuse(std::span<OptionRule const> rules, std::string const& argument, int code) {
    OptionRule const* const rule = optopt == 0 ? nullptr : FindRule(rules, optopt);
    if (rule == nullptr || IsAbbreviated(argument, *rule))
        RefuseUnknown(rules, argument);
    if (code == ':')
        throw CommandLineError(std::string(rule->name) +
                               ": a value is missing; accepted: " + rule->accepted);
    throw CommandLineError(std::string(rule->name) + ": this option takes no value");
}

} // namespace

Arguments::Arguments(std::span<OptionRule const> rules, std::span<char const* const> operandNames,
                     int count, char const* const* arguments) {
    std::string const letters = LettersOf(rules);
    std::vector<option> const longOptions = LongOptionsOf(rules);
    optind = 0; // Restarts the scan.
    opterr = 0; // Prints no messages.
    for (int index = 1;; index = optind) {
        // The cast is safe: getopt_long permutes the arguments only without '-' in `letters`.
        int const code = getopt_long(count, const_cast<char* const*>(arguments), letters.c_str(),
                                     longOptions.data(), nullptr);
        if (code == -1)
            break;
        Add(rules, code, arguments[index]);
    }
    operands.insert(operands.end(), arguments + optind, arguments + count);
    bool const isRepeated =
        !operandNames.empty() && std::string_view(operandNames.back()).ends_with("...");
    if (operands.size() > operandNames.size() && !isRepeated)
        throw CommandLineError("'" + operands[operandNames.size()] +
                               "' is an extra operand; accepted: " + Join(operandNames));
}

void Arguments::Add(std::span<OptionRule const> rules, int code, std::string const& argument) {
    if (code == 1) {
        operands.push_back(optarg);
        return;
    }
    if (code == '?' || code == ':')
        Refuse(rules, argument, code);
    OptionRule const& rule = *FindRule(rules, code);
    if (IsAbbreviated(argument, rule) || LacksDash(rules, argument))
        RefuseUnknown(rules, argument);
    values[rule.name].push_back(rule.accepted ? optarg : "");
}

std::vector<std::string> const& Arguments::Values(std::string_view option) const {
    static std::vector<std::string> const none;
    auto const found = values.find(option);
    return found == values.end() ? none : found->second;
}
