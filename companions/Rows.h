// The result rows of a finished evaluation, and tab-separated values. TableRows.h and JsonRows.h
// have the other formats.
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

// In the order of COMPLIANCE_IndexedValue. JSON and TSV use these names.
constexpr std::array<char const*, 6> rowFieldNames = {"designator",     "result",      "resultType",
                                                      "evaluationTime", "description", "comment"};
constexpr std::size_t designatorField = 0;
constexpr std::size_t resultField = 1;

using Row = std::array<std::string_view, rowFieldNames.size()>;

// Rows are read one by one where they are, and may be read more than once.
struct Rows {
    unsigned int count = 0;
    // REQUIRES: the index is below the count.
    std::function<Row(unsigned int)> get = {};
};

// What --strict finds in the rows.
struct ResultCheck {
    // How many rows have a result that is not accepted.
    unsigned int others = 0;
    // Designator and result of the first of them, at most three.
    std::vector<std::pair<std::string, std::string>> firstOthers = {};
    // Accepted results that no row has.
    std::vector<std::string> unused = {};
};

// Results are compared byte by byte.
ResultCheck CheckResults(Rows const& rows, std::vector<std::string> const& accepted);

// The number of rows with each result, in the order of the results.
using ResultCounts = std::map<std::string, unsigned int, std::less<>>;
ResultCounts CountResults(Rows const& rows);

// Keeps the results with the most rows, and of equal ones the first. Returns the number of rows of
// those that it removes.
std::size_t KeepMostFrequent(ResultCounts& results, std::size_t max);

// Returns "1 row" or "2 rows".
std::string FormatRowCount(std::size_t count);

// Writes tab-separated values: a line of the field names, then a line for each row. In the texts a
// tab is written as "\t", a line feed as "\n", a carriage return as "\r" and a backslash as "\\";
// all other bytes are written unchanged. On a terminal the others are visible text (VisibleText.h).
// Each text can be restored either way.
void WriteTsv(Rows const& rows, Output& output);
