// Output and requests of compliance-query, for its arguments.
#include "tests/companions/Query.h"
#include "tests/companions/Terminal.h"

namespace {

void ExpectOutput(Texts const& arguments, std::string const& rows, std::string const& output) {
    QueryRun const run = Query(arguments, FinishingScript(rows));
    EXPECT_EQ(output, run.output);
    ExpectExit(0, "", run);
}

// In a file, the locale changes only the label of the times.
SANDBOX_TEST(QueryTest, WritesTable) {
    std::string const lines = "baseline-001  Compliant  pass/fail  1523       R&D\n"
                              "b\\xb5         Not        t\\tu       no number  line\\nbreak  "
                              "\\x1b[31m\n";
    for (auto const& [locale, time] :
         {std::pair{"C", "TIME (us)"}, std::pair{"C.UTF-8", "TIME (\xC2\xB5s)"}}) {
        EnvironmentVariable const variable("LC_ALL", locale);
        ExpectOutput({"url", "doc"}, TwoRows(),
                     std::string("DESIGNATOR    RESULT     TYPE       ") + time +
                         "  DESCRIPTION  COMMENT\n" + lines);
    }
}

SANDBOX_TEST(QueryTest, WritesTsv) {
    ExpectOutput({"--tsv", "url", "doc"}, TwoRows(),
                 "designator\tresult\tresultType\tevaluationTime\tdescription\tcomment\n"
                 "baseline-001\tCompliant\tpass/fail\t1523\tR&D\t\n"
                 "b\xB5\tNot\tt\\tu\tno number\tline\\nbreak\t\x1b[31m\n");
}

Json const firstRow = {{"designator", "baseline-001"}, {"result", "Compliant"},
                       {"resultType", "pass/fail"},    {"evaluationTime", "1523"},
                       {"description", "R&D"},         {"comment", ""}};
Json const secondRow = {
    {"designator", "b\\xb5"}, {"designatorBase64", "YrU="},    {"result", "Not"},
    {"resultType", "t\tu"},   {"evaluationTime", "no number"}, {"description", "line\nbreak"},
    {"comment", "\x1b[31m"}};

SANDBOX_TEST(QueryTest, WritesJsonDocument) {
    QueryRun const run = Query({"--json", "-d"}, FinishingScript(TwoRows()));
    EXPECT_EQ((Json{{"schemaVersion", 1},
                    {"outcome", "finished"},
                    {"rowCount", 2},
                    {"rows", {firstRow, secondRow}}}),
              DocumentOf(run));
    ExpectExit(0, "", run);
}

SANDBOX_TEST(QueryTest, WritesJsonObjectOnEachLine) {
    QueryRun const run = Query({"--ndjson", "-d"}, FinishingScript(TwoRows()));
    std::vector<Json> const lines = ParseLines(run.output);
    EXPECT_EQ(2, lines.at(0).at("rowCount"));
    EXPECT_THAT(lines, ElementsAre(testing::_, firstRow, secondRow));
    ExpectExit(0, "", run);
}

// More than fits into the output buffer.
SANDBOX_TEST(QueryTest, WritesManyRows) {
    Json const document = DocumentOf(Query({"--json", "-d"}, FinishingScript(ManyRows())));
    EXPECT_EQ(5000, document.at("rowCount"));
    ASSERT_EQ(5000u, document.at("rows").size());
    for (std::size_t i = 0; i < 5000; ++i)
        ASSERT_EQ(std::to_string(i), document["rows"][i]["designator"].get<std::string>());
}

SANDBOX_TEST(QueryTest, RequestHasTheArgumentsAndTheFlags) {
    EXPECT_THAT(
        Query({"--flags", "hint,gather", "http://host/?a=b&c", "Doc & Co.xml"}, FinishingScript())
            .requests,
        ElementsAre(OpenRequest("http://host/?a=b&amp;c", "Doc &amp; Co.xml", "9"), progressRequest,
                    closeRequest));
}

SANDBOX_TEST(QueryTest, DefaultRequestHasNoUrlAndNoDocument) {
    EXPECT_THAT(Query({"-d"}, FinishingScript()).requests,
                ElementsAre(OpenRequest("", "", "0"), progressRequest, closeRequest));
}

SANDBOX_TEST(QueryTest, FailedCloseIsANoteUnlessQuiet) {
    AgentScript const script =
        AgentScript().Answer(OpenResponse()).Answer(Finished(TwoRows())).AwaitRequest();
    for (bool const quiet : {false, true}) {
        QueryRun const run = Query({"-d", "--tsv", quiet ? "--quiet" : "--progress=none"}, script);
        ExpectExit(0,
                   quiet ? ""
                         : "compliance-query: the agent did not confirm that the evaluation is "
                           "closed (code -3)\n",
                   run);
        EXPECT_EQ(3, std::ranges::count(run.output, '\n'));
        fs::remove(ScriptedAgent::request);
    }
}

SANDBOX_TEST(QueryTest, WritesLinesOfProgress) {
    QueryRun const run = Query({"-d", "--progress=lines"},
                               QueryScript({ProgressResponse("3", "0", "40"), Finished()}));
    ExpectExit(0,
               "compliance-query: asking the agent\n"
               "compliance-query: 40% completed\n"
               "compliance-query: closing the evaluation\n",
               run);
    EXPECT_EQ("No results.\n", run.output);
}

SANDBOX_TEST(QueryTest, QuietWritesErrorsOnly) {
    ExpectExit(1, "compliance-query: the agent reports the error 7\n",
               Query({"-d", "--quiet", "--progress=lines"},
                     QueryScript({ProgressResponse("3"), ProgressResponse("2", "7")})));
}

TEST(QueryTest, HelpAndVersionNeedNoAgent) {
    ProgramResult const help = RunQuery({"--help"});
    ExpectExit(0, "", help);
    EXPECT_THAT(help.output, StartsWith("Usage: compliance-query [OPTION]... URL DOC\n"));
    ProgramResult const version = RunQuery({"--version"});
    ExpectExit(0, "", version);
    EXPECT_EQ("compliance-query " CC_VERSION "\n", version.output);
}

} // namespace
