#include "companions/QueryCommandLine.h"

#include <gtest/gtest.h>

#include <sstream>

#include "companions/Arguments.h"

namespace {

using Texts = std::vector<std::string>;

QueryCommandLine Parse(Texts const& texts) {
    std::vector<char const*> pointers{"compliance-query"};
    for (std::string const& text : texts)
        pointers.push_back(text.c_str());
    return ParseQueryCommandLine(static_cast<int>(pointers.size()), pointers.data());
}

std::string Refusal(Texts const& texts) {
    try {
        Parse(texts);
    } catch (CommandLineError const& error) {
        return error.what();
    }
    return "accepted";
}

TEST(QueryCommandLineTest, UrlAndDocument) {
    QueryCommandLine const line = Parse({"http://host/", "Doc.xml"});
    EXPECT_EQ(QueryCommandLine::evaluate, line.action);
    EXPECT_EQ("http://host/", line.url);
    EXPECT_EQ("Doc.xml", line.document);
    EXPECT_EQ(RowFormat::table, line.format);
    EXPECT_EQ(ProgressStyle::automatic, line.progress);
    EXPECT_FALSE(line.quiet);
    EXPECT_EQ(std::nullopt, line.timeout);
    EXPECT_EQ(Texts(), line.acceptedResults);
    EXPECT_EQ(0u, line.flags);
}

TEST(QueryCommandLineTest, EmptyUrlAndDocumentAreTextsToo) {
    QueryCommandLine const line = Parse({"", ""});
    EXPECT_EQ("", line.url);
    EXPECT_EQ("", line.document);
}

TEST(QueryCommandLineTest, ByDefaultThereIsNeither) {
    QueryCommandLine const line = Parse({"-d"});
    EXPECT_EQ(std::nullopt, line.url);
    EXPECT_EQ(std::nullopt, line.document);
}

TEST(QueryCommandLineTest, Formats) {
    EXPECT_EQ(RowFormat::table, Parse({"-d", "--table"}).format);
    EXPECT_EQ(RowFormat::tsv, Parse({"-d", "--tsv"}).format);
    EXPECT_EQ(RowFormat::json, Parse({"-d", "--json"}).format);
    EXPECT_EQ(RowFormat::ndjson, Parse({"-d", "--ndjson"}).format);
    EXPECT_EQ(RowFormat::json, Parse({"--json", "-d", "--json"}).format);
}

TEST(QueryCommandLineTest, FlagsByNameAddUp) {
    EXPECT_EQ(1u, Parse({"-d", "--flags", "gather"}).flags);
    EXPECT_EQ(2u, Parse({"-d", "--flags", "all"}).flags);
    EXPECT_EQ(4u, Parse({"-d", "--flags", "idle"}).flags);
    EXPECT_EQ(8u, Parse({"-d", "--flags", "hint"}).flags);
    EXPECT_EQ(15u, Parse({"-d", "--flags=hint,idle,all,gather"}).flags);
    EXPECT_EQ(5u, Parse({"-d", "--flags=gather,gather", "--flags=idle"}).flags);
}

TEST(QueryCommandLineTest, AcceptedResultsAddUp) {
    EXPECT_EQ((Texts{"Compliant", "Not Applicable"}),
              Parse({"-d", "--strict", "Compliant,Not Applicable"}).acceptedResults);
    EXPECT_EQ((Texts{"a", "", "b"}), Parse({"-d", "--strict=a,", "--strict=b"}).acceptedResults);
}

TEST(QueryCommandLineTest, TimeoutInSecondsTheLastOneCounts) {
    EXPECT_EQ(std::chrono::seconds(1), Parse({"-d", "--timeout=1"}).timeout);
    EXPECT_EQ(std::chrono::seconds(2147483647), Parse({"-d", "--timeout=2147483647"}).timeout);
    EXPECT_EQ(std::chrono::seconds(30), Parse({"--timeout=5", "-d", "--timeout", "30"}).timeout);
}

TEST(QueryCommandLineTest, Progress) {
    EXPECT_EQ(ProgressStyle::automatic, Parse({"-d", "--progress=auto"}).progress);
    EXPECT_EQ(ProgressStyle::bar, Parse({"-d", "--progress=bar"}).progress);
    EXPECT_EQ(ProgressStyle::lines, Parse({"-d", "--progress=lines"}).progress);
    EXPECT_EQ(ProgressStyle::none, Parse({"-d", "--progress=lines", "--progress=none"}).progress);
    EXPECT_TRUE(Parse({"-d", "--quiet"}).quiet);
}

TEST(QueryCommandLineTest, HelpAndVersionCountWhateverElseIsThere) {
    EXPECT_EQ(QueryCommandLine::showHelp, Parse({"--help"}).action);
    EXPECT_EQ(QueryCommandLine::showHelp, Parse({"-h", "--version", "--timeout=soon"}).action);
    EXPECT_EQ(QueryCommandLine::showVersion, Parse({"--version", "url"}).action);
}

TEST(QueryCommandLineTest, RefusalNamesTheArgumentAndTheAcceptedValues) {
    EXPECT_EQ("URL is missing; accepted: URL and DOC, or -d", Refusal({}));
    EXPECT_EQ("DOC is missing; accepted: URL and DOC, or -d", Refusal({"url"}));
    EXPECT_EQ("'doc' is not accepted beside -d; accepted: URL and DOC, or -d",
              Refusal({"-d", "doc"}));
    EXPECT_EQ("more than one output format; accepted: one of --table, --tsv, --json and --ndjson",
              Refusal({"-d", "--json", "--tsv"}));
    EXPECT_EQ("--strict: '' is not accepted; accepted: a list of results with commas between",
              Refusal({"-d", "--strict="}));
}

TEST(QueryCommandLineTest, FlagsByAnyOtherNameAreRefused) {
    for (std::string const name : {"", "Gather", "1", "gather ", "gatherall"})
        EXPECT_EQ("--flags: '" + name +
                      "' is not accepted; accepted: gather, all, idle or hint, with commas between",
                  Refusal({"-d", "--flags", "all," + name}));
}

TEST(QueryCommandLineTest, TimesThatAreNoWholeSecondsAreRefused) {
    for (std::string const text :
         {"", "0", "-1", "1.5", "5s", " 5", "+5", "0x5", "2147483648", "99999999999999999999"})
        EXPECT_EQ("--timeout: '" + text +
                      "' is not accepted; accepted: a whole number of seconds from 1 to 2147483647",
                  Refusal({"-d", "--timeout", text}));
}

TEST(QueryCommandLineTest, OtherProgressIsRefused) {
    EXPECT_EQ("--progress: 'dots' is not accepted; accepted: auto, bar, lines or none",
              Refusal({"-d", "--progress=dots"}));
}

TEST(QueryCommandLineTest, HelpStaysWithinAHundredColumns) {
    std::istringstream lines(queryHelp);
    for (std::string line; std::getline(lines, line);)
        EXPECT_GE(100u, line.size()) << line;
}

} // namespace
