#include "tests/support/ScriptedAgent.h"

#include <fstream>
#include <stdexcept>

#include "tests/support/Sandbox.h"

namespace {

using std::chrono::milliseconds;

void PublishFile(char const* path, std::string const& bytes) {
    std::ofstream(std::string(path) + ".new", std::ios::binary) << bytes;
    fs::rename(std::string(path) + ".new", path);
}

SANDBOX_TEST(ScriptedAgentTest, ProcessPlaysTheScriptInRealTime) {
    ScriptedAgent agent(
        AgentScript().AwaitRequest().PauseUntil(milliseconds(150)).RemoveRequest().AwaitRequest());
    // Process 1, this body and the agent.
    EXPECT_EQ(Sandbox::agentProgram, fs::read_symlink("/proc/3/exe"));
    PublishFile(ScriptedAgent::request, "first");
    EXPECT_EQ("first", agent.AwaitRequests(1)[0].bytes);
    agent.AwaitSteps(3);
    PublishFile(ScriptedAgent::request, "second");
    agent.AwaitEnd();
    auto const requests = agent.Requests();
    EXPECT_EQ("second", requests.at(1).bytes);
    EXPECT_LE(milliseconds(149), requests[1].when - requests[0].when);
    EXPECT_GT(std::chrono::seconds(20), requests[1].when - requests[0].when);
}

SANDBOX_TEST(ScriptedAgentTest, ThreadPlaysTheScriptInRealTime) {
    AgentThread const agent(AgentScript().Answer("answer"));
    PublishFile(ScriptedAgent::request, "request");
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
