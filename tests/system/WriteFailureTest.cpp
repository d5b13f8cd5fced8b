// Requests that cannot be written or renamed.
//
// A move or removal that always fails is tried eight times with pauses of 16, 32, ... 1,024 ms:
// 2,032 ms in all. The run time of the tool shows the number of such series. There is no wait for
// the agent after a failure.
#include "tests/system/ToolTest.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds retries{2032};

// A user without privileges needs a lock file with write permission.
SANDBOX_TEST(WriteFailureTest, ErrorIsMinus17IfOnlyTheLockFileIsWritable) {
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

// Runs the tool as a user without privileges, with these modes of the request directory and of an
// old temporary document. A previous response exists.
ToolRun RunWithOldTemporary(int directoryMode, int mode) {
    WriteBytes(ScriptedAgent::lockFile, "");
    fs::permissions(ScriptedAgent::lockFile, fs::perms(0666));
    WriteBytes(ScriptedAgent::requestTemp, "old");
    fs::permissions(ScriptedAgent::requestTemp, fs::perms(mode));
    fs::permissions(ScriptedAgent::requestDirectory, fs::perms(directoryMode));
    WriteBytes(ScriptedAgent::response, ProgressResponse("2", "5"));
    ScriptedAgent const agent;
    return RunToolUnprivileged({"-d"});
}

// Deliberate: after a failure the existing temporary document is published.
SANDBOX_TEST(WriteFailureTest, PublishesReadOnlyTemporaryDocument) {
    ToolRun const run = RunWithOldTemporary(0777, 0444);
    ExpectPrinted(OpenError(-17), run);
    ExpectTook(milliseconds(0), run);
    EXPECT_EQ("old", ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("lockfile request.xml ", Requests());
}

// Deliberate: a refused rename counts as successful, so there are no pauses, and nothing is
// removed. If the document could be written, the absent request counts as taken.
TEST(WriteFailureTest, RefusedRenameCountsAsSuccess) {
    for (bool const isWritable : {false, true})
        Sandbox::RunWithDirectories([=] {
            ToolRun const run = RunWithOldTemporary(0555, isWritable ? 0666 : 0444);
            ExpectPrinted(isWritable ? PrintedError("5") : OpenError(-17), run);
            ExpectTook(milliseconds(isWritable ? 3000 : 0), run);
            EXPECT_EQ(isWritable ? closeRequest : "old", ReadBytes(ScriptedAgent::requestTemp));
            EXPECT_EQ("lockfile requestTemp.xml ", Requests());
        });
}

// The disk is full when the evaluation is already open: both later exchanges fail silently.
SANDBOX_TEST(WriteFailureTest, DiskThatFillsUpAfterOpenFailsWithoutAMessage) {
    SmallFileSystem disk(ScriptedAgent::requestDirectory, {.bytes = 65536});
    ScriptedAgent agent(AgentScript().Answer(OpenResponse()));
    Tool tool({"-d"});
    agent.AwaitEnd();
    disk.FillUp();
    ToolRun const run = tool.Wait();
    ExpectPrinted("", run);
    ExpectTook(milliseconds(1000), run);
    EXPECT_EQ("", ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("filler lockfile request.xml ", Requests());
}

} // namespace
