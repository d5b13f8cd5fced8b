// Output and requests of compliance-query, for its arguments.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/companions/Query.h"
#include "tests/companions/Terminal.h"

namespace {

using Json = nlohmann::json;
using Texts = std::vector<std::string>;

void ExpectOutput(Texts const& arguments, std::string const& rows, std::string const& output) {
    Query(arguments, FinishingScript(rows), [&](ProgramResult const& result, auto const&) {
        EXPECT_EQ(output, result.output);
        EXPECT_EQ("", result.errors);
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
    });
}

// On a pipe the locale changes the label only.
TEST(QueryTest, WritesTable) {
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

TEST(QueryTest, WritesTsv) {
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

TEST(QueryTest, WritesJsonDocument) {
    Query({"--json", "-d"}, FinishingScript(TwoRows()),
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ((Json{{"schemaVersion", 1},
                              {"outcome", "finished"},
                              {"rowCount", 2},
                              {"rows", {firstRow, secondRow}}}),
                        DocumentOf(result));
              EXPECT_EQ(ExitStatus::Exited(0), result.status);
          });
}

TEST(QueryTest, WritesJsonObjectOnEachLine) {
    Query({"--ndjson", "-d"}, FinishingScript(TwoRows()),
          [](ProgramResult const& result, auto const&) {
              std::istringstream lines(result.output);
              std::string head;
              std::string first;
              std::string second;
              std::getline(std::getline(std::getline(lines, head), first), second);
              EXPECT_EQ(2, Json::parse(head).at("rowCount"));
              EXPECT_EQ(firstRow, Json::parse(first));
              EXPECT_EQ(secondRow, Json::parse(second));
              EXPECT_EQ(ExitStatus::Exited(0), result.status);
          });
}

// More than fits into the output buffer.
TEST(QueryTest, WritesManyRows) {
    Query({"--json", "-d"}, FinishingScript(ManyRows()),
          [](ProgramResult const& result, auto const&) {
              Json const document = Json::parse(result.output);
              ASSERT_EQ(5000u, document.at("rows").size());
              for (std::size_t i = 0; i < 5000; ++i)
                  ASSERT_EQ(std::to_string(i),
                            document["rows"][i]["designator"].get<std::string>());
              EXPECT_EQ(5000, document.at("rowCount").get<int>());
          });
}

TEST(QueryTest, RequestHasTheArgumentsAndTheFlags) {
    Query({"--flags", "hint,gather", "http://host/?a=b&c", "Doc & Co.xml"}, FinishingScript(""),
          [](ProgramResult const&, std::vector<SeenRequest> const& requests) {
              ASSERT_EQ(3u, requests.size());
              EXPECT_EQ(OpenRequest("http://host/?a=b&amp;c", "Doc &amp; Co.xml", "9"),
                        requests[0].bytes);
              EXPECT_EQ(progressRequest, requests[1].bytes);
              EXPECT_EQ(closeRequest, requests[2].bytes);
          });
}

TEST(QueryTest, DefaultRequestHasNoUrlAndNoDocument) {
    Query({"-d"}, FinishingScript(""),
          [](ProgramResult const&, std::vector<SeenRequest> const& requests) {
              ASSERT_EQ(3u, requests.size());
              EXPECT_EQ(OpenRequest("", "", "0"), requests[0].bytes);
          });
}

void ExpectErrorsOfFailedClose(std::string const& errors, std::string const& option) {
    AgentScript const script =
        AgentScript().Answer(OpenAnswer()).Answer(Finished(TwoRows())).AwaitRequest();
    Query({"-d", "--tsv", option}, script, [&](ProgramResult const& result, auto const&) {
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        EXPECT_EQ(errors, result.errors);
        EXPECT_EQ(3, std::ranges::count(result.output, '\n'));
    });
}

TEST(QueryTest, FailedCloseIsANoteUnlessQuiet) {
    ExpectErrorsOfFailedClose("compliance-query: the agent did not confirm that the evaluation is "
                              "closed (code -3)\n",
                              "--progress=none");
    ExpectErrorsOfFailedClose("", "--quiet");
}

TEST(QueryTest, WritesLinesOfProgress) {
    Query({"-d", "--progress=lines"}, QueryScript({ProgressAnswer("3", "0", "40"), Finished()}),
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ("compliance-query: asking the agent\n"
                        "compliance-query: 40% completed\n"
                        "compliance-query: closing the evaluation\n",
                        result.errors);
              EXPECT_EQ("No results.\n", result.output);
          });
}

TEST(QueryTest, QuietWritesErrorsOnly) {
    Query({"-d", "--quiet", "--progress=lines"},
          QueryScript({ProgressAnswer("3"), ProgressAnswer("2", "7")}),
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ("compliance-query: the agent reports the error 7\n", result.errors);
          });
}

TEST(QueryTest, HelpAndVersionNeedNoAgent) {
    ProgramResult const help = RunQuery({"--help"});
    EXPECT_EQ(ExitStatus::Exited(0), help.status);
    EXPECT_TRUE(help.output.starts_with("Usage: compliance-query [OPTION]... URL DOC\n"));
    EXPECT_EQ("", help.errors);
    ProgramResult const version = RunQuery({"--version"});
    EXPECT_EQ("compliance-query " CC_VERSION "\n", version.output);
    EXPECT_EQ(ExitStatus::Exited(0), version.status);
}

} // namespace
