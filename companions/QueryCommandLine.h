// The command line of compliance-query.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

enum class RowFormat { table, tsv, json, ndjson };
enum class ProgressStyle { automatic, bar, lines, none };

struct QueryCommandLine {
    enum Action { evaluate, showHelp, showVersion };

    Action action = evaluate;
    RowFormat format = RowFormat::table;
    ProgressStyle progress = ProgressStyle::automatic;
    // No notes beside the results, but errors.
    bool quiet = false;
    std::optional<std::chrono::seconds> timeout = {};
    // The results that --strict accepts; none means that it was not given.
    std::vector<std::string> acceptedResults = {};
    // The sum of the COMPLIANCE_FLAG_ values.
    unsigned int flags = 0;
    // Both absent with -d.
    std::optional<std::string> url = {};
    std::optional<std::string> document = {};
};

// Reads the arguments of main. --help and --version count whatever else is right or wrong beside
// them, as long as each argument is known. Throws CommandLineError.
QueryCommandLine ParseQueryCommandLine(int count, char const* const* arguments);

// What --help shows.
extern char const queryHelp[];
