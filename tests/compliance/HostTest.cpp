// What happens to a host that does what libclientcompliance(3) warns of. The library runs as it
// ships, without replaced system calls.
#include <gtest/gtest.h>

#include <csignal>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include "compliance/Compliance.h"
#include "tests/compliance/ExchangeFiles.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"

namespace {

using ExchangeFiles::OnMachine;

bool IsOpen(int descriptor) { return fcntl(descriptor, F_GETFD) != -1; }

// The agent answers nothing, so the call waits when the thread is cancelled.
SANDBOX_TEST(HostTest, CancelledThreadAbortsTheProcess) {
    ScriptedAgent const agent(AgentScript().AwaitRequest());
    OtherProcess host([](Handshake& line) {
        pthread_t thread;
        ASSERT_EQ(0, pthread_create(
                         &thread, nullptr,
                         [](void*) -> void* {
                             COMPLIANCE_Open("url", "doc", 0);
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

SANDBOX_TEST(HostTest, ClosingAllDescriptorsLosesTheLockAndOneOfTheHost) {
    ScriptedAgent const agent(
        AgentScript().Answer(AnswerOfType("Open")).Answer(AnswerOfType("Close")));
    OtherProcess host([](Handshake& line) {
        int const unused = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(unused);
        ASSERT_EQ(0, COMPLIANCE_Open("url", "doc", 0));
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

} // namespace
