// --output: the file has either the old or the new content.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/companions/Query.h"
#include "tests/files/Files.h"
#include "tests/support/SmallFileSystem.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Texts = std::vector<std::string>;

constexpr char resultFile[] = "/opt/results/result.json";

void LeaveResult() {
    fs::create_directories("/opt/results");
    std::ofstream(std::string(resultFile)) << "old";
}

template <typename Look>
void QueryToFile(AgentScript const& script, Texts const& arguments, Look const& look) {
    Sandbox::Run([&] {
        Sandbox::CreateAgentDirectories();
        LeaveResult();
        ScriptedAgent const agent(script);
        Texts all{"-d", "--json", "--output", resultFile};
        all.insert(all.end(), arguments.begin(), arguments.end());
        ProgramResult const result = RunQuery(all);
        EXPECT_EQ("", result.output);
        look(result);
    });
}

std::size_t CountResultEntries() {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator("/opt/results"), fs::directory_iterator()));
}

TEST(QueryOutputFileTest, FinishedEvaluationReplacesFile) {
    QueryToFile(FinishingScript(Row(shortRow)), {}, [](ProgramResult const& result) {
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        EXPECT_EQ("d", Json::parse(ReadWholeFile(resultFile)).at("rows").at(0).at("designator"));
        EXPECT_EQ(1u, CountResultEntries());
    });
}

TEST(QueryOutputFileTest, ResultThatIsNotAcceptedReplacesFile) {
    QueryToFile(FinishingScript(Row(shortRow)), {"--strict=Pass"}, [](ProgramResult const& result) {
        EXPECT_EQ(ExitStatus::Exited(10), result.status);
        EXPECT_EQ(1, Json::parse(ReadWholeFile(resultFile)).at("rowCount"));
    });
}

TEST(QueryOutputFileTest, FailedEvaluationKeepsFile) {
    for (AgentScript const& script :
         {AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("2", "5")).Answer(CloseAnswer()),
          AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("7")).Answer(CloseAnswer())})
        QueryToFile(script, {}, [](ProgramResult const& result) {
            EXPECT_NE(ExitStatus::Exited(0), result.status);
            EXPECT_EQ("old", ReadWholeFile(resultFile));
            EXPECT_EQ(1u, CountResultEntries());
        });
}

TEST(QueryOutputFileTest, FailureReplacesFileWithKeepFailures) {
    QueryToFile(
        AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("2", "5")).Answer(CloseAnswer()),
        {"--keep-failures"}, [](ProgramResult const& result) {
            EXPECT_EQ(ExitStatus::Exited(1), result.status);
            EXPECT_EQ(5, Json::parse(ReadWholeFile(resultFile)).at("agentError"));
            EXPECT_EQ(1u, CountResultEntries());
        });
}

TEST(QueryOutputFileTest, WritesTsvToFile) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        LeaveResult();
        ScriptedAgent const agent(FinishingScript(Row(shortRow)));
        EXPECT_EQ(ExitStatus::Exited(0), RunQuery({"-d", "--tsv", "-o", resultFile}).status);
        EXPECT_NE(std::string::npos, ReadWholeFile(resultFile).find("\nd\tr\t"));
    });
}

// Refused before a request is published.
void ExpectRefusedFile(std::string const& path, int status, std::string const& reason) {
    ScriptedAgent const agent(AgentScript().AwaitRequest());
    ProgramResult const result = RunQuery({"-d", "-o", path});
    EXPECT_EQ(ExitStatus::Exited(status), result.status);
    EXPECT_EQ("compliance-query: --output: '" + path + "' " + reason + "\n", result.errors);
    EXPECT_FALSE(fs::exists(ScriptedAgent::lockFile));
    EXPECT_EQ(0u, agent.Requests().size());
}

TEST(QueryOutputFileTest, RefusesFileBeforeTheRequest) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        std::string const accepted =
            "; accepted: a regular file, or a new name in a directory that exists";
        ExpectRefusedFile("/dev/null", 2, "is not a regular file" + accepted);
        ExpectRefusedFile("/opt", 2, "is a directory" + accepted);
        ExpectRefusedFile("/opt/none/file", 2, "is in no directory that exists" + accepted);
        ExpectRefusedFile("", 2, "is empty" + accepted);
        SmallFileSystem disk("/opt/disk");
        disk.MakeReadOnly();
        ExpectRefusedFile("/opt/disk/file", 8, "could not be replaced: Read-only file system");
    });
}

TEST(QueryOutputFileTest, ResultWithoutRowsReplacesFile) {
    QueryToFile(FinishingScript(""), {"--strict=Pass", "-q"}, [](ProgramResult const& result) {
        EXPECT_EQ(ExitStatus::Exited(11), result.status);
        EXPECT_EQ("compliance-query: the evaluation has no rows\n", result.errors);
        EXPECT_EQ(0, Json::parse(ReadWholeFile(resultFile)).at("rowCount"));
        EXPECT_EQ(1u, CountResultEntries());
    });
}

TEST(QueryOutputFileTest, FullDiskKeepsFile) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        SmallFileSystem disk("/opt/results");
        LeaveResult();
        disk.FillUp();
        ScriptedAgent const agent(FinishingScript(Row(shortRow)));
        ProgramResult const result = RunQuery({"-d", "--json", "-o", resultFile});
        EXPECT_EQ(ExitStatus::Exited(8), result.status);
        EXPECT_EQ("compliance-query: the rows could not be written: No space left on device\n",
                  result.errors);
        EXPECT_EQ("old", ReadWholeFile(resultFile));
        EXPECT_EQ(2u, CountResultEntries());
        agent.AwaitEnd(std::chrono::seconds(1));
    });
}

} // namespace
