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
    // For the table only.
    TableOptions table = {};
    // No notes beside the results, but errors.
    bool quiet = false;
    std::optional<std::chrono::seconds> timeout = {};
    // How long to try again after a temporary failure.
    std::optional<std::chrono::seconds> wait = {};
    // The file to replace; nothing for standard output.
    std::optional<std::string> outputFile = {};
    // The file of metrics to replace.
    std::optional<std::string> metricsFile = {};
    // Whether a failed evaluation replaces the file too.
    bool keepFailures = false;
    bool allowStale = false;
    // The good results, each one once; none if all are accepted.
    std::vector<std::string> acceptedResults = {};
    // The option or the key of the configuration that lists them.
    char const* acceptedBy = "--strict";
    // Whether --strict accepts an evaluation without rows.
    bool allowEmpty = false;
    // The sum of the COMPLIANCE_FLAG_ values.
    unsigned int flags = 0;
    // The value of --config or --check-config.
    std::string config = {};
    // Both absent with -d.
    std::optional<std::string> url = {};
    std::optional<std::string> document = {};
    // The value of --explain.
    std::string status = {};
};

// Reads the arguments of main. --help and --version make the values of all other options
// irrelevant; --explain and --check-config accept no operands. Options replace the values of the
// file of --config. Throws CommandLineError, also with the first mistake in that file.
QueryCommandLine ParseQueryCommandLine(int count, char const* const* arguments);

// What --help shows.
std::string QueryHelp();
