// Writes a report as HTML, Markdown, JUnit XML, CSV or JSON.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "companions/Report.h"
#include "companions/ReportCommandLine.h"

class Output;

// The version of schema/compliance-report.schema.json. New members and conditions do not change it.
constexpr int reportSchemaVersion = 1;

constexpr std::size_t maxHtmlRows = 5'000;
constexpr std::size_t maxMarkdownRows = 1'000;
constexpr std::size_t maxMarkdownHosts = 1'000;
// In HTML, in Markdown and on standard error.
constexpr std::size_t maxShownProblems = 1'000;
// Longer names, messages and texts of rows are truncated in HTML, in Markdown and on standard
// error.
constexpr std::size_t maxShownBytes = 1'000;

// Writes a report in one format. The caller passes the entries in the order of the report:
// StartEntry, AddRow for each row, EndEntry; then Finish. Write errors are errors of the Output.
class ReportWriter {
public:
    ReportWriter() = default;
    virtual ~ReportWriter() = default;
    ReportWriter(ReportWriter const&) = delete;
    ReportWriter& operator=(ReportWriter const&) = delete;

    // False if the caller need not pass the rows of the entry.
    virtual bool WantsRows(ReportEntry const& entry) const = 0;
    virtual void StartEntry(ReportEntry const& entry) = 0;
    // The caller may pass rows that the format does not want. If the file has changed, the number
    // of rows may differ from that in the entry.
    virtual void AddRow(ReportEntry const& entry, StoredRow const& row) = 0;
    virtual void EndEntry(ReportEntry const& entry) = 0;
    // Reads the problems of the report, which may have been added since the construction.
    virtual void Finish() = 0;
};

// The report and the output must outlive the writer.
std::unique_ptr<ReportWriter> MakeReportWriter(ReportFormat format, Report const& report,
                                               Output& output);
// Called by MakeReportWriter. MakePageWriter is for HTML and Markdown, MakeSummaryWriter is for
// JSON.
std::unique_ptr<ReportWriter> MakePageWriter(ReportFormat format, Report const& report,
                                             Output& output);
std::unique_ptr<ReportWriter> MakeJunitWriter(Report const& report, Output& output);
std::unique_ptr<ReportWriter> MakeCsvWriter(Report const& report, Output& output);
std::unique_ptr<ReportWriter> MakeSummaryWriter(Report const& report, Output& output);

// True if the text consists of printable ASCII characters that are not in `special`. Such text
// needs no escapes, so the formats use this as a fast path.
bool IsPlain(std::string_view text, std::string_view special);

// Returns visible text (VisibleText.h) with character references for the special characters of HTML
// and XML. Also escapes U+FFFE and U+FFFF, which are not allowed in XML.
std::string EscapeMarkup(std::string const& text);

// Like EscapeMarkup, but for Markdown: no character has a meaning as markup within a line.
std::string EscapeMarkdown(std::string const& text);

// Truncates text of more than maxShownBytes, and appends the number of omitted bytes.
std::string Shorten(std::string const& text);

// Returns the document of an entry with a result. Adds the site if other entries need it: "document
// (site)".
std::string DocumentOf(ReportEntry const& entry);

// Returns "host", or "host (document)" with the text of DocumentOf.
std::string NameOfEntry(ReportEntry const& entry);

// The files of templates/, and the SHA-256 digests of the style sheet and of the script in
// hexadecimal.
extern char const htmlTemplate[];
extern char const styleSheet[];
extern char const scriptText[];
extern char const markdownTemplate[];
extern char const suiteTemplate[];
extern char const caseTemplate[];
extern char const styleSheetSha256[];
extern char const scriptTextSha256[];
