#include "companions/QueryCommandLine.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "companions/Arguments.h"
#include "compliance/Compliance.h"

namespace {

constexpr std::array optionRules = {
    OptionRule{"--help", nullptr, 'h'},
    OptionRule{"--version"},
    OptionRule{"--table"},
    OptionRule{"--tsv"},
    OptionRule{"--json"},
    OptionRule{"--ndjson"},
    OptionRule{"--quiet"},
    OptionRule{"-d", nullptr, 'd'},
    OptionRule{"--flags", "gather, all, idle or hint, with commas between"},
    OptionRule{"--strict", "a list of results with commas between"},
    OptionRule{"--timeout", "a whole number of seconds from 1 to 2147483647"},
    OptionRule{"--progress", "auto, bar, lines or none"},
};
constexpr std::array<char const*, 2> operandNames = {"URL", "DOC"};

struct FlagName {
    std::string_view name;
    // cppcheck-suppress unusedStructMember ; what std::ranges::find gives is asked for it
    unsigned int value;
};

constexpr std::array flagNames = {
    FlagName{"gather", COMPLIANCE_FLAG_GATHER},
    FlagName{"all", COMPLIANCE_FLAG_EVALUATE_ALL},
    FlagName{"idle", COMPLIANCE_FLAG_IDLE_CPU_USAGE},
    FlagName{"hint", COMPLIANCE_FLAG_ACTIONHINT},
};

[[noreturn]] void RefuseValue(std::string_view option, std::string const& value) {
    auto const rule = std::ranges::find(optionRules, option, &OptionRule::name);
    throw CommandLineError(std::string(option) + ": '" + value +
                           "' is not accepted; accepted: " + rule->accepted);
}

std::vector<std::string> SplitAtCommas(std::string const& list) {
    std::vector<std::string> parts(1);
    for (char const c : list) {
        if (c == ',')
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

unsigned int ParseFlags(std::vector<std::string> const& lists) {
    unsigned int flags = 0;
    for (std::string const& list : lists) {
        for (std::string const& part : SplitAtCommas(list)) {
            auto const found = std::ranges::find(flagNames, part, &FlagName::name);
            if (found == flagNames.end())
                RefuseValue("--flags", part);
            flags |= found->value;
        }
    }
    return flags;
}

// An empty text in a longer list is a result like any other; a list that is empty altogether is
// rather an unset variable of a script.
std::vector<std::string> ParseAcceptedResults(std::vector<std::string> const& lists) {
    std::vector<std::string> results;
    for (std::string const& list : lists) {
        if (list.empty())
            RefuseValue("--strict", list);
        std::ranges::move(SplitAtCommas(list), std::back_inserter(results));
    }
    return results;
}

std::optional<std::chrono::seconds> ParseTimeout(std::vector<std::string> const& values) {
    if (values.empty())
        return {};
    std::string const& text = values.back();
    char const* const textEnd = text.data() + text.size();
    int seconds = 0;
    auto const [end, error] = std::from_chars(text.data(), textEnd, seconds);
    if (error != std::errc() || end != textEnd || seconds < 1)
        RefuseValue("--timeout", text);
    return std::chrono::seconds(seconds);
}

ProgressStyle ParseProgress(std::vector<std::string> const& values) {
    if (values.empty() || values.back() == "auto")
        return ProgressStyle::automatic;
    if (values.back() == "bar")
        return ProgressStyle::bar;
    if (values.back() == "lines")
        return ProgressStyle::lines;
    if (values.back() == "none")
        return ProgressStyle::none;
    RefuseValue("--progress", values.back());
}

RowFormat ChooseFormat(Arguments const& arguments) {
    constexpr std::array formats = {
        std::pair{"--table", RowFormat::table}, std::pair{"--tsv", RowFormat::tsv},
        std::pair{"--json", RowFormat::json}, std::pair{"--ndjson", RowFormat::ndjson}};
    std::vector<RowFormat> chosen;
    for (auto const& [option, format] : formats)
        if (arguments.Has(option))
            chosen.push_back(format);
    if (chosen.size() > 1)
        throw CommandLineError(
            "more than one output format; accepted: one of --table, --tsv, --json and --ndjson");
    return chosen.empty() ? RowFormat::table : chosen.front();
}

void ReadOperands(Arguments const& arguments, QueryCommandLine& result) {
    std::vector<std::string> const& operands = arguments.Operands();
    if (arguments.Has("-d")) {
        if (!operands.empty())
            throw CommandLineError("'" + operands.front() +
                                   "' is not accepted beside -d; accepted: URL and DOC, or -d");
        return;
    }
    if (operands.size() < operandNames.size())
        throw CommandLineError(std::string(operandNames[operands.size()]) +
                               " is missing; accepted: URL and DOC, or -d");
    result.url = operands[0];
    result.document = operands[1];
}

} // namespace

QueryCommandLine ParseQueryCommandLine(int count, char const* const* argumentTexts) {
    Arguments const arguments(optionRules, operandNames, count, argumentTexts);
    QueryCommandLine result;
    if (arguments.Has("--help") || arguments.Has("--version")) {
        result.action =
            arguments.Has("--help") ? QueryCommandLine::showHelp : QueryCommandLine::showVersion;
        return result;
    }
    result.format = ChooseFormat(arguments);
    result.quiet = arguments.Has("--quiet");
    result.flags = ParseFlags(arguments.Values("--flags"));
    result.acceptedResults = ParseAcceptedResults(arguments.Values("--strict"));
    result.timeout = ParseTimeout(arguments.Values("--timeout"));
    result.progress = ParseProgress(arguments.Values("--progress"));
    ReadOperands(arguments, result);
    return result;
}
