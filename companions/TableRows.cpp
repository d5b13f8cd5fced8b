#include "companions/TableRows.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <string_view>

#include "companions/Color.h"
#include "companions/DisplayWidth.h"
#include "companions/Output.h"
#include "companions/Rows.h"
#include "companions/TextOrder.h"
#include "companions/VisibleText.h"

namespace {

constexpr std::size_t minColumnWidth = 4;
constexpr std::size_t gap = 2;
constexpr Row unicodeHeadings = {"DESIGNATOR",       "RESULT",      "TYPE",
                                 "TIME (\xC2\xB5s)", "DESCRIPTION", "COMMENT"};
constexpr Row asciiHeadings = {"DESIGNATOR", "RESULT",      "TYPE",
                               "TIME (us)",  "DESCRIPTION", "COMMENT"};

// Without green and red, which mean good and bad.
constexpr std::array<std::string_view, 4> neutralColors = {"\x1b[36m", "\x1b[33m", "\x1b[35m",
                                                           "\x1b[34m"};

using Widths = std::vector<std::size_t>;

// Assigns a colour to each result.
class Colors {
public:
    Colors(bool isUsed, std::vector<std::string> const& theAccepted)
        : used(isUsed), accepted(theAccepted) {}

    // Returns an escape sequence, or an empty string without colours.
    std::string_view Of(std::string_view result) {
        if (!used)
            return {};
        if (!accepted.empty())
            return std::ranges::find(accepted, result) != accepted.end() ? green : red;
        auto const [found, isNew] =
            neutral.emplace(result, neutralColors[neutral.size() % neutralColors.size()]);
        return found->second;
    }

private:
    bool const used;
    std::vector<std::string> const& accepted;
    std::map<std::string, std::string_view, std::less<>> neutral;
};

// Returns the indices of the shown rows, in the order of the table.
std::vector<unsigned int> SelectRows(Rows const& rows, TableOptions const& options) {
    std::vector<unsigned int> selected(rows.count);
    std::iota(selected.begin(), selected.end(), 0U);
    if (!options.shownResults.empty())
        std::erase_if(selected, [&](unsigned int index) {
            return std::ranges::find(options.shownResults, rows.get(index)[resultField]) ==
                   options.shownResults.end();
        });
    if (options.sortField)
        std::ranges::stable_sort(selected, [&](unsigned int left, unsigned int right) {
            return CompareTexts(rows.get(left)[*options.sortField],
                                rows.get(right)[*options.sortField]) < 0;
        });
    return selected;
}

// Reduces widths to `limit`, but not below the smallest width of each column.
Widths Limit(Widths widths, Widths const& smallest, std::size_t limit) {
    for (std::size_t column = 0; column < widths.size(); ++column)
        widths[column] = std::min(widths[column], std::max(smallest[column], limit));
    return widths;
}

std::size_t Sum(Widths const& widths) {
    return std::accumulate(widths.begin(), widths.end(), std::size_t{0});
}

// Narrows the widest columns until the table fits into `width`, but not below the smallest width of
// each column. Returns false if it does not fit then.
bool Narrow(Widths& widths, Widths const& smallest, std::size_t width) {
    std::size_t const gaps = gap * (widths.size() - 1);
    std::size_t const available = width > gaps ? width - gaps : 0;
    if (Sum(widths) <= available)
        return true;
    std::size_t limit = 0;
    while (Sum(Limit(widths, smallest, limit + 1)) <= available)
        ++limit;
    Widths const wider = Limit(widths, smallest, limit + 1);
    widths = Limit(widths, smallest, limit);
    // Distributes the rest, which is less than one per column.
    for (std::size_t column = 0; column < widths.size(); ++column)
        if (Sum(widths) < available)
            widths[column] = wider[column];
    return Sum(widths) <= available;
}

// Narrows the columns; below the width of their headings only if the table does not fit otherwise.
void Fit(Widths& widths, Widths const& headings, std::size_t width) {
    Widths narrow = widths;
    if (!Narrow(narrow, headings, width)) {
        narrow = widths;
        Narrow(narrow, Widths(widths.size(), minColumnWidth), width);
    }
    widths = narrow;
}

// Removes one line of at most `width` columns from the front of the text, with the space at which
// it is wrapped. Returns the line without that space.
std::string_view TakeLine(std::string_view& text, std::size_t width) {
    if (text.empty())
        return {};
    std::size_t length = PrefixWithin(text, width);
    std::size_t skipped = 0;
    if (length < text.size()) {
        std::size_t const space = text.substr(0, length + 1).rfind(' ');
        if (space != std::string_view::npos && space > 0) {
            length = space;
            skipped = 1;
        }
    }
    std::string_view const line = text.substr(0, length);
    text.remove_prefix(length + skipped);
    return line;
}

class Table {
public:
    Table(Rows const& theRows, TableOptions const& theOptions, Colors& theColors, Output& theOutput)
        : rows(theRows), options(theOptions), colors(theColors), output(theOutput) {}

