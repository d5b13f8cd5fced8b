#include "companions/QueryCommandLine.h"

#include "companions/Arguments.h"
#include "companions/Rows.h"
#include "tests/companions/CompanionTest.h"

namespace {

QueryCommandLine Parse(Texts const& texts) { return ParseLine(ParseQueryCommandLine, texts); }

// Parses the default request with these options.
QueryCommandLine With(Texts options) {
    options.emplace_back("-d");
    return Parse(options);
}

std::string Refusal(Texts const& texts) {
    return MessageOf<CommandLineError>([&] { Parse(texts); });
}

// Expects that the value of the option is refused for the reason.
void ExpectRefusedValue(std::string const& option, std::string const& value,
                        std::string const& reason, std::string const& accepted) {
    EXPECT_EQ(option + ": '" + value + "' " + reason + "; accepted: " + accepted,
              Refusal({"-d", option, value}));
}

constexpr char acceptedRequest[] = "; accepted: URL and DOC, -d, or --config NAME";

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
    EXPECT_EQ("", Parse({"", ""}).url);
    EXPECT_EQ("", Parse({"", ""}).document);
}

TEST(QueryCommandLineTest, DefaultRequestHasNeitherUrlNorDocument) {
    EXPECT_EQ(std::nullopt, Parse({"-d"}).url);
    EXPECT_EQ(std::nullopt, Parse({"-d"}).document);
}

TEST(QueryCommandLineTest, ParsesOutputFormats) {
    EXPECT_EQ(RowFormat::table, With({"--table"}).format);
    EXPECT_EQ(RowFormat::tsv, With({"--tsv"}).format);
    EXPECT_EQ(RowFormat::ndjson, With({"--ndjson"}).format);
    EXPECT_EQ(RowFormat::json, With({"--json", "-d", "--json"}).format);
}

TEST(QueryCommandLineTest, CombinesFlags) {
    EXPECT_EQ(9u, With({"--flags", "hint,gather"}).flags);
    EXPECT_EQ(5u, With({"--flags=gather", "--flags=gather,idle"}).flags);
}

TEST(QueryCommandLineTest, CombinesAcceptedResults) {
    for (char const* const list : {"Compliant,Not Applicable", " Compliant ,\tNot Applicable"})
        EXPECT_EQ((Texts{"Compliant", "Not Applicable"}), With({"--strict", list}).acceptedResults);
    EXPECT_EQ((Texts{"a", "b", "c"}), With({"--strict=a,b", "--strict=c,a"}).acceptedResults);
    EXPECT_TRUE(With({"--strict=a", "--allow-empty"}).allowEmpty);
}

TEST(QueryCommandLineTest, AcceptsUnitsOfTimesAndUsesTheLast) {
    EXPECT_EQ(seconds(1), With({"--timeout=1"}).timeout);
    EXPECT_EQ(seconds(2147483647), With({"--timeout=2147483647"}).timeout);
    EXPECT_EQ(seconds(90), With({"--timeout=90s"}).timeout);
    EXPECT_EQ(minutes(5), With({"--timeout=5m"}).timeout);
    EXPECT_EQ(hours(2), With({"--timeout=2h"}).timeout);
    EXPECT_EQ(seconds(30), With({"--timeout=5", "--timeout", "30"}).timeout);
    EXPECT_EQ(minutes(35'791'394), With({"--wait=35791394m"}).wait);
    EXPECT_EQ(std::nullopt, With({}).wait);
}

TEST(QueryCommandLineTest, ParsesProgressAndQuiet) {
    EXPECT_EQ(ProgressStyle::automatic, With({"--progress=auto"}).progress);
    EXPECT_EQ(ProgressStyle::bar, With({"--progress=bar"}).progress);
    EXPECT_EQ(ProgressStyle::lines, With({"--progress=lines"}).progress);
    EXPECT_EQ(ProgressStyle::none, With({"--progress=lines", "--progress=none"}).progress);
    EXPECT_TRUE(With({"--quiet"}).quiet);
}

TEST(QueryCommandLineTest, HelpAndVersionHavePrecedence) {
    EXPECT_EQ(QueryCommandLine::showHelp, Parse({"--help"}).action);
    EXPECT_EQ(QueryCommandLine::showHelp, Parse({"-h", "--version", "--timeout=soon"}).action);
    EXPECT_EQ(QueryCommandLine::showVersion, Parse({"--version", "url"}).action);
}

TEST(QueryCommandLineTest, RefusalNamesTheArgumentAndTheAcceptedValues) {
    EXPECT_EQ(std::string("URL is missing") + acceptedRequest, Refusal({}));
    EXPECT_EQ(std::string("DOC is missing") + acceptedRequest, Refusal({"url"}));
    EXPECT_EQ(std::string("'doc' is not accepted with -d") + acceptedRequest,
              Refusal({"-d", "doc"}));
    EXPECT_EQ("more than one output format; accepted: one of --table, --tsv, --json and --ndjson",
              Refusal({"-d", "--json", "--tsv"}));
}

struct ListOption {
    std::string name;
    std::string entry;
    char const* accepted;
};

ListOption const listOptions[] = {
    {"--strict", "Good", acceptedResults},
    {"--only", "Good", acceptedResults},
    {"--flags", "all", "a comma-separated list of gather, all, idle, hint or numbers from 0 to 15"},
    {"--columns", "result",
     "designator, result, resultType, evaluationTime, description or comment"},
};

