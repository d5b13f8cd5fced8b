#include "tests/support/ScriptedAgent.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

#include <sys/stat.h>

#include "tests/support/PrivateMachine.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

std::string Content(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Publish(std::string const& bytes) {
    std::ofstream(ScriptedAgent::requestTemp, std::ios::binary) << bytes;
    fs::rename(ScriptedAgent::requestTemp, ScriptedAgent::request);
}

void RunInMachine(std::function<void()> const& body) {
    PrivateMachine::Run([&] {
        PrivateMachine::CreateAgentDirectories();
        body();
    });
}

SANDBOX_TEST(ScriptedAgentTest, RunsUnderTheNameOfTheAgent) {
    ScriptedAgent agent;
    bool found = false;
    for (auto const& entry : fs::directory_iterator("/proc")) {
        std::error_code ignored;
        found |= fs::read_symlink(entry.path() / "exe", ignored) == PrivateMachine::agentProgram;
    }
    EXPECT_TRUE(found);
}

SANDBOX_TEST(ScriptedAgentTest, RecordsExactBytesAndAnswersWithExactBytes) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    ScriptedAgent agent(AgentScript().Answer(all + "answer").Answer(""));
    Publish(all);
    EXPECT_EQ(all, agent.AwaitRequests(1)[0].bytes);
    while (fs::exists(ScriptedAgent::request))
        std::this_thread::yield();
    // Published before the request went away.
    EXPECT_EQ(all + "answer", Content(ScriptedAgent::response));
    Publish("");
    agent.AwaitEnd();
    EXPECT_EQ("", agent.Requests().at(1).bytes);
    EXPECT_EQ("", Content(ScriptedAgent::response));
}

SANDBOX_TEST(ScriptedAgentTest, TellsReplacedRequestFromTheOneBeforeAndPassesOverItsOwn) {
    ScriptedAgent agent(AgentScript()
                            .AwaitRequest()
                            .AwaitRequest()
                            .RemoveRequest()
                            .PutRequest("own")
                            .AwaitRequest());
    Publish("same");
    agent.AwaitRequests(1);
    Publish("same");
    agent.AwaitRequests(2);
    while (Content(ScriptedAgent::request) != "own")
        std::this_thread::yield();
    Publish("last");
    agent.AwaitEnd();
    ASSERT_EQ(3u, agent.Requests().size());
    EXPECT_EQ("last", agent.Requests()[2].bytes);
}

SANDBOX_TEST(ScriptedAgentTest, PausesFromTheRequestOn) {
    ScriptedAgent agent(
        AgentScript().AwaitRequest().PauseUntil(milliseconds(150)).RemoveRequest().AwaitRequest());
    Publish("first");
    agent.AwaitRequests(1);
    while (fs::exists(ScriptedAgent::request))
        std::this_thread::yield();
    Publish("second");
    agent.AwaitEnd();
    auto const requests = agent.Requests();
    EXPECT_LE(milliseconds(149), requests[1].when - requests[0].when);
}

SANDBOX_TEST(ScriptedAgentTest, LaysDirectoriesAndLinksAndMovesThings) {
    std::string const moved = "/var/opt/VeskaClient/Moved";
    ScriptedAgent agent(AgentScript()
                            .MakeDirectory(ScriptedAgent::request)
                            .MakeLink("target", ScriptedAgent::requestTemp)
                            .Move(ScriptedAgent::requestDirectory, moved)
                            .Respond("answer")
                            .RemoveResponse());
    agent.AwaitEnd();
    EXPECT_TRUE(fs::is_directory(moved + "/request.xml"));
    EXPECT_EQ("target", fs::read_symlink(moved + "/requestTemp.xml"));
    EXPECT_FALSE(fs::exists(ScriptedAgent::response));
}

SANDBOX_TEST(ScriptedAgentTest, RecordsTheFilesThatItPublishes) {
    ScriptedAgent agent(AgentScript().Respond("first").PutRequest("").Respond("second"));
    agent.AwaitEnd();
    auto const written = agent.Written();
    ASSERT_EQ(3u, written.size());
    EXPECT_EQ("first", written[0].bytes);
    EXPECT_EQ(ScriptedAgent::request, written[1].path);
    EXPECT_EQ("", written[1].bytes);
    struct stat facts {};
    ASSERT_EQ(0, stat(ScriptedAgent::response, &facts));
    long long const modified = facts.st_mtim.tv_sec * 1'000'000'000LL + facts.st_mtim.tv_nsec;
    EXPECT_EQ((WrittenFile{ScriptedAgent::response, "second", facts.st_ino, modified}), written[2]);
}

TEST(ScriptedAgentTest, StopsInTheMiddleOfAWaitButNotOfAStep) {
    RunInMachine([] {
        ScriptedAgent agent(AgentScript().AwaitRequest().Respond("never"));
        agent.Stop();
        EXPECT_FALSE(fs::exists(ScriptedAgent::response));
    });
    RunInMachine([] {
        ScriptedAgent agent(AgentScript()
                                .Respond("answer")
                                .PauseUntil(std::chrono::hours(1'000'000))
                                .Respond("never"));
        agent.AwaitSteps(1);
        agent.Stop();
        EXPECT_EQ("answer", Content(ScriptedAgent::response));
        EXPECT_EQ(1u, agent.Written().size());
    });
}

TEST(ScriptedAgentTest, FailedStepAndMissingRequestAreTold) {
    RunInMachine([] {
        ScriptedAgent failing(AgentScript().RemoveRequest());
        EXPECT_THROW(failing.AwaitEnd(), std::runtime_error);
    });
    RunInMachine([] {
        ScriptedAgent waiting(AgentScript().AwaitRequest());
        EXPECT_THROW(waiting.AwaitRequests(1, milliseconds(10)), std::runtime_error);
        EXPECT_THROW(waiting.AwaitEnd(milliseconds(10)), std::runtime_error);
    });
}

} // namespace