    void Write(std::vector<unsigned int> const& selected) {
        Row const& headings =
            CharacterSetOfLocale() == CharacterSet::unicode ? unicodeHeadings : asciiHeadings;
        Widen(headings);
        Widths const widthsOfHeadings = widths;
        for (unsigned int const index : selected)
            Widen(rows.get(index));
        Fit(widths, widthsOfHeadings, output.Width());
        WriteRow(headings, {});
        for (unsigned int const index : selected) {
            Row const row = rows.get(index);
            WriteRow(row, colors.Of(row[resultField]));
        }
    }

private:
    std::string VisibleField(Row const& row, std::size_t column) const {
        return MakeVisible(row[options.columns[column]], output.Characters());
    }

    void Widen(Row const& row) {
        for (std::size_t column = 0; column < widths.size(); ++column)
            widths[column] = std::max(widths[column], DisplayWidth(VisibleField(row, column)));
    }

    void WriteRow(Row const& row, std::string_view resultColor) {
        std::vector<std::string> texts(widths.size());
        for (std::size_t column = 0; column < widths.size(); ++column)
            texts[column] = VisibleField(row, column);
        std::vector<std::string_view> rests(texts.begin(), texts.end());
        do
            WriteLine(rests, resultColor);
        while (!std::ranges::all_of(rests, &std::string_view::empty));
    }

    // Removes one line from each text and writes them side by side.
    void WriteLine(std::vector<std::string_view>& rests, std::string_view resultColor) {
        std::string line;
        std::size_t missing = 0;
        for (std::size_t column = 0; column < widths.size(); ++column) {
            std::string_view const text = TakeLine(rests[column], widths[column]);
            if (!text.empty()) {
                line.append(missing, ' ');
                missing = 0;
                bool const isColored =
                    !resultColor.empty() && options.columns[column] == resultField;
                line.append(isColored ? resultColor : "").append(text);
                line.append(isColored ? noColor : "");
            }
            std::size_t const columns = DisplayWidth(text);
            missing += gap + (columns < widths[column] ? widths[column] - columns : 0);
        }
        output.Write(line + "\n");
    }

    Rows const& rows;
    TableOptions const& options;
    Colors& colors;
    Output& output;
    Widths widths = Widths(options.columns.size());
};

} // namespace

void WriteTable(Rows const& rows, TableOptions const& options,
                std::vector<std::string> const& accepted, Output& output) {
    if (rows.count == 0)
        return output.Write("No results.\n");
    std::vector<unsigned int> const selected = SelectRows(rows, options);
    if (selected.empty())
        return output.Write("No rows with these results.\n");
    WidthLocale const locale;
    Colors colors(UsesColor(options.color, output), accepted);
    Table(rows, options, colors, output).Write(selected);
}
