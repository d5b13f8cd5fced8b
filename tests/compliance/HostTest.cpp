// Tests hosts that evaluate twice, or violate a warning of libclientcompliance(3). Uses the library
// as shipped, without replaced system calls.
#include <gtest/gtest.h>

#include <csignal>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include "compliance/Compliance.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"

namespace {

int Open() { return COMPLIANCE_Open("url", "doc", 0); }

bool IsOpen(int descriptor) { return fcntl(descriptor, F_GETFD) != -1; }

// The agent does not answer, so the thread is cancelled during the wait.
SANDBOX_TEST(HostTest, CancellationDuringOpenAbortsTheProcess) {
    ScriptedAgent const agent(AgentScript().AwaitRequest());
    OtherProcess host([](Handshake& line) {
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(
                         &thread, nullptr,
                         [](void*) -> void* {
                             Open();
                             return nullptr;
                         },
                         nullptr));
        line.Await();
        pthread_cancel(thread);
        pthread_join(thread, nullptr);
    });
    agent.AwaitEnd();
    host.Tell();
    EXPECT_EQ(ExitStatus::Killed(SIGABRT), host.Wait());
}

SANDBOX_TEST(HostTest, ClosingTheLockDescriptorLosesTheLockAndALaterFile) {
    ScriptedAgent const agent(WholeEvaluation({}));
    OtherProcess host([](Handshake& line) {
        int const unused = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(unused);
        ASSERT_EQ(0, Open());
        line.Tell();
        line.Await();
        ASSERT_EQ(0, close(unused));
        line.Tell();
        line.Await();
        int const file = open("/dev/null", O_RDONLY | O_CLOEXEC);
        ASSERT_EQ(unused, file);
        EXPECT_EQ(0, COMPLIANCE_Close());
        EXPECT_FALSE(IsOpen(file));
    });
    host.Await();
    EXPECT_TRUE(IsLockedForOthers(ScriptedAgent::lockFile));
    host.Tell();
    host.Await();
    EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
    host.Tell();
    EXPECT_EQ(ExitStatus::Exited(0), host.Wait());
}

SANDBOX_TEST(HostTest, SecondEvaluationSucceedsAfterClose) {
    ScriptedAgent const agent(WholeEvaluation({}).Answer(OpenResponse()).Answer(CloseResponse()));
    for (int evaluation = 0; evaluation < 2; ++evaluation) {
        EXPECT_EQ(0, Open());
        EXPECT_EQ(COMPLIANCE_ERROR_ALREADY_OPEN, Open());
        EXPECT_TRUE(IsLockedForOthers(ScriptedAgent::lockFile));
        EXPECT_EQ(0, COMPLIANCE_Close());
        EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
    }
}

// A property of POSIX record locks that the header warns of.
SANDBOX_TEST(HostTest, HostThatClosesADescriptorOfTheLockFileLosesTheLock) {
    ScriptedAgent const agent(WholeEvaluation({}));
    ASSERT_EQ(0, Open());
    EXPECT_TRUE(IsLockedForOthers(ScriptedAgent::lockFile));
    close(open(ScriptedAgent::lockFile, O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
    EXPECT_EQ(0, COMPLIANCE_Close());
}

} // namespace
