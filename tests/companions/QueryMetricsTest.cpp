// --prometheus: the file has the metrics of each run, including failed runs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/companions/Query.h"
#include "tests/files/Files.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using Texts = std::vector<std::string>;

constexpr char metricsFile[] = "/opt/compliance.prom";

std::string MetricsText() { return ReadWholeFile(metricsFile); }

Texts WithMetrics(Texts arguments) {
    arguments.insert(arguments.begin(), {"--quiet", "--prometheus", metricsFile});
    return arguments;
}

TEST(QueryMetricsTest, FinishedRunHasRowsAndTimes) {
    Query(WithMetrics({"--strict", "r", "url", "doc"}), FinishingScript(Row(shortRow)),
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ(ExitStatus::Exited(0), result.status);
              std::string const text = MetricsText();
              std::string const labels = "{document=\"doc\",config=\"\"";
              EXPECT_THAT(text, HasSubstr("clientcompliance_rows" + labels + ",result=\"r\"} 1\n"));
              EXPECT_THAT(text, HasSubstr("clientcompliance_failing_rows" + labels + "} 0\n"));
              EXPECT_THAT(text, HasSubstr("clientcompliance_exit_status" + labels + "} 0\n"));
              EXPECT_THAT(text, HasSubstr("\nclientcompliance_last_success_timestamp_seconds{"));
          });
}

TEST(QueryMetricsTest, FailedRunKeepsRowsOfPreviousRun) {
    Sandbox::RunWithDirectories([] {
        {
            ScriptedAgent const agent(FinishingScript(Row(shortRow)));
            RunQuery(WithMetrics({"-d", "--strict", "other"}));
        }
        EXPECT_THAT(MetricsText(), HasSubstr("failing_rows{document=\"\",config=\"\"} 1\n"));
        EXPECT_EQ(ExitStatus::Exited(3), RunQuery(WithMetrics({"-d"})).status);
        std::string const text = MetricsText();
        EXPECT_THAT(text, HasSubstr("exit_status{document=\"\",config=\"\"} 3\n"));
        EXPECT_THAT(text, HasSubstr("failing_rows{document=\"\",config=\"\"} 1\n"));
        EXPECT_THAT(text, HasSubstr("result=\"r\"} 1\n"));
    });
}

TEST(QueryMetricsTest, StatusOfOutputFailureIsInMetrics) {
    Query(WithMetrics({"--output", "/proc/result", "url", "doc"}), {},
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ(ExitStatus::Exited(8), result.status);
              EXPECT_THAT(MetricsText(),
                          HasSubstr("exit_status{document=\"doc\",config=\"\"} 8\n"));
          });
}

TEST(QueryMetricsTest, ExitsWith8IfMetricsFileCannotBeReplaced) {
    Query({"--prometheus", "/proc/metrics", "url", "doc"}, FinishingScript(Row(shortRow)),
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ(ExitStatus::Exited(8), result.status);
              EXPECT_THAT(result.errors,
                          HasSubstr("compliance-query: --prometheus: '/proc/metrics' "));
              EXPECT_NE("", result.output);
          });
}

TEST(QueryMetricsTest, FileOfTheRowsIsRefusedBeforeTheRequest) {
    Sandbox::RunWithDirectories([] {
        ScriptedAgent const agent(AgentScript().AwaitRequest());
        std::ofstream(metricsFile) << "old";
        std::filesystem::create_symlink(metricsFile, "/opt/link");
        for (Texts const& arguments : {Texts{"--output", metricsFile},
                                       {"--output", "/opt/link"},
                                       {"--output", "/opt/../opt/compliance.prom"}}) {
            Texts all = WithMetrics(arguments);
            all.insert(all.end(), {"url", "doc"});
            EXPECT_EQ(ExitStatus::Exited(2), RunQuery(all).status);
        }
        std::string const command = std::string("'" CC_QUERY_PROGRAM "' --prometheus ") +
                                    metricsFile + " -d >>" + metricsFile;
        EXPECT_EQ("compliance-query: --prometheus '/opt/compliance.prom' and standard output '-' "
                  "are the same file; accepted: a separate file for each output\n",
                  RunProgram({"/bin/sh", "-c", command}).errors);
        EXPECT_EQ("old", MetricsText());
        EXPECT_EQ(0u, agent.Requests().size());
    });
}

TEST(QueryMetricsTest, OmitsFailingRowsWithoutStrict) {
    Query(WithMetrics({"-d"}), FinishingScript(Row(shortRow)),
          [](ProgramResult const& result, auto const&) {
              EXPECT_EQ(ExitStatus::Exited(0), result.status);
              EXPECT_THAT(MetricsText(), HasSubstr("result=\"r\"} 1\n"));
              EXPECT_THAT(MetricsText(), Not(HasSubstr("clientcompliance_failing_rows{")));
          });
}

// Runs the command in /opt, with these redirections.
ProgramResult RunInOpt(std::string const& arguments) {
    return RunProgram(
        {"/bin/sh", "-c", "cd /opt && exec '" CC_QUERY_PROGRAM "' --quiet -d " + arguments});
}

TEST(QueryMetricsTest, DashIsAFileNameAndNotStandardOutput) {
    Sandbox::RunWithDirectories([] {
        ScriptedAgent const agent(FinishingScript(Row(shortRow)));
        EXPECT_EQ(ExitStatus::Exited(0), RunInOpt("--tsv --prometheus - >/opt/rows").status);
        EXPECT_TRUE(std::filesystem::exists("/opt/-"));
        EXPECT_NE(0u, std::filesystem::file_size("/opt/rows"));
    });
}

TEST(QueryMetricsTest, DashOfOutputOptionIsAFileName) {
    Sandbox::RunWithDirectories([] {
        ScriptedAgent const agent(AgentScript().AwaitRequest());
        ProgramResult const result = RunInOpt("--json --keep-failures --output - --prometheus ./-");
        EXPECT_EQ(ExitStatus::Exited(2), result.status);
        EXPECT_EQ("compliance-query: --prometheus './-' and --output '-' are the same file; "
                  "accepted: a separate file for each output\n",
                  result.errors);
        EXPECT_EQ(0u, agent.Requests().size());
    });
}

} // namespace
