#include "tests/support/ScriptedAgent.h"

#include <fstream>
#include <stdexcept>

#include "tests/support/Sandbox.h"

namespace {

using std::chrono::milliseconds;

SANDBOX_TEST(ScriptedAgentTest, ThreadPlaysTheScriptInRealTime) {
    AgentThread const agent(AgentScript().Answer("answer"));
    std::ofstream(ScriptedAgent::requestTemp) << "request";
    fs::rename(ScriptedAgent::requestTemp, ScriptedAgent::request);
    while (agent.Record().stepsDone < 3)
        std::this_thread::yield();
    EXPECT_EQ("request", agent.Record().requests.at(0).bytes);
    EXPECT_EQ("answer", agent.Record().written.at(0).bytes);
}

SANDBOX_TEST(ScriptedAgentTest, StopsInAWait) {
    ScriptedAgent agent(
        AgentScript().Respond("answer").PauseUntil(std::chrono::hours(1'000'000)).Respond("never"));
    agent.AwaitSteps(1);
    agent.Stop();
    EXPECT_EQ(std::vector{FileOnDisk(ScriptedAgent::response)}, agent.Written());
}

SANDBOX_TEST(ScriptedAgentTest, ThrowsAfterAFailedStepAndWithoutARequest) {
    EXPECT_THROW(ScriptedAgent(AgentScript().RemoveRequest()).AwaitEnd(std::chrono::hours(1)),
                 std::runtime_error);
    ScriptedAgent const agent(AgentScript().AwaitRequest());
    EXPECT_THROW(agent.AwaitRequests(1, milliseconds(10)), std::runtime_error);
    EXPECT_THROW(agent.AwaitEnd(milliseconds(10)), std::runtime_error);
}

} // namespace
