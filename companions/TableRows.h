// Writes rows as a table for people.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "companions/Color.h"

class Output;
struct Rows;

struct TableOptions {
    // The index of the field in each column.
    std::vector<std::size_t> columns = {0, 1, 2, 3, 4, 5};
    // The field to sort by. nullopt: the order of the agent.
    std::optional<std::size_t> sortField = {};
    // Show only rows with these results. Empty: all rows.
    std::vector<std::string> shownResults = {};
    ColorMode color = ColorMode::automatic;
};

// Writes a line of headings and one or more lines for each shown row. Columns are separated by two
// spaces; no line ends with padding. If there are no such rows, writes only one line that says so.
// All texts are visible text (VisibleText.h).
//
// Column widths: a column is as wide as its longest text (DisplayWidth.h). On a terminal, or if the
// environment variable COLUMNS has a positive number, the widest columns are narrowed until the
// table fits. The minimum width is that of the heading, or 4 if the table does not fit otherwise.
// Longer texts are wrapped, at spaces if possible. Six columns take at least 34, so a narrower
// terminal wraps the lines itself.
//
// Sorting is stable, by CompareTexts (TextOrder.h).
//
// Colours: a result is green if it is in `accepted`, otherwise red. If that list is empty,
// different results have different colours, which are reused after the fourth.
void WriteTable(Rows const& rows, TableOptions const& options,
                std::vector<std::string> const& accepted, Output& output);
