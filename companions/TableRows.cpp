#include "companions/TableRows.h"

#include <algorithm>
#include <string>

#include "companions/Output.h"
#include "companions/Rows.h"
#include "companions/VisibleText.h"

namespace {

constexpr std::size_t widestColumn = 40;
constexpr Row headings = {"DESIGNATOR",       "RESULT",      "TYPE",
                          "TIME (\xC2\xB5s)", "DESCRIPTION", "COMMENT"};

using Widths = std::array<std::size_t, headings.size()>;

void Widen(Widths& widths, Row const& row) {
    for (std::size_t field = 0; field < row.size(); ++field) {
        std::size_t const columns = CountColumns(MakeVisible(row[field]));
        if (columns <= widestColumn)
            widths[field] = std::max(widths[field], columns);
    }
}

Widths Measure(Rows const& rows) {
    Widths widths{};
    Widen(widths, headings);
    for (unsigned int index = 0; index < rows.count; ++index)
        Widen(widths, rows.get(index));
    return widths;
}

void WriteLine(Row const& row, Widths const& widths, Output& output) {
    std::string line;
    for (std::size_t field = 0; field < row.size(); ++field) {
        std::string const text = MakeVisible(row[field]);
        std::size_t const columns = CountColumns(text);
        line += text;
        line.append(columns < widths[field] ? widths[field] - columns : 0, ' ');
        line += "  ";
    }
    line.erase(line.find_last_not_of(' ') + 1);
    output.Write(line);
    output.Write("\n");
}

} // namespace

void WriteTable(Rows const& rows, Output& output) {
    if (rows.count == 0)
        return output.Write("No results.\n");
    Widths const widths = Measure(rows);
    WriteLine(headings, widths, output);
    for (unsigned int index = 0; index < rows.count; ++index)
        WriteLine(rows.get(index), widths, output);
}
