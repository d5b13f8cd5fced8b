// --prometheus: the file has the metrics of each run, including failed runs.
#include "tests/companions/Query.h"

namespace {

constexpr char metricsFile[] = "/opt/compliance.prom";

std::string MetricsText() { return ReadWholeFile(metricsFile); }

Texts WithMetrics(Texts arguments) {
    arguments.insert(arguments.begin(), {"--quiet", "--prometheus", metricsFile});
    return arguments;
}

SANDBOX_TEST(QueryMetricsTest, FinishedRunHasRowsAndTimes) {
    ExpectExit(0, "", Query(WithMetrics({"--strict", "r", "url", "doc"}), FinishingScript()));
    std::string const text = MetricsText();
    std::string const labels = "{document=\"doc\",config=\"\"";
    EXPECT_THAT(text, HasSubstr("clientcompliance_rows" + labels + ",result=\"r\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("clientcompliance_failing_rows" + labels + "} 0\n"));
    EXPECT_THAT(text, HasSubstr("clientcompliance_exit_status" + labels + "} 0\n"));
    EXPECT_THAT(text, HasSubstr("\nclientcompliance_last_success_timestamp_seconds{"));
}

SANDBOX_TEST(QueryMetricsTest, OmitsFailingRowsWithoutStrict) {
    ExpectExit(0, "", Query(WithMetrics({"-d"}), FinishingScript()));
    EXPECT_THAT(MetricsText(), HasSubstr("result=\"r\"} 1\n"));
    EXPECT_THAT(MetricsText(), Not(HasSubstr("clientcompliance_failing_rows{")));
}

SANDBOX_TEST(QueryMetricsTest, FailedRunKeepsRowsOfPreviousRun) {
    Query(WithMetrics({"-d", "--strict", "other"}), FinishingScript());
    EXPECT_THAT(MetricsText(), HasSubstr("failing_rows{document=\"\",config=\"\"} 1\n"));
    EXPECT_EQ(ExitStatus::Exited(3), RunQuery(WithMetrics({"-d"})).status);
    std::string const text = MetricsText();
    EXPECT_THAT(text, HasSubstr("exit_status{document=\"\",config=\"\"} 3\n"));
    EXPECT_THAT(text, HasSubstr("failing_rows{document=\"\",config=\"\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("result=\"r\"} 1\n"));
}

SANDBOX_TEST(QueryMetricsTest, StatusOfOutputFailureIsInMetrics) {
    EXPECT_EQ(ExitStatus::Exited(8),
              Query(WithMetrics({"--output", "/proc/result", "url", "doc"}), {}).status);
    EXPECT_THAT(MetricsText(), HasSubstr("exit_status{document=\"doc\",config=\"\"} 8\n"));
}

SANDBOX_TEST(QueryMetricsTest, ExitsWith8IfMetricsFileCannotBeReplaced) {
    QueryRun const run = Query({"--prometheus", "/proc/metrics", "url", "doc"}, FinishingScript());
    EXPECT_EQ(ExitStatus::Exited(8), run.status);
    EXPECT_THAT(run.errors, HasSubstr("compliance-query: --prometheus: '/proc/metrics' "));
    EXPECT_NE("", run.output);
}

SANDBOX_TEST(QueryMetricsTest, FileOfTheRowsIsRefusedBeforeTheRequest) {
    ScriptedAgent const agent(AgentScript().AwaitRequest());
    WriteWholeFile(metricsFile, "old");
    fs::create_symlink(metricsFile, "/opt/link");
    for (char const* const output : {metricsFile, "/opt/link", "/opt/../opt/compliance.prom"})
        EXPECT_EQ(ExitStatus::Exited(2),
                  RunQuery(WithMetrics({"--output", output, "url", "doc"})).status);
    std::string const file = metricsFile;
    EXPECT_EQ("compliance-query: --prometheus '/opt/compliance.prom' and standard output '-' "
              "are the same file; accepted: a separate file for each output\n",
              RunShell("'" CC_QUERY_PROGRAM "' --prometheus " + file + " -d >>" + file).errors);
    EXPECT_EQ("old", MetricsText());
    EXPECT_THAT(agent.Requests(), IsEmpty());
}

// Runs the program in /opt, with these arguments and redirections.
ProgramResult RunInOpt(std::string const& arguments) {
    return RunShell("cd /opt && exec '" CC_QUERY_PROGRAM "' --quiet -d " + arguments);
}

SANDBOX_TEST(QueryMetricsTest, DashIsAFileNameAndNotStandardOutput) {
    ScriptedAgent const agent(FinishingScript());
    EXPECT_EQ(ExitStatus::Exited(0), RunInOpt("--tsv --prometheus - >/opt/rows").status);
    EXPECT_TRUE(fs::exists("/opt/-"));
    EXPECT_NE(0u, fs::file_size("/opt/rows"));
}

SANDBOX_TEST(QueryMetricsTest, DashOfOutputOptionIsAFileName) {
    ScriptedAgent const agent(AgentScript().AwaitRequest());
    ExpectExit(2,
               "compliance-query: --prometheus './-' and --output '-' are the same file; "
               "accepted: a separate file for each output\n",
               RunInOpt("--json --keep-failures --output - --prometheus ./-"));
    EXPECT_THAT(agent.Requests(), IsEmpty());
}

} // namespace
