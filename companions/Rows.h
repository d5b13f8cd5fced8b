// The result rows of a finished evaluation, and the formats in which they are written.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

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
