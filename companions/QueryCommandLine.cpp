#include "companions/QueryCommandLine.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>

#include "companions/Arguments.h"
#include "companions/QueryExit.h"
#include "companions/ResultFile.h"
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
    OptionRule{"--output", "a regular file, or a new name in a directory that exists", 'o'},
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

// `reason` is a verb with its complement, such as "has 'a' twice".
[[noreturn]] void RefuseValue(std::string_view option, std::string const& value,
                              std::string const& reason = "is not accepted") {
    auto const rule = std::ranges::find(optionRules, option, &OptionRule::name);
    throw CommandLineError(std::string(option) + ": '" + value + "' " + reason +
                           "; accepted: " + rule->accepted);
}

std::string TrimSpaces(std::string const& text) {
    std::size_t const start = text.find_first_not_of(" \t");
    std::size_t const end = text.find_last_not_of(" \t");
    return start == std::string::npos ? "" : text.substr(start, end - start + 1);
}

bool Contains(std::vector<std::string> const& texts, std::string const& text) {
    return std::ranges::find(texts, text) != texts.end();
}

// The entries of a list with commas between. An empty entry is rather an unset variable of a script
// than a name, and a repeated one is a typing error.
std::vector<std::string> ParseList(char const* option, std::string const& list) {
    std::vector<std::string> entries;
    for (std::size_t start = 0; start <= list.size();) {
        std::size_t const comma = std::min(list.find(',', start), list.size());
        std::string const entry = TrimSpaces(list.substr(start, comma - start));
        if (entry.empty())
            RefuseValue(option, list, "has an empty entry");
        if (Contains(entries, entry))
            RefuseValue(option, list, "has '" + entry + "' twice");
        entries.push_back(entry);
        start = comma + 1;
    }
    return entries;
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
        for (std::string const& entry : ParseList("--flags", list))
            flags |= ParseFlag(entry);
    return flags;
}

std::vector<std::string> ParseResults(char const* option, std::vector<std::string> const& lists) {
    std::vector<std::string> results;
    for (std::string const& list : lists)
        for (std::string const& entry : ParseList(option, list))
            if (!Contains(results, entry))
                results.push_back(entry);
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

std::chrono::seconds ParseDuration(char const* option, std::string const& value) {
    constexpr long long maxSeconds = std::numeric_limits<std::int32_t>::max();
    std::string_view text = value;
    long long const unit = TakeUnit(text);
    std::optional<long long> const number = ParseNumber(text);
    if (!number || *number < 1 || *number > maxSeconds / unit)
        RefuseValue(option, value);
    return std::chrono::seconds(*number * unit);
}

std::string ParseOutputFile(char const* option, std::string const& path) {
    std::string const reason = ReasonAgainstResultFile(path);
    if (!reason.empty())
        RefuseValue(option, path, reason);
    return path;
}

ProgressStyle ParseProgress(char const* option, std::string const& value) {
    if (value == "auto")
        return ProgressStyle::automatic;
    if (value == "bar")
        return ProgressStyle::bar;
    if (value == "lines")
        return ProgressStyle::lines;
    if (value == "none")
        return ProgressStyle::none;
    RefuseValue(option, value);
}

ColorMode ParseColor(char const* option, std::string const& value) {
    if (value == "auto")
        return ColorMode::automatic;
    if (value == "always")
        return ColorMode::always;
    if (value == "never")
        return ColorMode::never;
    RefuseValue(option, value);
}

std::size_t ParseField(char const* option, std::string const& name) {
    auto const found = std::ranges::find(rowFieldNames, std::string_view(name));
    if (found == rowFieldNames.end())
        RefuseValue(option, name);
    return static_cast<std::size_t>(found - rowFieldNames.begin());
}

// Stores the last value of the option, if there is one. `parse(option, value)` refuses each value
// that is not accepted.
template <typename Parse, typename Target>
void ReadLast(Arguments const& arguments, char const* option, Parse const& parse, Target& target) {
    for (std::string const& value : arguments.Values(option))
        target = parse(option, value);
}

std::vector<std::size_t> ParseColumns(std::vector<std::string> const& lists) {
    std::vector<std::size_t> columns;
    for (std::string const& list : lists)
        for (std::string const& name : ParseList("--columns", list)) {
            std::size_t const field = ParseField("--columns", name);
            if (std::ranges::find(columns, field) != columns.end())
                RefuseValue("--columns", list, "has '" + name + "' a second time");
            columns.push_back(field);
        }
    return columns;
}

TableOptions ParseTable(Arguments const& arguments) {
    TableOptions table;
    if (arguments.Has("--columns"))
        table.columns = ParseColumns(arguments.Values("--columns"));
    ReadLast(arguments, "--sort", ParseField, table.sortField);
    table.shownResults = ParseResults("--only", arguments.Values("--only"));
    ReadLast(arguments, "--color", ParseColor, table.color);
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

void ReadOptions(Arguments const& arguments, QueryCommandLine& result) {
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
    ReadLast(arguments, "--timeout", ParseDuration, result.timeout);
    ReadLast(arguments, "--wait", ParseDuration, result.wait);
    ReadLast(arguments, "--output", ParseOutputFile, result.outputFile);
    ReadLast(arguments, "--progress", ParseProgress, result.progress);
}

void ReadEvaluation(Arguments const& arguments, QueryCommandLine& result) {
    ReadOptions(arguments, result);
    ReadOperands(arguments, result);
}

std::string ParseStatus(char const* option, std::string const& text) {
    if (!IsQueryExit(text))
        RefuseValue(option, text);
    return text;
}

void ReadExplanation(Arguments const& arguments, QueryCommandLine& result) {
    ReadOptions(arguments, result);
    result.action = QueryCommandLine::explain;
    ReadLast(arguments, "--explain", ParseStatus, result.status);
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
        ReadExplanation(arguments, result);
    else
        ReadEvaluation(arguments, result);
    return result;
}
