#include "companions/ReportFormats.h"

#include <numeric>

#include "tests/companions/StoredResults.h"
#include "tests/companions/Terminal.h"

namespace {

ReportEntry EntryOf(char const* host, std::size_t rows, std::size_t failing) {
    ReportEntry entry{.host = host, .hasResult = true, .file = std::string(host) + ".json"};
    entry.result.finished = true;
    entry.result.rowCount = rows;
    entry.result.provenance = StoredProvenance{.url = "u", .document = "Doc.xml", .host = host};
    entry.result.provenance->start.text = "2026-03-01T08:30:00.000+00:00";
    entry.result.provenance->end.text = "2026-03-01T08:31:00.000+00:00";
    entry.age = 7200;
    entry.failingRows = failing;
    entry.results = {{"Fail", static_cast<unsigned int>(failing)}};
    return entry;
}

StoredRow FailingRow(std::string const& comment) { return {"d", "Fail", "t", "17", "e", comment}; }

// Writes the report, with these rows of each entry.
std::string FormatReport(ReportFormat format, Report const& report,
                         std::vector<StoredRow> const& rows = {}) {
    return OutputOf([&](Output& output) {
        std::unique_ptr<ReportWriter> const writer = MakeReportWriter(format, report, output);
        for (ReportEntry const& entry : report.entries) {
            writer->StartEntry(entry);
            for (StoredRow const& row : rows)
                writer->AddRow(entry, row);
            writer->EndEntry(entry);
        }
        writer->Finish();
    });
}

// A report of one host whose rows all fail.
std::string Format(ReportFormat format, std::vector<StoredRow> const& rows,
                   ReportEntry entry = EntryOf("web1", 0, 0)) {
    Report report;
    report.options.acceptedResults = {"Pass"};
    entry.result.rowCount = entry.failingRows = rows.size();
    report.entries.push_back(entry);
    report.totals.failingRows = report.totals.rows = rows.size();
    return FormatReport(format, report, rows);
}

std::size_t Count(std::string const& text, std::string const& part) {
    std::size_t count = 0;
    for (std::size_t place = text.find(part); place != text.npos;
         place = text.find(part, place + 1))
        ++count;
    return count;
}

TEST(ReportFormatsTest, EscapesMarkup) {
    EXPECT_EQ("plain text", EscapeMarkup("plain text"));
    EXPECT_EQ("&#60;b a=&#34;1&#34; c=&#39;2&#39;&#62;&#38;amp;",
              EscapeMarkup("<b a=\"1\" c='2'>&amp;"));
    EXPECT_EQ("\\x1b\\x00\\n\\u202e\\xff\\ufffe\\uffff",
              EscapeMarkup(std::string("\x1b\0\n\xE2\x80\xAE\xFF\xEF\xBF\xBE\xEF\xBF\xBF", 13)));
    EXPECT_EQ("caf\xC3\xA9", EscapeMarkup("caf\xC3\xA9"));
    EXPECT_EQ("\\x7f", EscapeMarkup("\x7f"));
}

TEST(ReportFormatsTest, EscapesMarkdown) {
    EXPECT_EQ("plain text, v1.0-2", EscapeMarkdown("plain text, v1.0-2"));
    EXPECT_EQ("&#91;a&#93;(b) &#124; &#42;&#42;c&#42;&#42; &#60;i&#62; &#96;d&#96; &#92;n",
              EscapeMarkdown("[a](b) | **c** <i> `d` \n"));
    EXPECT_EQ("http&#58;//x www&#46;y", EscapeMarkdown("http://x www.y"));
}

TEST(ReportFormatsTest, TruncatesLongTextsBetweenCharacters) {
    EXPECT_EQ(std::string(1000, 'a'), Shorten(std::string(1000, 'a')));
    EXPECT_EQ(std::string(1000, 'a') + "... (5 more bytes)", Shorten(std::string(1005, 'a')));
    EXPECT_EQ(std::string(999, 'a') + "... (2 more bytes)",
              Shorten(std::string(999, 'a') + "\xC3\xA9"));
    EXPECT_EQ(std::string(996, '\x80') + "... (104 more bytes)",
              Shorten(std::string(1100, '\x80')));
}

TEST(ReportFormatsTest, PageNotesItsLimitOf5000FailingRows) {
    std::vector<StoredRow> rows(maxHtmlRows, FailingRow("unique-comment"));
    std::string const full = Format(ReportFormat::html, rows);
    EXPECT_EQ(5000u, Count(full, "unique-comment"));
    EXPECT_THAT(full, Not(HasSubstr("more; the CSV report")));
    rows.resize(maxHtmlRows + 7, FailingRow("unique-comment"));
    std::string const cut = Format(ReportFormat::html, rows);
    EXPECT_EQ(5000u, Count(cut, "unique-comment"));
    EXPECT_THAT(cut, HasSubstr("There are 7 more; the CSV report has all rows."));
}

TEST(ReportFormatsTest, PageWantsNoRowsAfterItsLimit) {
    Report report;
    report.entries = {EntryOf("web1", maxHtmlRows, maxHtmlRows)};
    OutputOf([&](Output& output) {
        auto const writer = MakeReportWriter(ReportFormat::html, report, output);
        writer->StartEntry(report.entries[0]);
        for (std::size_t row = 0; row < maxHtmlRows; ++row) {
            ASSERT_TRUE(writer->WantsRows(report.entries[0]));
            writer->AddRow(report.entries[0], FailingRow(""));
        }
        EXPECT_FALSE(writer->WantsRows(report.entries[0]));
    });
}

TEST(ReportFormatsTest, PageJoinsConditionsResultsAndCounts) {
    Report report;
    report.options.acceptedResults = {"Pass", "Not Applicable"};
    report.options.maxAge = hours(49);
    report.entries = {EntryOf("web1", 3, 1)};
    report.entries[0].conditions = {Condition::tooOld, Condition::notExpected};
    report.entries[0].results = {{"Fail", 1}, {"Pass", 2}};
    EXPECT_THAT(FormatReport(ReportFormat::html, report),
                AllOf(HasSubstr("Pass, Not Applicable"), HasSubstr("1 Fail, 2 Pass"),
                      HasSubstr("too old after 2 d 1 h")));
    EXPECT_THAT(FormatReport(ReportFormat::markdown, report), HasSubstr("too old, not expected"));
}

TEST(ReportFormatsTest, PageShowsTheExactMaximumAge) {
    for (auto const& [age, text] : {std::pair{seconds(90), "90 s"},
                                    {seconds(7'260), "121 min"},
                                    {minutes(5), "5 min"},
                                    {hours(26), "26 h"}}) {
        Report report;
        report.options.maxAge = age;
        for (ReportFormat const format : {ReportFormat::html, ReportFormat::markdown})
            EXPECT_THAT(FormatReport(format, report),
                        HasSubstr(std::string("too old after ") + text + "."));
    }
}

TEST(ReportFormatsTest, EntriesOfOtherSitesHaveTheSiteInTheirNames) {
    ReportEntry entry = EntryOf("web1", 0, 0);
    for (auto const& [hasOtherSites, document] :
         {std::pair{false, "Doc.xml"}, {true, "Doc.xml (u)"}}) {
        entry.hasOtherSites = hasOtherSites;
        std::string const name = std::string("web1 (") + document + ")";
        EXPECT_THAT(Format(ReportFormat::junit, {FailingRow("c")}, entry),
                    AllOf(HasSubstr("<testsuite name=\"" + name + "\""),
                          HasSubstr("classname=\"" + name + "\"")));
        EXPECT_THAT(Format(ReportFormat::html, {FailingRow("c")}, entry),
                    AllOf(HasSubstr(std::string("data-label=\"Document\">") + document + "<"),
                          HasSubstr("<th scope=\"row\">" + name + "</th><td data-label=\"")));
    }
    EXPECT_THAT(
        Format(ReportFormat::markdown, {FailingRow("c")}, entry),
        AllOf(HasSubstr("| web1 | Doc.xml (u) |"), HasSubstr("| web1 (Doc.xml (u)) | d |")));
}

TEST(ReportFormatsTest, PartsOfTheBarAreAdjacent) {
    Report report;
    report.entries.resize(10, EntryOf("web1", 1, 1));
    report.totals.attention = 2;
    report.totals.failing = 3;
    report.totals.good = 5;
    EXPECT_THAT(FormatReport(ReportFormat::html, report),
                HasSubstr("<rect class=\"alert\" width=\"20.000\" height=\"2\"/>"
                          "<rect class=\"bad\" x=\"20.000\" width=\"30.000\" height=\"2\"/>"
                          "<rect class=\"good\" x=\"50.000\" width=\"50.000\" height=\"2\"/>"));
    report.entries.resize(3);
    EXPECT_THAT(FormatReport(ReportFormat::html, report),
                HasSubstr("<rect class=\"alert\" width=\"66.666\" height=\"2\"/>"));
}

TEST(ReportFormatsTest, MarkdownOmitsGoodHostsUnlikeHtml) {
    Report report;
    report.entries = {EntryOf("failing-host", 1, 1), EntryOf("good-host", 1, 0)};
    EXPECT_THAT(FormatReport(ReportFormat::html, report), HasSubstr("good-host"));
    EXPECT_THAT(FormatReport(ReportFormat::markdown, report),
                AllOf(HasSubstr("failing-host"), Not(HasSubstr("good-host"))));
}

TEST(ReportFormatsTest, PageHasTheCountsOfEachHost) {
    Report report;
    report.entries = {EntryOf("web1", 3, 2)};
    EXPECT_THAT(FormatReport(ReportFormat::html, report),
                AllOf(HasSubstr("<td data-label=\"Failing\" class=\"number\">2</td>"
                                "<td data-label=\"Rows\" class=\"number\">3</td>"),
                      HasSubstr("aria-label=\"1 good, 2 failing\"")));
}

TEST(ReportFormatsTest, PageCountsConditionsAndResults) {
    Report report;
    report.options.acceptedResults = {"Pass"};
    report.totals.conditions[static_cast<std::size_t>(Condition::tooOld)] = 4;
    report.totals.results = {{"Fail", 2}, {"Pass", 3}};
    EXPECT_THAT(FormatReport(ReportFormat::html, report),
                AllOf(HasSubstr("<li class=\"alert\"><b>4</b> too old</li>"),
                      HasSubstr("<li class=\"bad\"><b>2</b> Fail</li>"),
                      HasSubstr("<li class=\"good\"><b>3</b> Pass</li>")));
}

TEST(ReportFormatsTest, PageHasTheTotals) {
    Report report;
    report.totals.attention = 1;
    report.totals.failing = 2;
    report.totals.good = 3;
    report.totals.failingRows = 4;
    report.totals.rows = 5;
    EXPECT_THAT(FormatReport(ReportFormat::html, report),
                AllOf(HasSubstr("<dt>Need attention</dt><dd>1</dd>"),
                      HasSubstr("<dt>With failing rows</dt><dd>2</dd>"),
                      HasSubstr("<dt>Good</dt><dd>3</dd>"),
                      HasSubstr("<dd>4<small> of 5</small>")));
    EXPECT_THAT(FormatReport(ReportFormat::markdown, report),
                HasSubstr("| need attention | 1 |\n| with failing rows | 2 |\n| good | 3 |\n\n"
                          "4 of 5 rows fail.\n"));
}

TEST(ReportFormatsTest, PageWithoutFailingRowsHasNoTableOfThem) {
    Report report;
    report.entries = {EntryOf("web1", 1, 0)};
    EXPECT_THAT(
        FormatReport(ReportFormat::html, report),
        AllOf(HasSubstr("<p>There are no failing rows.</p>"), Not(HasSubstr("rows-table"))));
    EXPECT_THAT(FormatReport(ReportFormat::markdown, report), Not(HasSubstr("## Failing rows")));
}

TEST(ReportFormatsTest, ColourOfAHostShowsItsState) {
    Report report;
    report.entries = {EntryOf("web1", 1, 1), EntryOf("web2", 1, 1), EntryOf("web3", 1, 0)};
    report.entries[0].conditions = {Condition::tooOld};
    std::string const page = FormatReport(ReportFormat::html, report);
    for (std::string const row : {"alert\"><th scope=\"row\">web1", "bad\"><th scope=\"row\">web2",
                                  "good\"><th scope=\"row\">web3"})
        EXPECT_THAT(page, HasSubstr("<tr class=\"" + row));
}

TEST(ReportFormatsTest, PageNotesThatThereAreNoResults) {
    EXPECT_THAT(FormatReport(ReportFormat::html, Report()), HasSubstr("There is no result."));
}

TEST(ReportFormatsTest, MarkdownNotesItsLimitOf1000Hosts) {
    Report report;
    report.entries.resize(maxMarkdownHosts + 3, EntryOf("web1", 1, 1));
    EXPECT_THAT(FormatReport(ReportFormat::markdown, report),
                HasSubstr("There are 3 more such hosts."));
}

TEST(ReportFormatsTest, PageCountsRowsOfRareResults) {
    Report report;
    report.entries = {EntryOf("web1", 1, 1)};
    report.entries[0].otherRows = 3;
    report.totals.otherRows = 4;
    EXPECT_THAT(FormatReport(ReportFormat::html, report),
                AllOf(HasSubstr("1 Fail, 3 others"), HasSubstr("<b>4</b> others")));
    report.entries[0].results.clear();
    EXPECT_THAT(FormatReport(ReportFormat::html, report), HasSubstr("<small>3 others</small>"));
}

TEST(ReportFormatsTest, EveryFormatListsFilesThatWereNotRead) {
    Report report;
    report.problems = {{"some-file", "some-file has no result"}};
    for (ReportFormat const format : {ReportFormat::html, ReportFormat::csv, ReportFormat::junit,
                                      ReportFormat::markdown, ReportFormat::json})
        EXPECT_THAT(FormatReport(format, report), HasSubstr("some-file has no result"));
}

TEST(ReportFormatsTest, MarkupFormatsEscapeAdversarialTexts) {
    ReportEntry entry = EntryOf("<host>", 1, 1);
    entry.conditions = {Condition::failed};
    entry.result.message = "<message>";
    for (ReportFormat const format :
         {ReportFormat::html, ReportFormat::junit, ReportFormat::markdown}) {
        std::string const text = Format(format, {FailingRow("<comment>\x1b")}, entry);
        for (char const* const escaped : {"&#60;host&#62;", "&#60;comment&#62;"})
            EXPECT_THAT(text, HasSubstr(escaped));
        for (char const* const raw : {"<host>", "<comment>", "<message>", "\x1b"})
            EXPECT_THAT(text, Not(HasSubstr(raw)));
    }
}

// Returns the field of the comment in the CSV report.
std::string CsvField(std::string const& comment) {
    std::string const text = Format(ReportFormat::csv, {FailingRow(comment)});
    return text.substr(text.rfind(",\"") + 1);
}

TEST(ReportFormatsTest, CsvQuotesFieldsAndNeutralizesFormulas) {
    EXPECT_THAT(Format(ReportFormat::csv, {{"=1+1", "say \"x\"", "+t", "-5", "@d", "'quoted"}}),
                AllOf(HasSubstr("\r\n\"row\",\"web1\",\"u\",\"Doc.xml\","),
                      EndsWith("\"web1.json\",\"'=1+1\",\"say \"\"x\"\"\",\"'+t\",\"'-5\",\"'@d\","
                               "\"''quoted\"\r\n")));
    for (std::string const start :
         {"=", "+", "-", "@", "\t", "\r", "\n", "'", " =", "  +", " \n-", "\xEF\xBC\x9D",
          "\xEF\xBC\x8B", "\xEF\xBC\x8D", "\xEF\xBC\xA0", " \xEF\xBC\x9D"})
        EXPECT_EQ("\"'" + start + "1\"\r\n", CsvField(start + "1"));
    for (std::string const harmless : {" 1", "1=1", "  ", "", "\xEF\xBC\x90"})
        EXPECT_EQ("\"" + harmless + "\"\r\n", CsvField(harmless));
    EXPECT_EQ("\"a\\x00\\xff\nb\"\r\n", CsvField(std::string("a\0\xFF\nb", 5)));
}

TEST(ReportFormatsTest, CsvOnTerminalHasNoControlCharacters) {
    Terminal const screen;
    Output output(screen.otherEnd());
    Report const report;
    MakeReportWriter(ReportFormat::csv, report, output)
        ->AddRow(EntryOf("web1", 1, 1), FailingRow("a\x1b[2J"));
    output.Flush();
    EXPECT_THAT(screen.Read(), EndsWith(",\"a\\x1b[2J\"\r\n"));
    EXPECT_EQ("\"a\x1b[2J\"\r\n", CsvField("a\x1b[2J"));
}

TEST(ReportFormatsTest, CsvJoinsConditionsByASpace) {
    ReportEntry entry = EntryOf("web1", 0, 0);
    entry.conditions = {Condition::tooOld, Condition::notExpected};
    EXPECT_THAT(Format(ReportFormat::csv, {}, entry), HasSubstr("\"too-old not-expected\""));
}

TEST(ReportFormatsTest, CsvHasLineForHostWithoutRows) {
    EXPECT_THAT(
        Format(ReportFormat::csv, {}, {.host = "silent", .conditions = {Condition::missing}}),
        HasSubstr("\r\n\"host\",\"silent\",\"\",\"\",\"\",\"\",\"missing\","));
    EXPECT_THAT(Format(ReportFormat::csv, {}),
                HasSubstr("\r\n\"host\",\"web1\",\"u\",\"Doc.xml\","));
}

TEST(ReportFormatsTest, JsonHasTheCountsOfEachHost) {
    ReportEntry entry = EntryOf("web\xFF", 3, 1);
    entry.conditions = {Condition::tooOld, Condition::notExpected};
    Json const document =
        Json::parse(Format(ReportFormat::json, {FailingRow(""), FailingRow("")}, entry));
    Json const& first = document.at("entries").at(0);
    EXPECT_EQ("web\\xff", first.at("host"));
    EXPECT_EQ("d2Vi/w==", first.at("hostBase64"));
    EXPECT_EQ((Json{"too-old", "not-expected"}), first.at("conditions"));
    EXPECT_EQ(2, first.at("result").at("failingRows"));
    EXPECT_EQ(7200, first.at("result").at("ageSeconds"));
}

TEST(ReportFormatsTest, JsonHasTheCountOfEachCondition) {
    Report report;
    std::iota(std::begin(report.totals.conditions), std::end(report.totals.conditions), 1u);
    EXPECT_EQ((Json{{"missing", 1},
                    {"two-machines", 2},
                    {"failed", 3},
                    {"stale", 4},
                    {"too-old", 5},
                    {"from-future", 6},
                    {"no-rows", 7},
                    {"not-expected", 8}}),
              Json::parse(FormatReport(ReportFormat::json, report)).at("totals").at("conditions"));
}

TEST(ReportFormatsTest, JunitSuiteHasTheRowsOfItsEntry) {
    std::string const text = Format(ReportFormat::junit, {FailingRow("a"), FailingRow("b")});
    EXPECT_EQ(1u, Count(text, "<testsuite "));
    EXPECT_EQ(2u, Count(text.substr(text.find("<testsuite ")), "<testcase "));
    EXPECT_EQ(2u, Count(text, "\" name=\"d\""));
}

TEST(ReportFormatsTest, JunitSuiteOfEntryWithoutRowsHasNoTests) {
    Report report;
    report.entries = {EntryOf("web1", 3, 2)};
    EXPECT_THAT(FormatReport(ReportFormat::junit, report),
                AllOf(HasSubstr("tests=\"0\" failures=\"0\" errors=\"0\""),
                      HasSubstr(" hostname=\"web1\">")));
}

TEST(ReportFormatsTest, JunitErrorHasTheTypeOfItsCondition) {
    Report report;
    report.entries = {EntryOf("web1", 3, 2)};
    report.entries[0].conditions = {Condition::tooOld};
    EXPECT_THAT(FormatReport(ReportFormat::junit, report), HasSubstr("<error type=\"too-old\""));
}

TEST(ReportFormatsTest, JunitSuiteNameHasTheDocumentUnlessItIsTheDefault) {
    Report report;
    report.entries = {EntryOf("web1", 3, 2), EntryOf("web2", 3, 2)};
    report.entries[1].result.provenance->document.reset();
    EXPECT_THAT(FormatReport(ReportFormat::junit, report),
                AllOf(HasSubstr("name=\"web1 (Doc.xml)\""), HasSubstr("name=\"web2\"")));
}

} // namespace
