// Stop signals to compliance-query during each part of an evaluation.
#include "tests/companions/Query.h"
#include "tests/companions/Terminal.h"
#include "tests/system/RecordLock.h"

namespace {

// The program has closed the evaluation and released the lock.
void ExpectClosed(ScriptedAgent const& agent) {
    agent.AwaitEnd(seconds(1));
    EXPECT_EQ(closeRequest, agent.Requests().back().bytes);
    EXPECT_FALSE(IsLocked());
}

// Sends the signal after the first percentage. The agent continues to answer.
SANDBOX_TEST(QuerySignalsTest, FirstSignalClosesTheEvaluation) {
    for (auto const& [signal, status, name] :
         {std::tuple{SIGINT, 130, "SIGINT"}, {SIGTERM, 143, "SIGTERM"}, {SIGHUP, 129, "SIGHUP"}}) {
        ScriptedAgent const agent(
            QueryScript({ProgressResponse("3", "0", "10"), ProgressResponse("3", "0", "20")}));
        OtherProgram program(QueryCommand({"-d", "--json"}));
        agent.AwaitRequests(3);
        program.Kill(signal);
        ProgramResult const result = program.Wait();
        std::string const message = std::string("ended early by ") + name;
        ExpectExit(status, "compliance-query: " + message + "\n", result);
        EXPECT_EQ(FailureOf(status, "signal", message), DocumentOf(result));
        ExpectClosed(agent);
    }
}

// For example from a terminal that hangs up, and from its shell.
SANDBOX_TEST(QuerySignalsTest, RepeatedSignalClosesTheEvaluation) {
    ScriptedAgent const agent(QueryScript({ProgressResponse("3", "0", "10")}));
    fs::create_directory("/opt/results");
    OtherProgram program(QueryCommand({"-d", "-o", "/opt/results/rows"}));
    agent.AwaitRequests(2);
    for (int repetition = 0; repetition < 3; ++repetition) {
        program.Kill(SIGHUP);
        std::this_thread::sleep_for(milliseconds(20));
    }
    ExpectExit(129, "compliance-query: ended early by SIGHUP\n", program.Wait());
    ExpectClosed(agent);
    EXPECT_EQ(0u, CountEntries("/opt/results"));
}

SANDBOX_TEST(QuerySignalsTest, SignalDuringTheCloseAddsNoSecondDocument) {
    ScriptedAgent const agent(AgentScript()
                                  .Answer(OpenResponse())
                                  .Answer(Finished(TwoRows()))
                                  .AwaitRequest()
                                  .PauseUntil(seconds(1))
                                  .Respond(CloseResponse())
                                  .RemoveRequest());
    OtherProgram program(QueryCommand({"-d", "--json"}));
    agent.AwaitRequests(3);
    program.Kill(SIGTERM);
    ProgramResult const result = program.Wait();
    EXPECT_EQ(ExitStatus::Exited(143), result.status);
    EXPECT_EQ("finished", DocumentOf(result).at("outcome"));
    EXPECT_EQ(2, DocumentOf(result).at("rowCount"));
}

SANDBOX_TEST(QuerySignalsTest, SignalDuringBlockedOutputClosesTheEvaluation) {
    ScriptedAgent const agent(FinishingScript(ManyRows()));
    Pipe const line;
    OtherProgram program(QueryCommand({"-d", "--json"}), {.prepare = [&] {
                             return dup2(line.writer(), STDOUT_FILENO) == STDOUT_FILENO;
                         }});
    pollfd written{line.reader(), POLLIN, 0};
    ASSERT_EQ(1, poll(&written, 1, 30'000));
    program.Kill(SIGTERM);
    EXPECT_EQ(ExitStatus::Exited(143), program.Wait(seconds(30)).status);
    ExpectClosed(agent);
}

// The terminal is full, because nobody reads it.
SANDBOX_TEST(QuerySignalsTest, CtrlCDuringOutputOfRowsClosesTheEvaluation) {
    ScriptedAgent const agent(FinishingScript(ManyRows()));
    Terminal const screen;
    OtherProgram program(QueryCommand({"-d", "--progress=none"}), {.prepare = [&] {
                             return setsid() > 0 && ioctl(screen.otherEnd(), TIOCSCTTY, 0) == 0 &&
                                    dup2(screen.otherEnd(), STDOUT_FILENO) == STDOUT_FILENO;
                         }});
    screen.AwaitText(seconds(30));
    screen.Type("\x03");
    ExpectExit(130, "compliance-query: ended early by SIGINT\n", program.Wait(seconds(30)));
    ExpectClosed(agent);
}

SANDBOX_TEST(QuerySignalsTest, SecondSignalEndsTheProgramImmediately) {
    ScriptedAgent const agent(AgentScript().Answer(OpenResponse()).AwaitRequest().AwaitRequest());
    OtherProgram program(QueryCommand({"-d"}));
    agent.AwaitRequests(2);
    program.Kill(SIGINT);
    // The request to close, which nobody answers.
    agent.AwaitRequests(3);
    std::this_thread::sleep_for(milliseconds(1100));
    program.Kill(SIGTERM);
    EXPECT_EQ(ExitStatus::Killed(SIGTERM), program.Wait().status);
    EXPECT_FALSE(IsLocked());
}

} // namespace
