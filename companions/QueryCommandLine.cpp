#include "companions/QueryCommandLine.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "companions/Arguments.h"
#include "companions/QueryConfig.h"
#include "companions/QueryExit.h"
#include "companions/QueryValues.h"
#include "companions/Rows.h"

namespace {

constexpr std::array optionRules = {
    OptionRule{"--help", nullptr, 'h'},
    OptionRule{"--version", nullptr, 'V'},
    OptionRule{"--explain", "0 to 11, 129, 130 or 143"},
    OptionRule{"--table"},
    OptionRule{"--tsv"},
    OptionRule{"--json"},
    OptionRule{"--ndjson"},
    OptionRule{"--columns", acceptedFields},
    OptionRule{"--sort", acceptedFields},
    OptionRule{"--only", acceptedResults},
    OptionRule{"--color", acceptedColor},
    OptionRule{"--output", acceptedFile, 'o'},
    OptionRule{"--keep-failures"},
    OptionRule{"--prometheus", acceptedFile},
    OptionRule{"--quiet", nullptr, 'q'},
    OptionRule{"-d", nullptr, 'd'},
    OptionRule{"--config", acceptedConfigName},
    OptionRule{"--check-config", acceptedConfigName},
    OptionRule{"--flags", acceptedFlags},
    OptionRule{"--strict", acceptedResults},
    OptionRule{"--allow-empty"},
    OptionRule{"--allow-stale"},
    OptionRule{"--timeout", acceptedDuration},
    OptionRule{"--wait", acceptedDuration},
    OptionRule{"--progress", acceptedProgress},
};
constexpr std::array<char const*, 2> operandNames = {"URL", "DOC"};

template <typename Parse, typename Target>
void ReadLast(Arguments const& arguments, char const* option, Parse const& parse, Target& target) {
    ReadLast(optionRules, arguments, option, parse, target);
}

unsigned int ReadFlags(Arguments const& arguments) {
    unsigned int flags = 0;
    for (std::string const& list : arguments.Values("--flags"))
        flags |= ParseOption(optionRules, "--flags", list, ParseFlags);
    return flags;
}

std::vector<std::size_t> ReadColumns(Arguments const& arguments) {
    std::vector<std::size_t> columns;
    for (std::string const& list : arguments.Values("--columns"))
        for (std::size_t const field : ParseOption(optionRules, "--columns", list, ParseFields)) {
            if (std::ranges::find(columns, field) != columns.end())
                RefuseOption(optionRules, "--columns",
                             std::string("'") + rowFieldNames[field] + "' is repeated");
            columns.push_back(field);
        }
    return columns;
}

TableOptions ParseTable(Arguments const& arguments) {
    TableOptions table;
    if (arguments.Has("--columns"))
        table.columns = ReadColumns(arguments);
    ReadLast(arguments, "--sort", ParseField, table.sortField);
    table.shownResults = ReadResults(optionRules, arguments, "--only");
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

constexpr char acceptedRequests[] = "; accepted: URL and DOC, -d, or --config NAME";

void ReadOperands(Arguments const& arguments, QueryCommandLine& result) {
    std::vector<std::string> const& operands = arguments.Operands();
    bool const hasConfig = arguments.Has("--config");
    if (hasConfig && arguments.Has("-d"))
        throw CommandLineError(std::string("-d is not accepted with --config") + acceptedRequests);
    if (hasConfig || arguments.Has("-d")) {
        if (!operands.empty())
            throw CommandLineError("'" + operands.front() + "' is not accepted with " +
                                   (hasConfig ? "--config" : "-d") + acceptedRequests);
        return;
    }
    if (operands.size() < operandNames.size())
        throw CommandLineError(std::string(operandNames[operands.size()]) + " is missing" +
                               acceptedRequests);
    result.url = operands[0];
    result.document = operands[1];
}

// Throws if `option`, which has no effect without `other`, is used without it.
void RefuseWithout(Arguments const& arguments, char const* option, char const* other) {
    if (arguments.Has(option) && !arguments.Has(other))
        throw CommandLineError(std::string(option) + ": requires " + other);
}

void UseConfig(std::string const& name, QueryCommandLine& result) {
    result.config = name;
    QueryConfig const config = ReadQueryConfig(QueryConfigPath(name));
    if (!config.mistakes.empty())
        throw CommandLineError(config.mistakes.front());
    result.url = config.url;
    result.document = config.document;
    result.flags = config.flags;
    result.acceptedResults = config.goodResults;
    result.acceptedBy = "GOOD_RESULTS";
}

void ReadOptions(Arguments const& arguments, QueryCommandLine& result) {
    RefuseWithout(arguments, "--keep-failures", "--output");
    result.format = ChooseFormat(arguments);
    for (char const* const option : {"--columns", "--sort", "--only", "--color"})
        if (arguments.Has(option) && result.format != RowFormat::table)
            throw CommandLineError(std::string(option) + ": accepted only with the table");
    result.table = ParseTable(arguments);
    result.quiet = arguments.Has("--quiet");
    result.keepFailures = arguments.Has("--keep-failures");
    if (result.keepFailures && result.format != RowFormat::json &&
        result.format != RowFormat::ndjson)
        throw CommandLineError("--keep-failures: requires --json or --ndjson");
    result.allowStale = arguments.Has("--allow-stale");
    result.allowEmpty = arguments.Has("--allow-empty");
    if (arguments.Has("--flags"))
        result.flags = ReadFlags(arguments);
    if (arguments.Has("--strict")) {
        result.acceptedResults = ReadResults(optionRules, arguments, "--strict");
        result.acceptedBy = "--strict";
    }
    if (result.allowEmpty && result.acceptedResults.empty())
        RefuseWithout(arguments, "--allow-empty", "--strict");
    ReadLast(arguments, "--timeout", ParseDuration, result.timeout);
    ReadLast(arguments, "--wait", ParseDuration, result.wait);
    ReadLast(arguments, "--output", ParseFile, result.outputFile);
    ReadLast(arguments, "--prometheus", ParseFile, result.metricsFile);
    ReadLast(arguments, "--progress", ParseProgress, result.progress);
}

void ReadEvaluation(Arguments const& arguments, QueryCommandLine& result) {
    for (std::string const& name : arguments.Values("--config"))
        UseConfig(ParseOption(optionRules, "--config", name, ParseConfigName), result);
    ReadOptions(arguments, result);
    ReadOperands(arguments, result);
}

std::string ParseStatus(std::string const& text) {
    if (!IsQueryExit(text))
        throw ValueError(text);
    return text;
}

// Throws if `option` is repeated, or combined with a request or with --check-config. `option` is
// --explain or --check-config, which send no request.
void RefuseRequest(Arguments const& arguments, std::string const& option) {
    for (char const* const other : {"-d", "--config", "--check-config"})
        if (other != option && arguments.Has(other))
            throw CommandLineError(std::string(other) + ": not accepted with " + option);
    if (!arguments.Operands().empty())
        throw CommandLineError("'" + arguments.Operands().front() + "' is not accepted with " +
                               option);
    if (arguments.Values(option).size() > 1)
        throw CommandLineError(option + ": accepted once");
}

void ReadExplanation(Arguments const& arguments, QueryCommandLine& result) {
    RefuseRequest(arguments, "--explain");
    ReadOptions(arguments, result);
    result.action = QueryCommandLine::explain;
    ReadLast(arguments, "--explain", ParseStatus, result.status);
}

void ReadCheck(Arguments const& arguments, QueryCommandLine& result) {
    RefuseRequest(arguments, "--check-config");
    ReadOptions(arguments, result);
    result.action = QueryCommandLine::checkConfig;
    ReadLast(arguments, "--check-config", ParseConfigName, result.config);
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
    else if (arguments.Has("--check-config"))
        ReadCheck(arguments, result);
    else
        ReadEvaluation(arguments, result);
    return result;
}
