// --output: the file has either the old or the new content.
#include "tests/companions/Query.h"
#include "tests/support/SmallFileSystem.h"

namespace {

constexpr char resultDirectory[] = "/opt/results";
constexpr char resultFile[] = "/opt/results/result.json";

void LeaveResult() {
    fs::create_directories(resultDirectory);
    WriteWholeFile(resultFile, "old");
}

// Runs an evaluation that writes a file, which exists. No temporary file remains.
QueryRun QueryToFile(AgentScript const& script, Texts arguments = {}) {
    LeaveResult();
    arguments.insert(arguments.end(), {"-d", "--json", "--output", resultFile});
    QueryRun const run = Query(arguments, script);
    EXPECT_EQ("", run.output);
    EXPECT_EQ(1u, CountEntries(resultDirectory));
    return run;
}

Json ResultDocument() { return Json::parse(ReadWholeFile(resultFile)); }

SANDBOX_TEST(QueryOutputFileTest, FinishedEvaluationReplacesFile) {
    EXPECT_EQ(ExitStatus::Exited(0), QueryToFile(FinishingScript()).status);
    EXPECT_EQ("d", ResultDocument().at("rows").at(0).at("designator"));
}

SANDBOX_TEST(QueryOutputFileTest, ResultThatIsNotAcceptedReplacesFile) {
    EXPECT_EQ(ExitStatus::Exited(10), QueryToFile(FinishingScript(), {"--strict=Pass"}).status);
    EXPECT_EQ(1, ResultDocument().at("rowCount"));
    ExpectExit(11, "compliance-query: the evaluation has no rows\n",
               QueryToFile(FinishingScript(""), {"--strict=Pass", "-q"}));
    EXPECT_EQ(0, ResultDocument().at("rowCount"));
}

SANDBOX_TEST(QueryOutputFileTest, FailedEvaluationKeepsFile) {
    for (auto const& [response, status] :
         {std::pair{ProgressResponse("2", "5"), 1}, {ProgressResponse("7"), 6}}) {
        EXPECT_EQ(ExitStatus::Exited(status), QueryToFile(QueryScript({response})).status);
        EXPECT_EQ("old", ReadWholeFile(resultFile));
    }
}

SANDBOX_TEST(QueryOutputFileTest, FailureReplacesFileWithKeepFailures) {
    EXPECT_EQ(ExitStatus::Exited(1),
              QueryToFile(QueryScript({ProgressResponse("2", "5")}), {"--keep-failures"}).status);
    EXPECT_EQ(5, ResultDocument().at("agentError"));
}

SANDBOX_TEST(QueryOutputFileTest, WritesTsvToFile) {
    LeaveResult();
    ExpectExit(0, "", Query({"-d", "--tsv", "-o", resultFile}, FinishingScript()));
    EXPECT_THAT(ReadWholeFile(resultFile), HasSubstr("\nd\tr\t"));
}

// Refused before a request is published.
void ExpectRefusedFile(std::string const& path, int status, std::string const& reason) {
    ScriptedAgent const agent(AgentScript().AwaitRequest());
    ExpectExit(status, "compliance-query: --output: '" + path + "' " + reason + "\n",
               RunQuery({"-d", "-o", path}));
    EXPECT_FALSE(fs::exists(ScriptedAgent::lockFile));
    EXPECT_THAT(agent.Requests(), IsEmpty());
}

SANDBOX_TEST(QueryOutputFileTest, RefusesFileBeforeTheRequest) {
    std::string const accepted =
        "; accepted: a regular file, or a new name in a directory that exists";
    ExpectRefusedFile("/dev/null", 2, "is not a regular file" + accepted);
    ExpectRefusedFile("/opt", 2, "is a directory" + accepted);
    ExpectRefusedFile("/opt/none/file", 2, "is in no directory that exists" + accepted);
    ExpectRefusedFile("", 2, "is empty" + accepted);
    SmallFileSystem disk("/opt/disk");
    disk.MakeReadOnly();
    ExpectRefusedFile("/opt/disk/file", 8, "could not be replaced: Read-only file system");
}

SANDBOX_TEST(QueryOutputFileTest, ExitsWith8IfFileCannotBeReplaced) {
    for (std::string const& response : {Finished(), ProgressResponse("2", "5")}) {
        fs::remove("/opt/file");
        QueryRun const run = Query({"-d", "--json", "--keep-failures", "-o", "/opt/file"},
                                   AgentScript()
                                       .Answer(OpenResponse())
                                       .MakeDirectory("/opt/file")
                                       .Answer(response)
                                       .Answer(CloseResponse()));
        EXPECT_EQ(ExitStatus::Exited(8), run.status);
        EXPECT_THAT(run.errors,
                    EndsWith("--output: '/opt/file' could not be replaced: Is a directory\n"));
    }
}

SANDBOX_TEST(QueryOutputFileTest, FullDiskKeepsFile) {
    SmallFileSystem disk(resultDirectory);
    LeaveResult();
    disk.FillUp();
    ExpectExit(8, "compliance-query: the rows could not be written: No space left on device\n",
               Query({"-d", "--json", "-o", resultFile}, FinishingScript()));
    EXPECT_EQ("old", ReadWholeFile(resultFile));
    std::string const failure = "compliance-query: the agent reports the error 5\n";
    ExpectExit(8,
               failure +
                   "compliance-query: the document could not be written: No space left on device\n",
               Query({"-d", "--json", "--keep-failures", "-o", resultFile},
                     QueryScript({ProgressResponse("2", "5")})));
    EXPECT_EQ("old", ReadWholeFile(resultFile));
    EXPECT_EQ(2u, CountEntries(resultDirectory));
}

} // namespace
