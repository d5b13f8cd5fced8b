// The result rows of a finished evaluation, and two formats for them. JsonRows.h has the others.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

class Output;

// In the order of COMPLIANCE_IndexedValue. JSON and TSV use these names.
constexpr std::array<char const*, 6> rowFieldNames = {"designator",     "result",      "resultType",
                                                      "evaluationTime", "description", "comment"};
constexpr std::size_t resultField = 1;

using Row = std::array<std::string_view, rowFieldNames.size()>;

// Rows are read one by one where they are, and may be read more than once.
struct Rows {
    unsigned int count = 0;
    // REQUIRES: the index is below the count.
    std::function<Row(unsigned int)> get = {};
};

// How many rows have a result that is not among the accepted ones, compared byte by byte.
unsigned int CountOtherResults(Rows const& rows, std::vector<std::string> const& accepted);

// Writes a table: a line of headings and a line for each row, in columns with two spaces between;
// the last column is not padded. Without rows it writes one line that says so. The texts are
// visible text (VisibleText.h). A column is as wide as its longest text. A text longer than 40
// characters does not widen its column, and moves only the rest of its own line.
void WriteTable(Rows const& rows, Output& output);

// Writes tab-separated values: a line of the field names, then a line for each row. In the texts a
// tab is written as "\t", a line feed as "\n", a carriage return as "\r" and a backslash as "\\";
// all other bytes are written unchanged. On a terminal the others are visible text (VisibleText.h).
// Each text can be restored either way.
void WriteTsv(Rows const& rows, Output& output);
