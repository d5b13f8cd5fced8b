#include "companions/Rows.h"

#include <algorithm>
#include <string>

#include "companions/Output.h"
#include "companions/VisibleText.h"

namespace {

constexpr std::size_t maxColumnWidth = 40;
constexpr Row headings = {"DESIGNATOR",       "RESULT",      "TYPE",
                          "TIME (\xC2\xB5s)", "DESCRIPTION", "COMMENT"};
constexpr Row asciiHeadings = {"DESIGNATOR", "RESULT",      "TYPE",
                               "TIME (us)",  "DESCRIPTION", "COMMENT"};

using Texts = std::array<std::string, headings.size()>;
using Widths = std::array<std::size_t, headings.size()>;

Row const& Headings(CharacterSet characters) {
    return characters == CharacterSet::ascii ? asciiHeadings : headings;
}

Texts MakeVisible(Row const& row, CharacterSet characters) {
    Texts texts;
    std::ranges::transform(row, texts.begin(), [characters](std::string_view field) {
        return MakeVisible(field, characters);
    });
    return texts;
}

void Widen(Widths& widths, Texts const& texts) {
    for (std::size_t field = 0; field < texts.size(); ++field) {
        std::size_t const columns = CountColumns(texts[field]);
        if (columns <= maxColumnWidth)
            widths[field] = std::max(widths[field], columns);
    }
}

Widths Measure(Rows const& rows, CharacterSet characters) {
    Widths widths{};
    Widen(widths, MakeVisible(Headings(characters), characters));
    for (unsigned int index = 0; index < rows.count; ++index)
        Widen(widths, MakeVisible(rows.get(index), characters));
    return widths;
}

void WriteLine(Row const& row, Widths const& widths, Output& output) {
    Texts const texts = MakeVisible(row, output.Characters());
    std::string line;
    for (std::size_t field = 0; field < texts.size(); ++field) {
        std::size_t const columns = CountColumns(texts[field]);
        line += texts[field];
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
    Widths const widths = Measure(rows, output.Characters());
    WriteLine(Headings(output.Characters()), widths, output);
    for (unsigned int index = 0; index < rows.count; ++index)
        WriteLine(rows.get(index), widths, output);
}
