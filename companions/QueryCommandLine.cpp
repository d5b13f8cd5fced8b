#include "companions/QueryCommandLine.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>

#include "companions/Arguments.h"
#include "companions/Rows.h"
#include "compliance/Compliance.h"

namespace {

constexpr char duration[] = "a time from 1 second to 2147483647 seconds, such as 90, 90s, 5m or 2h";

constexpr char columnNames[] =
    "designator, result, resultType, evaluationTime, description or comment";

constexpr std::array optionRules = {
    OptionRule{"--help", nullptr, 'h'},
    OptionRule{"--version", nullptr, 'V'},
    OptionRule{"--explain", "0 to 11, 129, 130 or 143"},
    OptionRule{"--table"},
    OptionRule{"--tsv"},
    OptionRule{"--json"},
    OptionRule{"--ndjson"},
    OptionRule{"--columns", columnNames},
    OptionRule{"--sort", columnNames},
    OptionRule{"--only", "a list of results with commas between"},
    OptionRule{"--color", "auto, always or never"},
    OptionRule{"--output", "the name of a file", 'o'},
    OptionRule{"--keep-failures"},
    OptionRule{"--quiet", nullptr, 'q'},
    OptionRule{"-d", nullptr, 'd'},
    OptionRule{"--flags",
               "gather, all, idle or hint, with commas between, or a number from 0 to 15"},
    OptionRule{"--strict", "a list of results with commas between"},
    OptionRule{"--allow-empty"},
    OptionRule{"--allow-stale"},
    OptionRule{"--timeout", duration},
    OptionRule{"--wait", duration},
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

// The whole text as a decimal number; nothing for any other text.
std::optional<long long> ParseNumber(std::string_view text) {
    long long number = 0;
    char const* const end = text.data() + text.size();
    auto const [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || text.starts_with('-'))
        return {};
    return number;
}

unsigned int ParseFlag(std::string const& text) {
    auto const found = std::ranges::find(flagNames, text, &FlagName::name);
    if (found != flagNames.end())
        return found->value;
    constexpr long long maxFlags = 15;
    std::optional<long long> const number = ParseNumber(text);
    if (!number || *number > maxFlags)
        RefuseValue("--flags", text);
    return static_cast<unsigned int>(*number);
}

unsigned int ParseFlags(std::vector<std::string> const& lists) {
    unsigned int flags = 0;
    for (std::string const& list : lists)
        for (std::string const& part : SplitAtCommas(list))
            flags |= ParseFlag(part);
    return flags;
}

std::string TrimSpaces(std::string const& text) {
    std::size_t const start = text.find_first_not_of(" \t");
    std::size_t const end = text.find_last_not_of(" \t");
    return start == std::string::npos ? "" : text.substr(start, end - start + 1);
}

// An empty text in a longer list is a result like any other; a list that is empty altogether is
// rather an unset variable of a script.
std::vector<std::string> ParseResults(char const* option, std::vector<std::string> const& lists) {
    std::vector<std::string> results;
    for (std::string const& list : lists) {
        if (TrimSpaces(list).empty())
            RefuseValue(option, list);
        for (std::string const& part : SplitAtCommas(list))
            if (std::string result = TrimSpaces(part);
                std::ranges::find(results, result) == results.end())
                results.push_back(std::move(result));
    }
    return results;
}

// The seconds of the unit at the end of the text, which is removed.
long long TakeUnit(std::string_view& text) {
    constexpr std::array units = {std::pair{'s', 1}, std::pair{'m', 60}, std::pair{'h', 3600}};
    for (auto const& [letter, unitSeconds] : units) {
        if (text.ends_with(letter)) {
            text.remove_suffix(1);
            return unitSeconds;
        }
    }
    return 1;
}

std::optional<std::chrono::seconds> ParseDuration(char const* option,
                                                  std::vector<std::string> const& values) {
    if (values.empty())
        return {};
    constexpr long long maxSeconds = std::numeric_limits<std::int32_t>::max();
    std::string_view text = values.back();
    long long const unit = TakeUnit(text);
    std::optional<long long> const number = ParseNumber(text);
    if (!number || *number < 1 || *number > maxSeconds / unit)
        RefuseValue(option, values.back());
    return std::chrono::seconds(*number * unit);
}

std::optional<std::string> ParseOutputFile(std::vector<std::string> const& values) {
    if (values.empty())
        return {};
    if (values.back().empty())
        RefuseValue("--output", values.back());
    return values.back();
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

ColorMode ParseColor(std::vector<std::string> const& values) {
    if (values.empty() || values.back() == "auto")
        return ColorMode::automatic;
    if (values.back() == "always")
        return ColorMode::always;
    if (values.back() == "never")
        return ColorMode::never;
    RefuseValue("--color", values.back());
}

std::size_t ParseField(char const* option, std::string const& name) {
    auto const found = std::ranges::find(rowFieldNames, std::string_view(name));
    if (found == rowFieldNames.end())
        RefuseValue(option, name);
    return static_cast<std::size_t>(found - rowFieldNames.begin());
}

TableOptions ParseTable(Arguments const& arguments) {
    TableOptions table;
    if (arguments.Has("--columns"))
        table.columns.clear();
    for (std::string const& list : arguments.Values("--columns"))
        for (std::string const& name : SplitAtCommas(list))
            table.columns.push_back(ParseField("--columns", TrimSpaces(name)));
    if (arguments.Has("--sort"))
        table.sortField = ParseField("--sort", arguments.Values("--sort").back());
    table.shownResults = ParseResults("--only", arguments.Values("--only"));
    table.color = ParseColor(arguments.Values("--color"));
    return table;
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

// Options that change nothing without another one are mistakes.
void RefuseWithout(Arguments const& arguments, char const* option, char const* other) {
    if (arguments.Has(option) && !arguments.Has(other))
        throw CommandLineError(std::string(option) + ": accepted beside " + other + " only");
}

void ReadEvaluation(Arguments const& arguments, QueryCommandLine& result) {
    RefuseWithout(arguments, "--allow-empty", "--strict");
    RefuseWithout(arguments, "--keep-failures", "--output");
    result.format = ChooseFormat(arguments);
    for (char const* const option : {"--columns", "--sort", "--only", "--color"})
        if (arguments.Has(option) && result.format != RowFormat::table)
            throw CommandLineError(std::string(option) + ": accepted with the table only");
    result.table = ParseTable(arguments);
    result.quiet = arguments.Has("--quiet");
    result.keepFailures = arguments.Has("--keep-failures");
    if (result.keepFailures && result.format != RowFormat::json &&
        result.format != RowFormat::ndjson)
        throw CommandLineError("--keep-failures: accepted beside --json and --ndjson only");
    result.allowStale = arguments.Has("--allow-stale");
    result.allowEmpty = arguments.Has("--allow-empty");
    result.flags = ParseFlags(arguments.Values("--flags"));
    result.acceptedResults = ParseResults("--strict", arguments.Values("--strict"));
    result.timeout = ParseDuration("--timeout", arguments.Values("--timeout"));
    result.wait = ParseDuration("--wait", arguments.Values("--wait"));
    result.outputFile = ParseOutputFile(arguments.Values("--output"));
    result.progress = ParseProgress(arguments.Values("--progress"));
    ReadOperands(arguments, result);
}

} // namespace

QueryCommandLine ParseQueryCommandLine(int count, char const* const* argumentTexts) {
    Arguments const arguments(optionRules, operandNames, count, argumentTexts);
    QueryCommandLine result;
    if (arguments.Has("--help"))
        result.action = QueryCommandLine::showHelp;
    else if (arguments.Has("--version"))
        result.action = QueryCommandLine::showVersion;
    else if (arguments.Has("--explain"))
        result = {.action = QueryCommandLine::explain,
                  .status = arguments.Values("--explain").back()};
    else
        ReadEvaluation(arguments, result);
    return result;
}
