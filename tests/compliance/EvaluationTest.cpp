// The five functions with all that lies below them, on a private machine with a scripted agent.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "compliance/Compliance.h"
#include "tests/compliance/ExchangeFiles.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"

namespace {

using ExchangeFiles::Exists;
using ExchangeFiles::OnMachine;
using ExchangeFiles::Write;
using Clock = std::chrono::steady_clock;

int Open() { return COMPLIANCE_Open("url", "doc", 0); }

AgentScript OpenAndClose() {
    return AgentScript().Answer(AnswerOfType("Open")).Answer(AnswerOfType("Close"));
}

// Deliberate: the agent is there and the lock is free, and yet.
SANDBOX_TEST(EvaluationTest, AfterAForeignLockEveryFurtherOpenIsRefused) {
    ScriptedAgent const agent(OpenAndClose());
    ForeignLock holder(ScriptedAgent::lockFile);
    EXPECT_EQ(COMPLIANCE_ERROR_LOCK, Open());
    holder.Release();
    EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
    EXPECT_EQ(COMPLIANCE_ERROR_LOCK, Open());
    EXPECT_EQ(COMPLIANCE_ERROR_LOCK, Open());
    EXPECT_TRUE(agent.Requests().empty());
}

TEST(EvaluationTest, AfterAMissingDirectoryTheNextOpenTriesAfresh) {
    PrivateMachine::Run([] {
        EXPECT_EQ(COMPLIANCE_ERROR_LOCK, Open());
        PrivateMachine::CreateAgentDirectories();
        EXPECT_EQ(COMPLIANCE_ERROR_NOT_INSTALLED, Open());
        PrivateMachine::InstallAgent();
        EXPECT_EQ(COMPLIANCE_ERROR_NOT_RUNNING, Open());
        ScriptedAgent const agent(OpenAndClose());
        EXPECT_EQ(0, Open());
        EXPECT_EQ(0, COMPLIANCE_Close());
    });
}

SANDBOX_TEST(EvaluationTest, EachRefusalFreesTheLockAndLeavesAWaitingRequestAlone) {
    ScriptedAgent const agent;
    Write(ScriptedAgent::request, "waiting");
    EXPECT_EQ(COMPLIANCE_ERROR_REQUEST_PENDING, Open());
    EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
    EXPECT_EQ(COMPLIANCE_ERROR_LOCK, COMPLIANCE_Close());
    EXPECT_EQ("waiting", ExchangeFiles::Read(ScriptedAgent::request));
}

SANDBOX_TEST(EvaluationTest, EachAnswerOfTheAgentHasItsResult) {
    std::string const row = Row({"d", "r", "t", "e", "i", "c"});
    ScriptedAgent const agent(
        AgentScript()
            .Answer(AnswerOfType("Open"))
            .Answer(AnswerOfType("Progress"))
            .Answer(ProgressAnswer("3", "0", "40", row))
            .Answer(ProgressAnswer("0"))
            .Answer(ProgressAnswer("4"))
            .Answer(Response("<ResponseType>Close</ResponseType>"
                             "<ResponseProgressState>1</ResponseProgressState>" +
                             row + row))
            .Answer(AnswerOfType("Close")));
    int percent = 1234;
    int error = 5678;
    ASSERT_EQ(0, Open());
    EXPECT_TRUE(IsLockedForOthers(ScriptedAgent::lockFile));
    EXPECT_EQ(COMPLIANCE_ERROR_NO_RESULTS, COMPLIANCE_ResultCount());
    // No state at all counts as the error 0.
    EXPECT_EQ(2, COMPLIANCE_Progress(&percent, &error));
    EXPECT_EQ(0, error);
    EXPECT_EQ(1234, percent);
    error = 5678;
    EXPECT_EQ(3, COMPLIANCE_Progress(&percent, &error));
    EXPECT_EQ(40, percent);
    EXPECT_EQ(5678, error);
    EXPECT_EQ(COMPLIANCE_ERROR_NO_RESULTS, COMPLIANCE_ResultCount());
    EXPECT_EQ(COMPLIANCE_ERROR_BAD_RESPONSE, COMPLIANCE_Progress(&percent, &error));
    EXPECT_EQ(COMPLIANCE_ERROR_BAD_RESPONSE, COMPLIANCE_Progress(&percent, &error));
    EXPECT_TRUE(IsLockedForOthers(ScriptedAgent::lockFile));
    // Of another type, which does not matter.
    EXPECT_EQ(1, COMPLIANCE_Progress(&percent, &error));
    EXPECT_EQ(2, COMPLIANCE_ResultCount());
    // Nobody is asked again, so this takes no second.
    auto const start = Clock::now();
    EXPECT_EQ(1, COMPLIANCE_Progress(&percent, &error));
    EXPECT_GT(std::chrono::milliseconds(900), Clock::now() - start);
    EXPECT_EQ(2, COMPLIANCE_ResultCount());
    EXPECT_EQ(0, COMPLIANCE_Close());
    EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
    EXPECT_EQ(COMPLIANCE_ERROR_NO_RESULTS, COMPLIANCE_ResultCount());
    EXPECT_EQ(7U, agent.Requests().size());
}

SANDBOX_TEST(EvaluationTest, SecondEvaluationSucceedsAfterClose) {
    ScriptedAgent const agent(
        OpenAndClose().Answer(AnswerOfType("Open")).Answer(AnswerOfType("Close")));
    for (int evaluation = 0; evaluation < 2; ++evaluation) {
        EXPECT_EQ(0, Open());
        EXPECT_EQ(COMPLIANCE_ERROR_ALREADY_OPEN, Open());
        EXPECT_TRUE(IsLockedForOthers(ScriptedAgent::lockFile));
        EXPECT_EQ(0, COMPLIANCE_Close());
        EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
    }
}

SANDBOX_TEST(EvaluationTest, RequestThatIsNotTakenStaysAndKeepsTheNextOpenOff) {
    ScriptedAgent const agent;
    EXPECT_EQ(COMPLIANCE_ERROR_NO_PICKUP, Open());
    EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
    EXPECT_TRUE(Exists(ScriptedAgent::request));
    EXPECT_EQ(COMPLIANCE_ERROR_REQUEST_PENDING, Open());
}

// A property of POSIX record locks that the header warns of.
SANDBOX_TEST(EvaluationTest, HostThatClosesADescriptorOfTheLockFileLosesTheLock) {
    ScriptedAgent const agent(OpenAndClose());
    ASSERT_EQ(0, Open());
    EXPECT_TRUE(IsLockedForOthers(ScriptedAgent::lockFile));
    close(open(ScriptedAgent::lockFile, O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
    EXPECT_EQ(0, COMPLIANCE_Close());
}

} // namespace
