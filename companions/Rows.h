// The result rows of a finished evaluation, and their output as tab-separated values. TableRows.h
// and JsonRows.h have the other formats.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class Output;

// In the order of COMPLIANCE_IndexedValue. Also the names in JSON and TSV.
constexpr std::array<char const*, 6> rowFieldNames = {"designator",     "result",      "resultType",
                                                      "evaluationTime", "description", "comment"};
constexpr std::size_t designatorField = 0;
constexpr std::size_t resultField = 1;

using Row = std::array<std::string_view, rowFieldNames.size()>;

// Random access to rows in the memory of the C API. Valid until COMPLIANCE_Close.
struct Rows {
    unsigned int count = 0;
    // REQUIRES: the index is less than `count`.
    std::function<Row(unsigned int)> get = {};
};

// The result of checking rows against the list of accepted results.
struct ResultCheck {
    // The number of rows whose result is not accepted.
    unsigned int others = 0;
    // Designators and results of the first of these rows, at most three.
    std::vector<std::pair<std::string, std::string>> firstOthers = {};
    // Accepted results that no row has.
    std::vector<std::string> unused = {};
};

// Compares results byte by byte.
ResultCheck CheckResults(Rows const& rows, std::vector<std::string> const& accepted);

// The number of rows for each result.
using ResultCounts = std::map<std::string, unsigned int, std::less<>>;
ResultCounts CountResults(Rows const& rows);

// In bytes. Reports and metrics do not count longer results by name.
constexpr std::size_t maxResultNameLength = 100;

// Removes all results except the `max` with the most rows. If numbers are equal, keeps those that
// sort first. Returns the total number of rows of the removed results.
std::size_t KeepMostFrequent(ResultCounts& results, std::size_t max);

// Returns "1 row" or "2 rows".
std::string FormatRowCount(std::size_t count);

// Writes tab-separated values: a line of field names, then a line for each row.
//
// In the texts, a tab is written as "\t", a line feed as "\n", a carriage return as "\r" and a
// backslash as "\\". All other bytes are written unchanged, except on a terminal, where they are
// converted to visible text (VisibleText.h). The original texts can be restored in both cases.
void WriteTsv(Rows const& rows, Output& output);
