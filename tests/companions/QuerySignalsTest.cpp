// Stop signals to compliance-query during each part of an evaluation.
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "tests/companions/Query.h"
#include "tests/companions/Terminal.h"
#include "tests/system/RecordLock.h"

namespace {

// Sends the signal after the first percentage. The agent continues to answer.
void ExpectStopBy(int signal, int status, char const* name) {
    Sandbox::Run([&] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent agent(
            QueryScript({ProgressAnswer("3", "0", "10"), ProgressAnswer("3", "0", "20")}));
        OtherProgram program(QueryCommand({"-d", "--json"}));
        agent.AwaitRequests(3);
        program.Kill(signal);
        ProgramResult const result = program.Wait();
        EXPECT_EQ(ExitStatus::Exited(status), result.status);
        std::string const message = std::string("ended early by ") + name;
        EXPECT_EQ("compliance-query: " + message + "\n", result.errors);
        EXPECT_EQ(FailureOf(status, "signal", message), DocumentOf(result));
        agent.AwaitEnd(std::chrono::seconds(1));
        EXPECT_EQ(closeRequest, agent.Requests().back().bytes);
        EXPECT_FALSE(IsLocked());
    });
}

TEST(QuerySignalsTest, FirstSignalClosesTheEvaluation) {
    ExpectStopBy(SIGINT, 130, "SIGINT");
    ExpectStopBy(SIGTERM, 143, "SIGTERM");
    ExpectStopBy(SIGHUP, 129, "SIGHUP");
}

TEST(QuerySignalsTest, SignalDuringTheCloseAddsNoSecondDocument) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent agent(AgentScript()
                                .Answer(OpenAnswer())
                                .Answer(Finished(TwoRows()))
                                .AwaitRequest()
                                .PauseUntil(std::chrono::seconds(1))
                                .Respond(CloseAnswer())
                                .RemoveRequest());
        OtherProgram program(QueryCommand({"-d", "--json"}));
        agent.AwaitRequests(3);
        program.Kill(SIGTERM);
        ProgramResult const result = program.Wait();
        EXPECT_EQ(ExitStatus::Exited(143), result.status);
        EXPECT_EQ("finished", DocumentOf(result).at("outcome"));
        EXPECT_EQ(2, DocumentOf(result).at("rowCount"));
    });
}

TEST(QuerySignalsTest, SignalDuringBlockedOutputClosesTheEvaluation) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent agent(FinishingScript(ManyRows()));
        int ends[2];
        ASSERT_EQ(0, pipe(ends));
        OtherProgram program(QueryCommand({"-d", "--json"}), {.prepare = [&] {
                                 return dup2(ends[1], STDOUT_FILENO) == STDOUT_FILENO;
                             }});
        pollfd written{ends[0], POLLIN, 0};
        ASSERT_EQ(1, poll(&written, 1, 30'000));
        program.Kill(SIGTERM);
        EXPECT_EQ(ExitStatus::Exited(143), program.Wait(std::chrono::seconds(30)).status);
        agent.AwaitEnd(std::chrono::seconds(1));
        EXPECT_EQ(closeRequest, agent.Requests().back().bytes);
    });
}

// The terminal is full, because nobody reads it.
TEST(QuerySignalsTest, CtrlCDuringOutputOfRowsClosesTheEvaluation) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent agent(FinishingScript(ManyRows()));
        Terminal const screen;
        OtherProgram program(QueryCommand({"-d", "--progress=none"}), {.prepare = [&] {
                                 return setsid() > 0 &&
                                        ioctl(screen.otherEnd(), TIOCSCTTY, 0) == 0 &&
                                        dup2(screen.otherEnd(), STDOUT_FILENO) == STDOUT_FILENO;
                             }});
        screen.AwaitText(std::chrono::seconds(30));
        screen.Type("\x03");
        EXPECT_EQ(ExitStatus::Exited(130), program.Wait(std::chrono::seconds(30)).status);
        EXPECT_EQ("compliance-query: ended early by SIGINT\n", program.Errors());
        agent.AwaitEnd(std::chrono::seconds(1));
        EXPECT_EQ(closeRequest, agent.Requests().back().bytes);
        EXPECT_FALSE(IsLocked());
    });
}

TEST(QuerySignalsTest, SecondSignalEndsTheProgramImmediately) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent agent(AgentScript().Answer(OpenAnswer()).AwaitRequest().AwaitRequest());
        OtherProgram program(QueryCommand({"-d"}));
        agent.AwaitRequests(2);
        program.Kill(SIGINT);
        // The request to close, which nobody answers.
        agent.AwaitRequests(3);
        program.Kill(SIGTERM);
        EXPECT_EQ(ExitStatus::Killed(SIGTERM), program.Wait().status);
        EXPECT_FALSE(IsLocked());
    });
}

} // namespace
