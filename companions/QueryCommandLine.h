// The command line of compliance-query.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "companions/QueryValues.h"
#include "companions/TableRows.h"

enum class RowFormat { table, tsv, json, ndjson };

struct QueryCommandLine {
    enum Action { evaluate, showHelp, showVersion, explain, checkConfig };

    Action action = evaluate;
    RowFormat format = RowFormat::table;
    ProgressStyle progress = ProgressStyle::automatic;
    // Applies to RowFormat::table only.
    TableOptions table = {};
    // Write errors, but no other messages.
    bool quiet = false;
    std::optional<std::chrono::seconds> timeout = {};
    // The time during which temporary failures are retried.
    std::optional<std::chrono::seconds> wait = {};
    // nullopt: standard output.
    std::optional<std::string> outputFile = {};
    // nullopt: no metrics.
    std::optional<std::string> metricsFile = {};
    // A failed evaluation replaces `outputFile`, too.
    bool keepFailures = false;
    bool allowStale = false;
    // The good results, without duplicates. Empty: all results are good.
    std::vector<std::string> acceptedResults = {};
    // The name of the option or configuration key with `acceptedResults`.
    char const* acceptedBy = "--strict";
    // Accept an evaluation without rows, although `acceptedResults` is not empty.
    bool allowEmpty = false;
    // The bitwise OR of COMPLIANCE_FLAG_ values.
    unsigned int flags = 0;
    // The value of --config or --check-config.
    std::string config = {};
    // Both nullopt for the default document (-d, or a configuration file without URL).
    std::optional<std::string> url = {};
    std::optional<std::string> document = {};
    // The value of --explain.
    std::string status = {};
};

// Parses the arguments of main and the configuration file of --config. The options --flags and
// --strict replace the values of the file. Throws CommandLineError. For an invalid file, what() is
// the first mistake. With --help or --version, values are not checked, and operands may be missing.
QueryCommandLine ParseQueryCommandLine(int count, char const* const* arguments);

// Returns the output of --help.
std::string QueryHelp();
