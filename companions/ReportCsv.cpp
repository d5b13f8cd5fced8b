#include "companions/ReportFormats.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "companions/Output.h"
#include "companions/VisibleText.h"

namespace {

// The values of the column "kind".
constexpr char problemKind[] = "file";
constexpr char hostKind[] = "host";
constexpr char rowKind[] = "row";

using Fields = std::vector<std::string>;

std::string Join(std::vector<Condition> const& conditions) {
    std::string names;
    for (Condition const condition : conditions)
        names += std::string(names.empty() ? "" : " ") + NameOf(condition);
    return names;
}

// The characters that start a formula. The last four are the fullwidth forms.
constexpr std::array<std::string_view, 8> formulaStarts = {
    "=", "+", "-", "@", "\xEF\xBC\x9D", "\xEF\xBC\x8B", "\xEF\xBC\x8D", "\xEF\xBC\xA0"};

// Prevents formula injection: a spreadsheet evaluates text that starts with a formula character,
// possibly after whitespace, unless an apostrophe precedes it. Text that starts with a tab, a line
// break or an apostrophe always gets an apostrophe. To restore the texts, readers remove the first
// character of each text that starts with an apostrophe.
bool NeedsApostrophe(std::string_view text) {
    if (text.empty() || std::string_view("\t\r\n'").find(text[0]) != std::string_view::npos)
        return !text.empty();
    std::string_view const rest =
        text.substr(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    return std::ranges::any_of(formulaStarts,
                               [rest](std::string_view start) { return rest.starts_with(start); });
}

class CsvWriter : public ReportWriter {
public:
    CsvWriter(Report const& theReport, Output& theOutput) : report(theReport), output(theOutput) {
        Fields names = {"kind", "host",      "url",  "document", "start",
                        "end",  "condition", "good", "file"};
        names.insert(names.end(), rowFieldNames.begin(), rowFieldNames.end());
        WriteLine(names);
    }

    bool WantsRows(ReportEntry const&) const override { return true; }

    void StartEntry(ReportEntry const& entry) override {
        hasLine = !entry.conditions.empty();
        if (hasLine)
            WriteLine(HeadOf(hostKind, entry, ""));
    }

    void AddRow(ReportEntry const& entry, StoredRow const& row) override {
        Fields fields = HeadOf(rowKind, entry, report.IsAccepted(row[resultField]) ? "yes" : "no");
        fields.insert(fields.end(), row.begin(), row.end());
        WriteLine(fields);
        hasLine = true;
    }

    // A host without rows and conditions gets a line, too.
    void EndEntry(ReportEntry const& entry) override {
        if (!hasLine)
            WriteLine(HeadOf(hostKind, entry, ""));
    }

    void Finish() override {
        for (ReportProblem const& problem : report.problems) {
            Fields fields(columns);
            fields[0] = problemKind;
            fields[8] = problem.file;
            fields[columns - 1] = problem.reason;
            WriteLine(fields);
        }
    }

private:
    static constexpr std::size_t columns = 9 + rowFieldNames.size();

    static Fields HeadOf(char const* kind, ReportEntry const& entry, char const* good) {
        StoredProvenance const known =
            entry.result.provenance.value_or(StoredProvenance{.host = entry.host});
        return {kind,
                known.host,
                known.url.value_or(""),
                known.document.value_or(""),
                known.start.text,
                known.end.text,
                Join(entry.conditions),
                good,
                entry.file};
    }

    void WriteLine(Fields fields) {
        fields.resize(columns);
        std::string line;
        for (std::string const& field : fields) {
            line += line.empty() ? "\"" : ",\"";
            AppendField(line, field);
            line += '"';
        }
        output.Write(line + "\r\n");
    }

    // Escapes NUL bytes and ill-formed sequences, which CSV readers reject; on a terminal, also
    // characters that are unsafe to display.
    void AppendField(std::string& line, std::string const& field) const {
        if (NeedsApostrophe(field))
            line += '\'';
        if (IsPlain(field, "\"")) {
            line += field;
            return;
        }
        std::string const text =
            output.IsTerminal() ? MakeVisible(field, output.Characters()) : MakeReadable(field);
        for (char const c : text)
            if (c == '"')
                line += "\"\"";
            else if (c == '\0')
                line += "\\x00";
            else
                line += c;
    }

    Report const& report;
    Output& output;
    // The entry has a line already.
    bool hasLine = false;
};

} // namespace

std::unique_ptr<ReportWriter> MakeCsvWriter(Report const& report, Output& output) {
    return std::make_unique<CsvWriter>(report, output);
}
