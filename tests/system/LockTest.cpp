// The lock is held from the first check to the end of Close, or to the end of the tool.
#include "tests/system/ToolTest.h"

namespace {

using std::chrono::milliseconds;

Arguments const request = {"-c", "url", "doc"};

SANDBOX_TEST(LockTest, HeldDuringAllExchangesAndSleepsThenFree) {
    ScriptedAgent agent(AgentScript()
                            .Answer(OpenResponse())
                            .Answer(ProgressResponse("3"))
                            .PauseUntil(milliseconds(1500))
                            .Answer(ProgressResponse("1"))
                            .Answer(CloseResponse()));
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

// The poll fails because of an unknown state, Close because it gets no response.
SANDBOX_TEST(LockTest, HeldAfterAFailedPollAndFreeAfterAFailedClose) {
    ScriptedAgent agent(
        AgentScript().Answer(OpenResponse()).Answer(ProgressResponse("7")).AwaitRequest());
    Tool tool(request);
    agent.AwaitEnd();
    ExpectWholeFileLockedBy(tool.pid());
    EXPECT_EQ("", tool.Wait().output);
    EXPECT_FALSE(IsLocked());
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

} // namespace
