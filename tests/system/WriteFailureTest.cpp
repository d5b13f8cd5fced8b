// -17: the request cannot be written or renamed.
//
// A rename or removal that always fails is tried eight times with pauses of 16, 32, ... 1,024 ms:
// 2,032 ms in all. The run time of the tool shows the number of such series. There is no wait for
// the agent after a failure.
#include "tests/system/ToolTest.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds retries{2032};

void ExpectFailedOpen(ToolRun const& run, milliseconds pauses) {
    ExpectPrinted(OpenError(-17), run);
    ExpectTook(pauses, run);
}

// The entry at the path of the request refuses the next tool.
void ExpectNextIsRefused() { EXPECT_EQ(OpenError(-5), RunTool({"-d"}).output); }

// A user without privileges needs a lock file with write permission, and a mode of the directory.
void InSharedSandbox(int directoryMode, std::function<void()> const& body) {
    Sandbox::RunWithDirectories([&] {
        WriteBytes(ScriptedAgent::lockFile, "");
        fs::permissions(ScriptedAgent::lockFile, fs::perms(0666));
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms(directoryMode));
        ScriptedAgent const agent;
        body();
    });
}

void MakeTemporary(int mode) {
    WriteBytes(ScriptedAgent::requestTemp, "old");
    fs::permissions(ScriptedAgent::requestTemp, fs::perms(mode));
}

TEST(WriteFailureTest, GivesMinus17IfOnlyTheLockFileIsWritable) {
    InSharedSandbox(0555, [] {
        Tool tool = Tool::Unprivileged({"-d"});
        while (!IsLocked())
            usleep(1000);
        ExpectWholeFileLockedBy(tool.pid());
        ExpectFailedOpen(tool.Wait(), retries);
        EXPECT_FALSE(IsLocked());
        EXPECT_EQ("lockfile ", Requests());
        // Nothing obstructs the next tool.
        ExpectFailedOpen(RunToolUnprivileged({"-d"}), retries);
    });
}

// Deliberate: after a failure the existing temporary document is published.
TEST(WriteFailureTest, PublishesReadOnlyTemporaryDocument) {
    InSharedSandbox(0777, [] {
        MakeTemporary(0444);
        ExpectFailedOpen(RunToolUnprivileged({"-d"}), milliseconds(0));
        EXPECT_EQ("old", ReadBytes(ScriptedAgent::request));
        EXPECT_EQ("lockfile request.xml ", Requests());
        ExpectNextIsRefused();
    });
}

// Deliberate: a refused rename counts as successful, so there are no pauses, and nothing is
// removed.
TEST(WriteFailureTest, RefusedRenameCountsAsSuccess) {
    InSharedSandbox(0555, [] {
        MakeTemporary(0444);
        ExpectFailedOpen(RunToolUnprivileged({"-d"}), milliseconds(0));
        EXPECT_EQ("old", ReadBytes(ScriptedAgent::requestTemp));
        EXPECT_EQ("lockfile requestTemp.xml ", Requests());
    });
}

// Deliberate: the same if the document could be written. The request counts as published and,
// because it is absent at the first poll, as taken.
TEST(WriteFailureTest, RequestWhoseRenameIsRefusedCountsAsTaken) {
    InSharedSandbox(0555, [] {
        MakeTemporary(0666);
        WriteBytes(ScriptedAgent::response, ProgressAnswer("2", "5"));
        ToolRun const run = RunToolUnprivileged({"-d"});
        ExpectPrinted(PrintedError("5"), run);
        ExpectTook(milliseconds(3000), run);
        EXPECT_EQ(closeRequest, ReadBytes(ScriptedAgent::requestTemp));
        EXPECT_EQ("lockfile requestTemp.xml ", Requests());
    });
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

AgentScript UntilTheSleepBetweenPolls() {
    return AgentScript()
        .Answer(OpenAnswer())
        .Answer(ProgressAnswer("3", "0", "50"))
        .PauseUntil(milliseconds(1400));
}

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
        AgentScript script = UntilTheSleepBetweenPolls();
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
    [](auto const& test) { return std::string(test.param.name); });

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
