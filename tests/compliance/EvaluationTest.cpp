// The five functions with all that lies below them, on a private machine with a scripted agent.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "compliance/Compliance.h"
#include "tests/compliance/Answers.h"
#include "tests/compliance/ExchangeFiles.h"
#include "tests/compliance/LockProbe.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/ScriptedAgent.h"

namespace {

using ExchangeFiles::Exists;
using ExchangeFiles::OnMachine;
using ExchangeFiles::Write;
using Clock = std::chrono::steady_clock;

int Open() { return COMPLIANCE_Open("url", "doc", 0); }

AgentScript OpenAndClose() {
    return AgentScript().Answer(Answers::Bare("Open")).Answer(Answers::Bare("Close"));
}

// Deliberate: the agent is there and the lock is free, and yet.
TEST(EvaluationTest, AfterAForeignLockEveryFurtherOpenIsRefused) {
    OnMachine([] {
        ScriptedAgent const agent(OpenAndClose());
        ForeignHolder holder(ScriptedAgent::lockFile);
        EXPECT_EQ(COMPLIANCE_ERROR_LOCK, Open());
        holder.Release();
        EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
        EXPECT_EQ(COMPLIANCE_ERROR_LOCK, Open());
        EXPECT_EQ(COMPLIANCE_ERROR_LOCK, Open());
        EXPECT_TRUE(agent.Requests().empty());
    });
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

TEST(EvaluationTest, EachRefusalFreesTheLockAndLeavesAWaitingRequestAlone) {
    OnMachine([] {
        ScriptedAgent const agent;
        Write(ScriptedAgent::request, "waiting");
        EXPECT_EQ(COMPLIANCE_ERROR_REQUEST_PENDING, Open());
        EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
        EXPECT_EQ(COMPLIANCE_ERROR_LOCK, COMPLIANCE_Close());
        EXPECT_EQ("waiting", ExchangeFiles::Read(ScriptedAgent::request));
    });
}

TEST(EvaluationTest, EachAnswerOfTheAgentHasItsResult) {
    OnMachine([] {
        std::string const row = Answers::Row("d", "r", "t", "e", "i", "c");
        ScriptedAgent const agent(
            AgentScript()
                .Answer(Answers::Bare("Open"))
                .Answer(Answers::Bare("Progress"))
                .Answer(Answers::Progress(
                    "3", "<ResponseProgressPercent>40</ResponseProgressPercent>" + row))
                .Answer(Answers::Progress("0"))
                .Answer(Answers::Progress("4"))
                .Answer(Answers::Around("<ResponseType>Close</ResponseType>"
                                        "<ResponseProgressState>1</ResponseProgressState>" +
                                        row + row))
                .Answer(Answers::Bare("Close")));
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
    });
}

TEST(EvaluationTest, SecondEvaluationSucceedsAfterClose) {
    OnMachine([] {
        ScriptedAgent const agent(
            OpenAndClose().Answer(Answers::Bare("Open")).Answer(Answers::Bare("Close")));
        for (int evaluation = 0; evaluation < 2; ++evaluation) {
            EXPECT_EQ(0, Open());
            EXPECT_EQ(COMPLIANCE_ERROR_ALREADY_OPEN, Open());
            EXPECT_TRUE(IsLockedForOthers(ScriptedAgent::lockFile));
            EXPECT_EQ(0, COMPLIANCE_Close());
            EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
        }
    });
}

TEST(EvaluationTest, RequestThatIsNotTakenStaysAndKeepsTheNextOpenOff) {
    OnMachine([] {
        ScriptedAgent const agent;
        EXPECT_EQ(COMPLIANCE_ERROR_NO_PICKUP, Open());
        EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
        EXPECT_TRUE(Exists(ScriptedAgent::request));
        EXPECT_EQ(COMPLIANCE_ERROR_REQUEST_PENDING, Open());
    });
}

// A property of POSIX record locks that the header warns of.
TEST(EvaluationTest, HostThatClosesADescriptorOfTheLockFileLosesTheLock) {
    OnMachine([] {
        ScriptedAgent const agent(OpenAndClose());
        ASSERT_EQ(0, Open());
        EXPECT_TRUE(IsLockedForOthers(ScriptedAgent::lockFile));
        close(open(ScriptedAgent::lockFile, O_RDONLY | O_CLOEXEC));
        EXPECT_FALSE(IsLockedForOthers(ScriptedAgent::lockFile));
        EXPECT_EQ(0, COMPLIANCE_Close());
    });
}

} // namespace
