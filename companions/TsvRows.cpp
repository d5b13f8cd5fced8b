#include "companions/Rows.h"

#include <string>

#include "companions/Output.h"
#include "companions/VisibleText.h"

namespace {

constexpr std::string_view special = "\t\n\r\\";
constexpr std::string_view escapes = "tnr\\";

void AppendEscaped(std::string& line, std::string_view text) {
    for (;;) {
        std::size_t const stop = text.find_first_of(special);
        line += text.substr(0, stop);
        if (stop == std::string_view::npos)
            return;
        line += '\\';
        line += escapes[special.find(text[stop])];
        text.remove_prefix(stop + 1);
    }
}

// Escapes for TSV first: that doubles all backslashes, so the escapes of MakeVisible, which have a
// single one, remain unambiguous.
void AppendVisible(std::string& line, std::string_view text, CharacterSet characters) {
    std::string escaped;
    AppendEscaped(escaped, text);
    line += MakeVisible(escaped, characters);
}

template <typename Fields>
void WriteLine(Fields const& fields, std::string& line, Output& output) {
    line.clear();
    for (std::string_view const field : fields) {
        if (output.IsTerminal())
            AppendVisible(line, field, output.Characters());
        else
            AppendEscaped(line, field);
        line += '\t';
    }
    line.back() = '\n';
    output.Write(line);
}

} // namespace

void WriteTsv(Rows const& rows, Output& output) {
    std::string line;
    WriteLine(rowFieldNames, line, output);
    for (unsigned int index = 0; index < rows.count; ++index)
        WriteLine(rows.get(index), line, output);
}
