// -17: the request cannot be written or renamed.
//
// A rename or removal that always fails is tried eight times with pauses of 16, 32, ... 1,024 ms:
// 2,032 ms in all. The run time of the tool shows the number of such series. There is no wait for
// the agent after a failure.
#include "tests/system/ToolTest.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds retries{2032};

// A user without privileges needs a lock file with write permission.
SANDBOX_TEST(WriteFailureTest, GivesMinus17IfOnlyTheLockFileIsWritable) {
    WriteBytes(ScriptedAgent::lockFile, "");
    fs::permissions(ScriptedAgent::lockFile, fs::perms(0666));
    fs::permissions(ScriptedAgent::requestDirectory, fs::perms(0555));
    ScriptedAgent const agent;
    // Nothing obstructs the second tool.
    for (int run = 0; run < 2; ++run) {
        Tool tool = Tool::Unprivileged({"-d"});
        while (!IsLocked())
            usleep(1000);
        ExpectWholeFileLockedBy(tool.pid());
        ToolRun const refused = tool.Wait();
        ExpectPrinted(OpenError(-17), refused);
        ExpectTook(retries, refused);
        EXPECT_FALSE(IsLocked());
        EXPECT_EQ("lockfile ", Requests());
    }
}

// The disk is full when the evaluation is already open: both later exchanges fail silently.
SANDBOX_TEST(WriteFailureTest, DiskThatFillsUpAfterOpen) {
    SmallFileSystem disk(ScriptedAgent::requestDirectory, {.bytes = 65536});
    ScriptedAgent agent(AgentScript().Answer(OpenAnswer()));
    Tool tool({"-d"});
    agent.AwaitEnd();
    disk.FillUp();
    ToolRun const run = tool.Wait();
    ExpectPrinted("", run);
    ExpectTook(milliseconds(1000), run);
    EXPECT_EQ("", ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("filler lockfile request.xml ", Requests());
}

// An entry at the path of the request refuses Open, but not a poll or Close. The agent creates it
// in the second of sleep after a Progress answer.
//
// The entries that the agent creates at the two paths; the duration of the retries of the poll and
// Close, which both fail silently; and the remaining entries.
struct Obstruction {
    char const* name;
    Entry request;
    Entry temporary;
    milliseconds poll;
    milliseconds close;
    std::string left;
};

void PrintTo(Obstruction const& test, std::ostream* out) { *out << test.name; }

class ObstructedRequestTest : public testing::TestWithParam<Obstruction> {};

TEST_P(ObstructedRequestTest, FailsSilentlyAfterTheRetries) {
    Obstruction const& test = GetParam();
    Sandbox::RunWithDirectories([&] {
        AgentScript script;
        script.Answer(OpenAnswer()).Answer(ProgressAnswer("3", "0", "50"));
        script.PauseUntil(milliseconds(1400));
        AddSteps(script, ScriptedAgent::request, test.request);
        AddSteps(script, ScriptedAgent::requestTemp, test.temporary);
        ToolRun const run = Evaluate(script).tool;
        ExpectPrinted(PrintedPercent("50"), run);
        ExpectTook(milliseconds(3000) + test.poll + test.close, run);
        bool const isReplaced = test.left.empty();
        EXPECT_EQ(isReplaced ? test.temporary : test.request, EntryOnDisk(ScriptedAgent::request));
        EXPECT_EQ(isReplaced ? "lockfile request.xml " : test.left, Requests());
    });
}

Entry const nothing;
Entry const emptyDirectory{Entry::directory};
Entry const fullDirectory{Entry::fullDirectory};
std::string const requestStays = "lockfile request.xml ";

INSTANTIATE_TEST_SUITE_P(
    WriteFailureTest, ObstructedRequestTest,
    testing::Values(
        Obstruction{"DirectoryIsRetriedTwice", emptyDirectory, nothing, 2 * retries, 2 * retries,
                    requestStays},
        // It is not a file, so it cannot be replaced.
        Obstruction{"LinkToNothingStays", Entry::Link(Entry::nowhere), nothing, 2 * retries,
                    2 * retries, requestStays},
        // The temporary document cannot be written, and the existing one replaces an empty
        // directory. So the poll fails immediately, and Close finds the directory.
        Obstruction{"DirectoryAsTemporaryReplacesAnEmptyOne", emptyDirectory, fullDirectory,
                    milliseconds(0), 2 * retries, ""},
        // A directory with content is not replaced. The empty one beside it is removed.
        Obstruction{"EmptyDirectoryAsTemporaryIsRemoved", fullDirectory, emptyDirectory, retries,
                    2 * retries, requestStays},
        // Neither renamed nor removed: each is tried eight times.
        Obstruction{"DirectoriesWithContentStay", fullDirectory, fullDirectory, 2 * retries,
                    2 * retries, "lockfile request.xml requestTemp.xml "}),
    NameOfRow);

SANDBOX_TEST(WriteFailureTest, RequestDirectoryIsRenamedDuringEvaluation) {
    std::string const moved = "/var/opt/VeskaClient/Moved";
    ScriptedAgent agent(
        AgentScript().Answer(OpenAnswer()).Move(ScriptedAgent::requestDirectory, moved));
    Tool tool({"-d"});
    agent.AwaitEnd();
    usleep(1'500'000);
    // The lock belongs to the file, independent of its path.
    ExpectWholeFileLockedBy(tool.pid(), moved + "/lockfile");
    ToolRun const run = tool.Wait();
    ExpectPrinted("", run);
    ExpectTook(milliseconds(1000) + 2 * retries, run);
    EXPECT_EQ("Moved ResponseDir ", ListDirectory("/var/opt/VeskaClient"));
    EXPECT_FALSE(IsLocked(moved + "/lockfile"));
}

} // namespace
