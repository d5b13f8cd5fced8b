// The conditions that refuse a request: the lock, a missing or stopped agent, a pending request.
#include "tests/system/ToolTest.h"

namespace {

using Sandbox::agentProgram;

void ExpectRefusal(int code, Arguments const& arguments = {"-c", "url", "doc"}) {
    ToolRun const run = RunTool(arguments);
    ExpectPrinted(OpenError(code), run);
    ExpectTook(std::chrono::milliseconds(0), run);
}

SANDBOX_TEST(RefusalsTest, AnyLockOfAnotherProcessRefusesTheRequest) {
    {
        ForeignLock wholeFile;
        ScriptedAgent agent;
        ExpectRefusal(-6);
        EXPECT_EQ("lockfile ", Requests());
    }
    fs::remove(agentProgram);
    for (int const type : {F_RDLCK, F_WRLCK})
        for (off_t const start : {0, 1, 1'000'000'000}) {
            ForeignLock lock(static_cast<short>(type), start, 1);
            ExpectRefusal(-6);
        }
    // No lock remains: the next check is reached.
    ExpectRefusal(-1);
}

// The order: lock, installed, running, pending request. At first all four fail.
SANDBOX_TEST(RefusalsTest, ChecksLockInstalledRunningPendingInOrder) {
    WriteBytes(ScriptedAgent::request, "waiting");
    {
        ForeignLock lock;
        ExpectRefusal(-6);
    }
    ExpectRefusal(-1);
    fs::create_directories(agentProgram);
    ExpectRefusal(-2);
    fs::remove(agentProgram);
    {
        ScriptedAgent agent;
        ExpectRefusal(-5);
        ForeignLock lock;
        ExpectRefusal(-6);
    }
    ExpectRefusal(-2);
    EXPECT_EQ("waiting", ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("lockfile request.xml ", Requests());
}

} // namespace
