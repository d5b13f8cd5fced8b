// The lock file: its properties, and that the lock is held from the first check to the end of
// Close.
#include "tests/system/ToolTest.h"

namespace {

using std::chrono::milliseconds;

Arguments const request = {"-c", "url", "doc"};

SANDBOX_TEST(LockTest, FollowsLinkAtTheLockFile) {
    fs::create_symlink("/opt/elsewhere", ScriptedAgent::lockFile);
    EXPECT_EQ(OpenError(-1), RunTool(request).output);
    EXPECT_TRUE(fs::is_regular_file("/opt/elsewhere"));
    ForeignLock lock;
    EXPECT_EQ(OpenError(-6), RunTool(request).output);
}

SANDBOX_TEST(LockTest, HeldDuringAllExchangesAndSleepsThenFree) {
    ScriptedAgent agent(AgentScript()
                            .Answer(OpenAnswer())
                            .Answer(ProgressAnswer("3"))
                            .PauseUntil(milliseconds(1500))
                            .Answer(ProgressAnswer("1"))
                            .Answer(CloseAnswer()));
    Tool tool(request);
    // The seventh step ends in the sleep between two polls.
    for (size_t const steps : {1, 4, 7, 8, 11}) {
        agent.AwaitSteps(steps);
        ExpectWholeFileLockedBy(tool.pid());
    }
    EXPECT_EQ(ExitStatus::Exited(0), tool.Wait().status);
    EXPECT_FALSE(IsLocked());
    EXPECT_EQ("lockfile ", Requests());
}

// The poll fails because of an unknown state, Close because it gets no answer.
SANDBOX_TEST(LockTest, HeldAfterAFailedPollAndFreeAfterAFailedClose) {
    ScriptedAgent agent(
        AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("7")).AwaitRequest());
    Tool tool(request);
    agent.AwaitEnd();
    ExpectWholeFileLockedBy(tool.pid());
    EXPECT_EQ("", tool.Wait().output);
    EXPECT_FALSE(IsLocked());
}

SANDBOX_TEST(LockTest, DescriptorIsCloseOnExec) {
    ScriptedAgent agent(AgentScript().AwaitRequest());
    Tool tool(request);
    agent.AwaitEnd();
    std::string const process = "/proc/" + std::to_string(tool.pid());
    EXPECT_EQ(ScriptedAgent::lockFile, fs::read_symlink(process + "/fd/3"));
    std::string const facts = ReadBytes(process + "/fdinfo/3");
    size_t const flags = facts.find("flags:\t");
    ASSERT_NE(std::string::npos, flags);
    // Close-on-exec, and open for reading and writing.
    EXPECT_EQ(02000002u, std::stoul(facts.substr(flags + 7), nullptr, 8) & 02000003u);
}

// The complete request remains and obstructs the next tool. The tool catches no signal.
TEST(LockTest, RequestOfAKilledToolRemains) {
    for (int const signal : {SIGKILL, SIGTERM, SIGINT, SIGHUP, SIGPIPE, SIGALRM, SIGUSR1}) {
        Sandbox::RunWithDirectories([&] {
            ScriptedAgent agent(AgentScript().AwaitRequest());
            Tool tool(request);
            agent.AwaitEnd();
            tool.Kill(signal);
            ToolRun const run = tool.Wait();
            EXPECT_EQ(ExitStatus::Killed(signal), run.status);
            EXPECT_EQ("", run.output);
            EXPECT_EQ(OpenRequest("url", "doc", "0"), ReadBytes(ScriptedAgent::request));
            EXPECT_FALSE(IsLocked());
            EXPECT_EQ(OpenError(-5), RunTool(request).output);
        });
    }
}

SANDBOX_TEST(LockTest, SecondToolFailsAndTheFirstContinues) {
    ScriptedAgent agent(WholeEvaluation({ProgressAnswer("1")}));
    Tool first(request);
    agent.AwaitRequests(1);
    for (int i = 0; i < 3; ++i) {
        ToolRun const second = RunTool(request);
        ExpectPrinted(OpenError(-6), second);
        ExpectTook(milliseconds(0), second);
        // The end of the refused tool does not affect the owner of the lock.
        ExpectWholeFileLockedBy(first.pid());
    }
    ExpectPrinted(PrintedCount(0), first.Wait());
    EXPECT_EQ(3u, agent.Requests().size());
}

} // namespace
