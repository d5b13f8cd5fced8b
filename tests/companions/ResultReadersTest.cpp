// The programs that read results, with results of the real compliance-query.
#include "tests/companions/Query.h"
#include "tests/system/Tool.h"

namespace {

// Evaluates on this machine and stores the result.
void StoreResult(std::string const& rows, std::string const& file, std::string const& format) {
    fs::create_directories(fs::path(file).parent_path());
    ScriptedAgent const agent(FinishingScript(rows));
    ASSERT_EQ(ExitStatus::Exited(0), RunQuery({"-d", format, "-o", file}).status);
    agent.AwaitEnd(seconds(1));
}

SANDBOX_TEST(ResultReadersTest, DiffReadsJsonAndNdjsonOfTheQuery) {
    StoreResult(TwoRows(), "/opt/old.json", "--json");
    StoreResult(Row(shortRow), "/opt/new.json", "--ndjson");
    EXPECT_EQ(ExitStatus::Exited(0),
              RunProgram({CC_DIFF_PROGRAM, "/opt/old.json", "/opt/old.json"}).status);
    ProgramResult const result =
        RunProgram({CC_DIFF_PROGRAM, "--json", "/opt/old.json", "/opt/new.json"});
    EXPECT_EQ(ExitStatus::Exited(1), result.status) << result.errors;
    Json const document = Json::parse(result.output);
    EXPECT_EQ(2, document.at("old").at("rowCount"));
    EXPECT_EQ(1, document.at("new").at("rowCount"));
    EXPECT_EQ(document.at("old").at("provenance").at("host"),
              document.at("new").at("provenance").at("host"));
}

SANDBOX_TEST(ResultReadersTest, ReportReadsJsonAndNdjsonOfTheQuery) {
    StoreResult(TwoRows(), "/opt/results/old.json", "--json");
    StoreResult(Row(shortRow), "/opt/results/new.json", "--ndjson");
    ProgramResult const result =
        RunProgram({CC_REPORT_PROGRAM, "--strict=none", "--json=-", "/opt/results"});
    EXPECT_EQ(ExitStatus::Exited(10), result.status) << result.errors;
    Json const document = Json::parse(result.output);
    ASSERT_EQ(1u, document.at("entries").size());
    Json const& newest = document.at("entries").at(0).at("result");
    EXPECT_EQ("/opt/results/new.json", newest.at("file"));
    EXPECT_EQ(1, newest.at("rows"));
    EXPECT_EQ(1, newest.at("olderResults"));
    EXPECT_LT(newest.at("ageSeconds"), 60);
}

SANDBOX_TEST(ResultReadersTest, ReportNamesUnreadableDirectory) {
    StoreResult(Row(shortRow), "/opt/results/good.json", "--json");
    fs::create_directory("/opt/results/closed");
    fs::permissions("/opt/results/closed", fs::perms::none);
    ProgramResult const result = RunProgram(
        {AccessibleCopy(CC_REPORT_PROGRAM), "--strict=Compliant", "--json=-", "/opt/results"},
        Unprivileged());
    ExpectExit(1, "compliance-report: /opt/results/closed: could not be read: Permission denied\n",
               result);
    EXPECT_EQ(1, Json::parse(result.output).at("entries").size());
}

} // namespace
