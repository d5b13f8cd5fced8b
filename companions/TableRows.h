// Rows as a table for people.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "companions/Color.h"

class Output;
struct Rows;

struct TableOptions {
    // Fields of a row, in the order of the columns.
    std::vector<std::size_t> columns = {0, 1, 2, 3, 4, 5};
    // The field by which the rows are sorted; nothing for the order of the agent.
    std::optional<std::size_t> sortField = {};
    // The results of the rows that are shown; none means all rows.
    std::vector<std::string> shownResults = {};
    ColorMode color = ColorMode::automatic;
};

// Writes a line of headings and a line or more for each row, in columns with two spaces between;
// the last column is not padded. Without rows it writes one line that says so. The texts are
// visible text (VisibleText.h).
//
// A column is as wide as its longest text (DisplayWidth.h). On a terminal, or if the environment
// variable COLUMNS has a number, the widest columns are narrowed until the table fits: to the width
// of their headings, or to four where that is not enough. Longer texts are wrapped within their
// column, at spaces where possible. No column is narrower than four, because wrapped text would be
// unreadable. So six columns take at least 34, and a narrower terminal breaks the lines itself.
//
// Rows are sorted by CompareTexts (TextOrder.h); equal ones keep their order.
//
// With colours a result is green if it is one of `acceptedResults`, and red otherwise. If that list
// is empty, each result has a colour of its own, as far as there are colours.
void WriteTable(Rows const& rows, TableOptions const& options,
                std::vector<std::string> const& acceptedResults, Output& output);
