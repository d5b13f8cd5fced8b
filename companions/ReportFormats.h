// A report as HTML, Markdown, JUnit, CSV and JSON.
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

// The schema's version. Members may be added within a version.
constexpr int reportSchemaVersion = 1;

constexpr std::size_t maxHtmlRows = 5'000;
constexpr std::size_t maxMarkdownRows = 1'000;
constexpr std::size_t maxMarkdownHosts = 1'000;
// In HTML, in Markdown and on standard error.
constexpr std::size_t maxShownProblems = 1'000;
// Longer texts are cut in HTML and Markdown.
constexpr std::size_t maxShownBytes = 1'000;

// A format that gets the entries of a report one by one, in their order, and the rows of each.
class ReportWriter {
public:
    ReportWriter() = default;
    virtual ~ReportWriter() = default;
    ReportWriter(ReportWriter const&) = delete;
    ReportWriter& operator=(ReportWriter const&) = delete;

    // Whether the format needs the rows of an entry that has some.
    virtual bool WantsRows(ReportEntry const& entry) const = 0;
    virtual void StartEntry(ReportEntry const& entry) = 0;
    // Each row of the entry, or fewer if the file changed. A format may get rows that it does not
    // want.
    virtual void AddRow(ReportEntry const& entry, StoredRow const& row) = 0;
    virtual void EndEntry(ReportEntry const& entry) = 0;
    // After the last entry. The report may have more problems than before.
    virtual void Finish() = 0;
};

// The report outlives the writer.
std::unique_ptr<ReportWriter> MakeReportWriter(ReportFormat format, Report const& report,
                                               Output& output);
// By format; MakeReportWriter calls them. The first one makes HTML and Markdown.
std::unique_ptr<ReportWriter> MakePageWriter(ReportFormat format, Report const& report,
                                             Output& output);
std::unique_ptr<ReportWriter> MakeJunitWriter(Report const& report, Output& output);
std::unique_ptr<ReportWriter> MakeCsvWriter(Report const& report, Output& output);
std::unique_ptr<ReportWriter> MakeSummaryWriter(Report const& report, Output& output);

// Whether the text consists of printable characters of ASCII without the special ones. Most texts
// do, so the formats test this first.
bool IsPlain(std::string_view text, std::string_view special);

// Returns visible text (VisibleText.h) with the special characters of HTML and XML as entities.
// U+FFFE and U+FFFF, which XML cannot hold, are escaped too.
std::string EscapeMarkup(std::string const& text);

// Returns the same for Markdown, in which no character of the text is markup.
std::string EscapeMarkdown(std::string const& text);

// Returns the text, or its start and how many bytes follow.
std::string Shorten(std::string const& text);

// Returns "host", or "host (document)".
std::string NameOfEntry(ReportEntry const& entry);

// The texts of templates/, and the SHA-256 digests of two of them in hexadecimal digits.
extern char const htmlTemplate[];
extern char const styleSheet[];
extern char const scriptText[];
extern char const markdownTemplate[];
extern char const suiteTemplate[];
extern char const caseTemplate[];
extern char const styleSheetSha256[];
extern char const scriptTextSha256[];