TEST(QueryCommandLineTest, RefusesEmptyAndRepeatedEntriesOfLists) {
    for (auto const& [name, entry, accepted] : listOptions) {
        for (std::string const& list : {std::string(), std::string(" "), std::string(","),
                                        entry + ",", "," + entry, entry + ", ," + entry})
            ExpectRefusedValue(name, list, "has an empty entry", accepted);
        ExpectRefusedValue(name, entry + ", " + entry, "has '" + entry + "' twice", accepted);
    }
    EXPECT_EQ("--columns: 'result' is repeated; accepted: designator, result, resultType, "
              "evaluationTime, description or comment",
              Refusal({"-d", "--columns=result", "--columns=result"}));
}

// Each value is validated, even if a later one replaces it.
TEST(QueryCommandLineTest, RefusesInvalidValueBeforeValidOne) {
    for (auto const& [option, right] :
         {std::pair{"--timeout", "5"}, std::pair{"--wait", "5"}, std::pair{"--progress", "bar"},
          std::pair{"--color", "never"}, std::pair{"--sort", "result"}, std::pair{"-o", "file"}})
        EXPECT_NE("accepted", Refusal({"-d", option, "/dev/null", option, right})) << option;
}

TEST(QueryCommandLineTest, RefusesInvalidTimes) {
    for (char const* const text :
         {"", "0", "-1", "1.5", "5d", "5S", "s", "5ms", "5 m", " 5", "+5", "0x5", "2147483648",
          "35791395m", "596524h", "99999999999999999999"})
        for (char const* const option : {"--timeout", "--wait"})
            ExpectRefusedValue(option, text, "is not accepted",
                               "a time from 1 second to 2147483647 seconds, such as 90, 90s, 5m "
                               "or 2h");
}

TEST(QueryCommandLineTest, ParsesOutputFile) {
    EXPECT_EQ(std::nullopt, With({}).outputFile);
    EXPECT_EQ("b", With({"--output", "a", "-o", "b"}).outputFile);
    EXPECT_FALSE(With({"-o", "b"}).keepFailures);
    for (char const* const format : {"--json", "--ndjson"})
        EXPECT_TRUE(With({"-o", "b", format, "--keep-failures"}).keepFailures);
    ExpectRefusedValue("--output", "/dev/null", "is not a regular file",
                       "a regular file, or a new name in a directory that exists");
}

TEST(QueryCommandLineTest, RefusesOptionsWithoutEffect) {
    EXPECT_EQ("--keep-failures: requires --output", Refusal({"-d", "--json", "--keep-failures"}));
    EXPECT_EQ("--keep-failures: requires --json or --ndjson",
              Refusal({"-d", "-o", "file", "--keep-failures"}));
    EXPECT_EQ("--allow-empty: requires --strict", Refusal({"-d", "--allow-empty"}));
    for (std::string const option : {"--columns", "--sort", "--only", "--color"})
        EXPECT_EQ(option + ": accepted only with the table",
                  Refusal({"-d", "--json", option, "result"}));
}

TEST(QueryCommandLineTest, ParsesTableOptions) {
    TableOptions const table = With({"--columns=result, designator", "--columns", "comment",
                                     "--sort=evaluationTime", "--only=a, b", "--color=never"})
                                   .table;
    EXPECT_THAT(table.columns, ElementsAre(1, 0, 5));
    EXPECT_EQ(3u, table.sortField);
    EXPECT_EQ((Texts{"a", "b"}), table.shownResults);
    EXPECT_EQ(ColorMode::never, table.color);
    EXPECT_THAT(With({}).table.columns, ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_EQ(ColorMode::automatic, With({}).table.color);
}

TEST(QueryCommandLineTest, RefusesUnknownWords) {
    ExpectRefusedValue("--sort", "Result", "is not accepted", acceptedFields);
    ExpectRefusedValue("--color", "yes", "is not accepted", "auto, always or never");
    ExpectRefusedValue("--flags", "Gather", "is not accepted", acceptedFlags);
    for (char const* const style : {"dots", "Bar"})
        ExpectRefusedValue("--progress", style, "is not accepted", "auto, bar, lines or none");
    EXPECT_EQ(std::string("--columns: 'time' is not accepted; accepted: ") + acceptedFields,
              Refusal({"-d", "--columns=result,time"}));
}

// Several texts contain the names of the fields.
TEST(QueryCommandLineTest, HelpAndRefusalNameEachColumn) {
    std::string const refusal = Refusal({"-d", "--columns=x"});
    for (std::size_t field = 0; field < rowFieldNames.size(); ++field) {
        EXPECT_THAT(With({"--columns", rowFieldNames[field]}).table.columns, ElementsAre(field));
        EXPECT_THAT(refusal, HasSubstr(rowFieldNames[field]));
        EXPECT_THAT(QueryHelp(), HasSubstr(rowFieldNames[field]));
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

TEST(QueryCommandLineTest, RefusesUnknownStatusesToExplain) {
    for (std::string const text : {"", "12", "128", "x"})
        EXPECT_EQ("--explain: '" + text + "' is not accepted; accepted: 0 to 11, 129, 130 or 143",
                  Refusal({"--explain", text}));
}

TEST(QueryCommandLineTest, ParsesNameOfConfigurationToCheck) {
    QueryCommandLine const line = Parse({"--check-config", "night"});
    EXPECT_EQ(QueryCommandLine::checkConfig, line.action);
    EXPECT_EQ("night", line.config);
}

TEST(QueryCommandLineTest, RefusesInvalidConfigurationNames) {
    for (std::string const option : {"--config", "--check-config"})
        EXPECT_EQ(option + ": 'a/b' is not accepted; accepted: NAME of a file "
                           "/etc/clientcompliance/NAME.conf",
                  Refusal({option, "a/b"}));
    EXPECT_EQ("/etc/clientcompliance/no such name.conf: cannot be read: No such file or directory",
              Refusal({"--config", "no such name"}));
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

} // namespace
