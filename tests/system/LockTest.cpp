// The lock file: what it looks like, and that the lock is held from the first check to the close.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <sys/file.h>
#include <sys/stat.h>

#include "tests/support/PrivateMachine.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"
#include "tests/system/Tool.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

Arguments const request = {"-c", "url", "doc"};

AgentScript WholeEvaluation() {
    return AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("1")).Answer(CloseAnswer());
}

mode_t ModeOf(std::string const& path) {
    struct stat facts {};
    EXPECT_EQ(0, lstat(path.c_str(), &facts));
    return facts.st_mode;
}

void ExpectNoResults(ToolRun const& run) {
    EXPECT_EQ(PrintedCount(0), run.output);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
}

TEST(LockTest, LockFileIsCreatedWithTheModeThatTheUmaskLeavesAndStays) {
    for (mode_t const mask : {0, 022, 077, 027}) {
        PrivateMachine::RunWithDirectories([&] {
            RunTool(request, {.prepare = [&] {
                        umask(mask);
                        return true;
                    }});
            EXPECT_EQ(S_IFREG | (0666 & ~mask), ModeOf(ScriptedAgent::lockFile));
            EXPECT_EQ("", ReadBytes(ScriptedAgent::lockFile));
        });
    }
}

SANDBOX_TEST(LockTest, ExistingLockFileMeansNothingAndKeepsItsContent) {
    WriteBytes(ScriptedAgent::lockFile, "4711\n");
    EXPECT_EQ(OpenError(-1), RunTool(request).output);
    EXPECT_EQ("4711\n", ReadBytes(ScriptedAgent::lockFile));
}

SANDBOX_TEST(LockTest, LinkUnderTheNameOfTheLockFileIsFollowed) {
    fs::create_symlink("/opt/elsewhere", ScriptedAgent::lockFile);
    EXPECT_EQ(OpenError(-1), RunTool(request).output);
    EXPECT_TRUE(fs::is_regular_file("/opt/elsewhere"));
    ForeignLock lock;
    EXPECT_EQ(OpenError(-6), RunTool(request).output);
}

// Another kind of lock, which does not meet this one.
SANDBOX_TEST(LockTest, LockByFlockDoesNotMatter) {
    int const file = OpenLockFile();
    ASSERT_EQ(0, flock(file, LOCK_EX));
    EXPECT_EQ(OpenError(-1), RunTool(request).output);
    close(file);
}

SANDBOX_TEST(LockTest, HeldThroughAllExchangesAndSleepsThenFree) {
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
    EXPECT_EQ("lockfile ", ListDirectory(ScriptedAgent::requestDirectory));
}

SANDBOX_TEST(LockTest, HeldAfterAFailedPollUntilTheClose) {
    ScriptedAgent agent(
        AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("7")).Answer(CloseAnswer()));
    Tool tool(request);
    agent.AwaitRequests(3);
    ExpectWholeFileLockedBy(tool.pid());
    tool.Wait();
    EXPECT_FALSE(IsLocked());
}

SANDBOX_TEST(LockTest, FreeAfterAFailedClose) {
    ScriptedAgent agent(
        AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("1")).AwaitRequest());
    Tool tool(request);
    ExpectNoResults(tool.Wait());
    EXPECT_FALSE(IsLocked());
}

SANDBOX_TEST(LockTest, DescriptorIsNotHandedToOtherPrograms) {
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

SANDBOX_TEST(LockTest, FreeAfterTheToolWasKilled) {
    ScriptedAgent agent(AgentScript()
                            .AwaitRequest()
                            .RemoveRequest()
                            .Answer(OpenAnswer())
                            .Answer(ProgressAnswer("1"))
                            .Answer(CloseAnswer()));
    Tool killed(request);
    agent.AwaitRequests(1);
    EXPECT_TRUE(IsLocked());
    killed.Kill(SIGKILL);
    EXPECT_EQ(ExitStatus::Killed(SIGKILL), killed.Wait().status);
    EXPECT_FALSE(IsLocked());
    ExpectNoResults(RunTool(request));
}

// What it left is a whole request, and in the way of the next tool. No signal is caught.
TEST(LockTest, RequestOfAToolThatASignalEndedStays) {
    for (int const signal : {SIGKILL, SIGTERM, SIGINT, SIGHUP, SIGPIPE, SIGALRM, SIGUSR1}) {
        PrivateMachine::RunWithDirectories([&] {
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

SANDBOX_TEST(LockTest, SecondToolIsRefusedAtOnceAndTheFirstGoesOn) {
    ScriptedAgent agent(WholeEvaluation());
    Tool first(request);
    agent.AwaitRequests(1);
    for (int i = 0; i < 3; ++i) {
        ToolRun const second = RunTool(request);
        EXPECT_EQ(OpenError(-6), second.output);
        EXPECT_EQ(ExitStatus::Exited(0), second.status);
        EXPECT_GT(milliseconds(900), second.took);
        // The end of the one that was refused takes nothing from the one that holds it.
        ExpectWholeFileLockedBy(first.pid());
    }
    ExpectNoResults(first.Wait());
    EXPECT_EQ(3u, agent.Requests().size());
}

SANDBOX_TEST(LockTest, ToolAfterARefusedOneFindsTheLockFree) {
    {
        ForeignLock lock;
        EXPECT_EQ(OpenError(-6), RunTool(request).output);
    }
    ExpectNoResults(Evaluate(WholeEvaluation()).tool);
}

SANDBOX_TEST(LockTest, OfManyToolsAtOnceOneIsHeard) {
    ScriptedAgent agent(WholeEvaluation());
    std::vector<std::unique_ptr<Tool>> tools;
    for (int i = 0; i < 8; ++i)
        tools.push_back(std::make_unique<Tool>(request));
    int refused = 0;
    int heard = 0;
    for (auto const& tool : tools) {
        std::string const output = tool->Wait().output;
        refused += output == OpenError(-6);
        heard += output == PrintedCount(0);
    }
    EXPECT_EQ(7, refused);
    EXPECT_EQ(1, heard);
    EXPECT_EQ(3u, agent.Requests().size());
}

} // namespace
