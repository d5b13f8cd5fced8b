#include "companions/QueryCommandLine.h"

#include <gtest/gtest.h>

#include "companions/Arguments.h"
#include "companions/Rows.h"

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

TEST(QueryCommandLineTest, ParsesUrlAndDocument) {
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

TEST(QueryCommandLineTest, AcceptsEmptyUrlAndDocument) {
    QueryCommandLine const line = Parse({"", ""});
    EXPECT_EQ("", line.url);
    EXPECT_EQ("", line.document);
}

TEST(QueryCommandLineTest, DefaultRequestHasNeitherUrlNorDocument) {
    QueryCommandLine const line = Parse({"-d"});
    EXPECT_EQ(std::nullopt, line.url);
    EXPECT_EQ(std::nullopt, line.document);
}

TEST(QueryCommandLineTest, ParsesOutputFormats) {
    EXPECT_EQ(RowFormat::table, Parse({"-d", "--table"}).format);
    EXPECT_EQ(RowFormat::tsv, Parse({"-d", "--tsv"}).format);
    EXPECT_EQ(RowFormat::json, Parse({"-d", "--json"}).format);
    EXPECT_EQ(RowFormat::ndjson, Parse({"-d", "--ndjson"}).format);
    EXPECT_EQ(RowFormat::json, Parse({"--json", "-d", "--json"}).format);
}

TEST(QueryCommandLineTest, CombinesFlagsByName) {
    EXPECT_EQ(1u, Parse({"-d", "--flags", "gather"}).flags);
    EXPECT_EQ(2u, Parse({"-d", "--flags", "all"}).flags);
    EXPECT_EQ(4u, Parse({"-d", "--flags", "idle"}).flags);
    EXPECT_EQ(8u, Parse({"-d", "--flags", "hint"}).flags);
    EXPECT_EQ(15u, Parse({"-d", "--flags=hint,idle,all,gather"}).flags);
    EXPECT_EQ(5u, Parse({"-d", "--flags=gather", "--flags=gather,idle"}).flags);
    EXPECT_EQ(3u, Parse({"-d", "--flags", " gather ,\tall"}).flags);
}

TEST(QueryCommandLineTest, CombinesAcceptedResults) {
    EXPECT_EQ((Texts{"Compliant", "Not Applicable"}),
              Parse({"-d", "--strict", "Compliant,Not Applicable"}).acceptedResults);
    EXPECT_EQ((Texts{"Compliant", "Not Applicable"}),
              Parse({"-d", "--strict", " Compliant ,\tNot Applicable"}).acceptedResults);
    EXPECT_TRUE(Parse({"-d", "--strict=a", "--allow-empty"}).allowEmpty);
    EXPECT_EQ((Texts{"a", "b", "c"}),
              Parse({"-d", "--strict=a,b", "--strict=c,a"}).acceptedResults);
}

TEST(QueryCommandLineTest, UsesLastTimeout) {
    EXPECT_EQ(std::chrono::seconds(1), Parse({"-d", "--timeout=1"}).timeout);
    EXPECT_EQ(std::chrono::seconds(2147483647), Parse({"-d", "--timeout=2147483647"}).timeout);
    EXPECT_EQ(std::chrono::seconds(30), Parse({"--timeout=5", "-d", "--timeout", "30"}).timeout);
}

TEST(QueryCommandLineTest, ParsesProgressAndQuiet) {
    EXPECT_EQ(ProgressStyle::automatic, Parse({"-d", "--progress=auto"}).progress);
    EXPECT_EQ(ProgressStyle::bar, Parse({"-d", "--progress=bar"}).progress);
    EXPECT_EQ(ProgressStyle::lines, Parse({"-d", "--progress=lines"}).progress);
    EXPECT_EQ(ProgressStyle::none, Parse({"-d", "--progress=lines", "--progress=none"}).progress);
    EXPECT_TRUE(Parse({"-d", "--quiet"}).quiet);
}

TEST(QueryCommandLineTest, HelpAndVersionHavePrecedence) {
    EXPECT_EQ(QueryCommandLine::showHelp, Parse({"--help"}).action);
    EXPECT_EQ(QueryCommandLine::showHelp, Parse({"-h", "--version", "--timeout=soon"}).action);
    EXPECT_EQ(QueryCommandLine::showVersion, Parse({"--version", "url"}).action);
}

TEST(QueryCommandLineTest, RefusalNamesTheArgumentAndTheAcceptedValues) {
    EXPECT_EQ("URL is missing; accepted: URL and DOC, -d, or --config NAME", Refusal({}));
    EXPECT_EQ("DOC is missing; accepted: URL and DOC, -d, or --config NAME", Refusal({"url"}));
    EXPECT_EQ("'doc' is not accepted with -d; accepted: URL and DOC, -d, or --config NAME",
              Refusal({"-d", "doc"}));
    EXPECT_EQ("more than one output format; accepted: one of --table, --tsv, --json and --ndjson",
              Refusal({"-d", "--json", "--tsv"}));
}

struct ListOption {
    char const* name;
    char const* entry;
    char const* accepted;
};

constexpr ListOption listOptions[] = {
    {"--strict", "Good", "a comma-separated list of results"},
    {"--only", "Good", "a comma-separated list of results"},
    {"--flags", "all",
     "a comma-separated list of gather, all, idle or hint, or a number from 0 to 15"},
    {"--columns", "result",
     "designator, result, resultType, evaluationTime, description or comment"},
};

TEST(QueryCommandLineTest, RefusesEmptyEntriesOfLists) {
    for (ListOption const& option : listOptions) {
        std::string const entry = option.entry;
        for (std::string const& list : {std::string(), std::string(" "), std::string(","),
                                        entry + ",", "," + entry, entry + ", ," + entry})
            EXPECT_EQ(std::string(option.name) + ": '" + list +
                          "' has an empty entry; accepted: " + option.accepted,
                      Refusal({"-d", option.name, list}));
    }
}

TEST(QueryCommandLineTest, RefusesRepeatedEntriesOfLists) {
    for (ListOption const& option : listOptions) {
        std::string const list = std::string(option.entry) + ", " + option.entry;
        EXPECT_EQ(std::string(option.name) + ": '" + list + "' has '" + option.entry +
                      "' twice; accepted: " + option.accepted,
                  Refusal({"-d", option.name, list}));
    }
    EXPECT_EQ("--columns: 'result' has 'result' a second time; accepted: designator, result, "
              "resultType, evaluationTime, description or comment",
              Refusal({"-d", "--columns=result", "--columns=result"}));
}

// Each value is validated, even if a later one replaces it.
TEST(QueryCommandLineTest, RefusesInvalidValueBeforeValidOne) {
    for (auto const& [option, right] :
         {std::pair{"--timeout", "5"}, std::pair{"--wait", "5"}, std::pair{"--progress", "bar"},
          std::pair{"--color", "never"}, std::pair{"--sort", "result"}, std::pair{"-o", "file"}})
        EXPECT_NE("accepted", Refusal({"-d", option, "/dev/null", option, right})) << option;
}

TEST(QueryCommandLineTest, ParsesFlagsByNumber) {
    EXPECT_EQ(0u, Parse({"-d", "--flags=0"}).flags);
    EXPECT_EQ(15u, Parse({"-d", "--flags=15"}).flags);
    EXPECT_EQ(6u, Parse({"-d", "--flags=2,idle"}).flags);
}

TEST(QueryCommandLineTest, RefusesInvalidFlags) {
    for (std::string const name : {"Gather", "16", "-1", "1 2", "0x1", "+1", "gatherall"})
        EXPECT_EQ("--flags: '" + name +
                      "' is not accepted; accepted: a comma-separated list of gather, all, idle or "
                      "hint, or a number from 0 to 15",
                  Refusal({"-d", "--flags", "all," + name}));
}

TEST(QueryCommandLineTest, AcceptsUnitsOfTimes) {
    EXPECT_EQ(std::chrono::seconds(90), Parse({"-d", "--timeout=90s"}).timeout);
    EXPECT_EQ(std::chrono::minutes(5), Parse({"-d", "--timeout=5m"}).timeout);
    EXPECT_EQ(std::chrono::hours(2), Parse({"-d", "--timeout=2h"}).timeout);
    EXPECT_EQ(std::chrono::minutes(35'791'394), Parse({"-d", "--wait=35791394m"}).wait);
    EXPECT_EQ(std::nullopt, Parse({"-d"}).wait);
}

TEST(QueryCommandLineTest, RefusesInvalidTimes) {
    for (std::string const text :
         {"", "0", "-1", "1.5", "5d", "5S", "s", "5ms", "5 m", " 5", "+5", "0x5", "2147483648",
          "35791395m", "596524h", "99999999999999999999"})
        for (std::string const option : {"--timeout", "--wait"})
            EXPECT_EQ(option + ": '" + text +
                          "' is not accepted; accepted: a time from 1 second to 2147483647 "
                          "seconds, such as 90, 90s, 5m or 2h",
                      Refusal({"-d", option, text}));
}

TEST(QueryCommandLineTest, ParsesOutputFile) {
    EXPECT_EQ(std::nullopt, Parse({"-d"}).outputFile);
    EXPECT_EQ("b", Parse({"-d", "--output", "a", "-o", "b"}).outputFile);
    EXPECT_FALSE(Parse({"-d", "-o", "b"}).keepFailures);
    EXPECT_TRUE(Parse({"-d", "-o", "b", "--json", "--keep-failures"}).keepFailures);
    EXPECT_TRUE(Parse({"-d", "-o", "b", "--ndjson", "--keep-failures"}).keepFailures);
    EXPECT_EQ(
        "--output: '/dev/null' is not a regular file; accepted: a regular file, or a new name in "
        "a directory that exists",
        Refusal({"-d", "--output=/dev/null"}));
}

TEST(QueryCommandLineTest, RefusesOptionsWithoutEffect) {
    EXPECT_EQ("--keep-failures: requires --output", Refusal({"-d", "--json", "--keep-failures"}));
    EXPECT_EQ("--keep-failures: requires --json or --ndjson",
              Refusal({"-d", "-o", "file", "--keep-failures"}));
    EXPECT_EQ("--allow-empty: requires --strict", Refusal({"-d", "--allow-empty"}));
}

TEST(QueryCommandLineTest, ParsesTableOptions) {
    TableOptions const table = Parse({"-d", "--columns=result, designator", "--columns", "comment",
                                      "--sort=evaluationTime", "--only=a, b", "--color=never"})
                                   .table;
    EXPECT_EQ((std::vector<std::size_t>{1, 0, 5}), table.columns);
    EXPECT_EQ(3u, table.sortField);
    EXPECT_EQ((Texts{"a", "b"}), table.shownResults);
    EXPECT_EQ(ColorMode::never, table.color);
    EXPECT_EQ(6u, Parse({"-d"}).table.columns.size());
    EXPECT_EQ(ColorMode::automatic, Parse({"-d"}).table.color);
}

TEST(QueryCommandLineTest, RefusesInvalidTableOptions) {
    std::string const fields =
        "' is not accepted; accepted: designator, result, resultType, evaluationTime, description "
        "or comment";
    EXPECT_EQ("--columns: 'time" + fields, Refusal({"-d", "--columns=result,time"}));
    EXPECT_EQ("--sort: 'Result" + fields, Refusal({"-d", "--sort=Result"}));
    EXPECT_EQ("--color: 'yes' is not accepted; accepted: auto, always or never",
              Refusal({"-d", "--color=yes"}));
    for (std::string const option : {"--columns", "--sort", "--only", "--color"})
        EXPECT_EQ(option + ": accepted only with the table",
                  Refusal({"-d", "--json", option, "result"}));
}

// Several texts contain the names of the fields.
TEST(QueryCommandLineTest, HelpAndRefusalNameEachColumn) {
    std::string const refusal = Refusal({"-d", "--columns=x"});
    for (std::string const field : rowFieldNames) {
        EXPECT_EQ(1u, Parse({"-d", "--columns", field}).table.columns.size());
        EXPECT_NE(std::string::npos, refusal.find(field)) << field;
        EXPECT_NE(std::string::npos, QueryHelp().find(field)) << field;
    }
}

TEST(QueryCommandLineTest, ParsesShortOptions) {
    EXPECT_TRUE(Parse({"-qd"}).quiet);
    EXPECT_EQ("file", Parse({"-qdo", "file"}).outputFile);
    EXPECT_EQ(QueryCommandLine::showVersion, Parse({"-V"}).action);
}

TEST(QueryCommandLineTest, ParsesStatusToExplain) {
    QueryCommandLine const line = Parse({"--explain", "9"});
    EXPECT_EQ(QueryCommandLine::explain, line.action);
    EXPECT_EQ("9", line.status);
    EXPECT_EQ("9", Parse({"--explain=9", "--json", "--timeout=5m"}).status);
}

TEST(QueryCommandLineTest, RefusesInvalidConfigurationNames) {
    for (std::string const option : {"--config", "--check-config"})
        EXPECT_EQ(option + ": 'a/b' is not accepted; accepted: NAME of a file "
                           "/etc/clientcompliance/NAME.conf",
                  Refusal({option, "a/b"}));
    EXPECT_EQ("/etc/clientcompliance/no such name.conf: cannot be read: No such file or directory",
              Refusal({"--config", "no such name"}));
}

TEST(QueryCommandLineTest, ParsesNameOfConfigurationToCheck) {
    QueryCommandLine const line = Parse({"--check-config", "night"});
    EXPECT_EQ(QueryCommandLine::checkConfig, line.action);
    EXPECT_EQ("night", line.config);
}

TEST(QueryCommandLineTest, RefusesRequestWithExplainOrCheckConfig) {
    EXPECT_EQ("'foo' is not accepted with --explain", Refusal({"--explain", "3", "foo", "bar"}));
    EXPECT_EQ("'url' is not accepted with --check-config",
              Refusal({"--check-config", "n", "url", "doc"}));
    EXPECT_EQ("--config: not accepted with --check-config",
              Refusal({"--check-config", "n", "--config", "other"}));
    EXPECT_EQ("-d: not accepted with --explain", Refusal({"--explain", "3", "-d"}));
    EXPECT_EQ("--check-config: not accepted with --explain",
              Refusal({"--explain", "3", "--check-config", "n"}));
    EXPECT_EQ("--check-config: accepted once",
              Refusal({"--check-config", "a", "--check-config", "b"}));
}

TEST(QueryCommandLineTest, RefusesUnknownStatusesToExplain) {
    for (std::string const text : {"", "12", "128", "x"})
        EXPECT_EQ("--explain: '" + text + "' is not accepted; accepted: 0 to 11, 129, 130 or 143",
                  Refusal({"--explain", text}));
}

TEST(QueryCommandLineTest, RefusesInvalidValuesWithExplain) {
    for (Texts wrong : {Texts{"--timeout=soon"}, Texts{"--strict=,"}, Texts{"--output=/dev/null"},
                        Texts{"--json", "--tsv"}, Texts{"--allow-empty"}}) {
        wrong.emplace_back("-d");
        std::string const refusal = Refusal(wrong);
        wrong.back() = "--explain=9";
        EXPECT_EQ(refusal, Refusal(wrong));
        EXPECT_NE("accepted", refusal);
    }
    EXPECT_NE("accepted", Refusal({"--explain=12", "--explain=9"}));
}

TEST(QueryCommandLineTest, RefusesUnknownProgressStyle) {
    EXPECT_EQ("--progress: 'dots' is not accepted; accepted: auto, bar, lines or none",
              Refusal({"-d", "--progress=dots"}));
}

} // namespace
