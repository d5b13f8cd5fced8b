#include "tests/support/AgentEngine.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/AgentScript.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/ScriptedAgent.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;

std::string ContentOfFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void PublishRequest(std::string const& bytes) {
    std::ofstream(ScriptedAgent::requestTemp, std::ios::binary) << bytes;
    fs::rename(ScriptedAgent::requestTemp, ScriptedAgent::request);
}

// An engine on a simulated clock.
class SimulatedClock {
public:
    explicit SimulatedClock(AgentScript const& script) : text(script.text()) { engine.Play(text); }
    ~SimulatedClock() { close(recordFile); }

    AgentRecord AdvanceTo(std::chrono::nanoseconds time) {
        engine.Advance(time.count());
        std::string record(static_cast<size_t>(lseek(recordFile, 0, SEEK_END)), ' ');
        EXPECT_EQ(static_cast<ssize_t>(record.size()),
                  pread(recordFile, record.data(), record.size(), 0));
        return AgentRecord(record);
    }

private:
    int const recordFile = memfd_create("record", MFD_CLOEXEC);
    std::string const text;
    AgentEngine engine{recordFile};
};

SANDBOX_TEST(AgentEngineTest, AnswersAndRecordsExactBytes) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    SimulatedClock clock(AgentScript().Answer(all + "answer").Answer(""));
    EXPECT_TRUE(clock.AdvanceTo(seconds(1)).requests.empty());
    PublishRequest(all);
    EXPECT_EQ(all, clock.AdvanceTo(seconds(2)).requests.at(0).bytes);
    EXPECT_FALSE(fs::exists(ScriptedAgent::request));
    EXPECT_EQ(all + "answer", ContentOfFile(ScriptedAgent::response));
    PublishRequest("");
    AgentRecord const record = clock.AdvanceTo(seconds(3));
    EXPECT_EQ("", record.requests.at(1).bytes);
    EXPECT_EQ("", ContentOfFile(ScriptedAgent::response));
    EXPECT_EQ(seconds(3), record.requests[1].when.time_since_epoch());
    EXPECT_EQ(6u, record.stepsDone);
}

SANDBOX_TEST(AgentEngineTest, DistinguishesEqualRequestsAndIgnoresItsOwn) {
    SimulatedClock clock(
        AgentScript().AwaitRequest().AwaitRequest().PutRequest("own").AwaitRequest());
    PublishRequest("same");
    EXPECT_EQ(1u, clock.AdvanceTo(seconds(1)).requests.size());
    EXPECT_EQ(1u, clock.AdvanceTo(seconds(2)).requests.size());
    PublishRequest("same");
    EXPECT_EQ(2u, clock.AdvanceTo(seconds(3)).requests.size());
    EXPECT_EQ("own", ContentOfFile(ScriptedAgent::request));
    EXPECT_EQ(2u, clock.AdvanceTo(seconds(4)).requests.size());
    PublishRequest("last");
    EXPECT_EQ("last", clock.AdvanceTo(seconds(5)).requests.at(2).bytes);
}

SANDBOX_TEST(AgentEngineTest, PausesFromTheRequestOnAndUntilATime) {
    SimulatedClock clock(AgentScript()
                             .AwaitRequest()
                             .PauseUntil(milliseconds(150))
                             .RemoveRequest()
                             .WaitUntil(seconds(9)));
    PublishRequest("request");
    EXPECT_EQ(1u, clock.AdvanceTo(seconds(2)).stepsDone);
    EXPECT_EQ(1u, clock.AdvanceTo(milliseconds(2149)).stepsDone);
    EXPECT_EQ(3u, clock.AdvanceTo(milliseconds(2150)).stepsDone);
    EXPECT_EQ(3u, clock.AdvanceTo(seconds(8)).stepsDone);
    EXPECT_EQ(4u, clock.AdvanceTo(seconds(9)).stepsDone);
}

SANDBOX_TEST(AgentEngineTest, ServesRequestsByTheirType) {
    SimulatedClock clock(AgentScript().Serve("opened", {"poll 1", "poll 2"}, "closed"));
    int second = 0;
    for (auto const& [type, answer] :
         {std::pair("Open", "opened"), std::pair("Progress", "poll 1"),
          std::pair("Progress", "poll 2"), std::pair("Close", "closed"),
          std::pair("Progress", "poll 1")}) {
        PublishRequest("<RequestType>" + std::string(type) + "</RequestType>");
        clock.AdvanceTo(seconds(++second));
        EXPECT_EQ(answer, ContentOfFile(ScriptedAgent::response));
        EXPECT_FALSE(fs::exists(ScriptedAgent::request));
    }
}

SANDBOX_TEST(AgentEngineTest, MakesMovesAndRemovesEntries) {
    std::string const moved = "/var/opt/VeskaClient/Moved";
    AgentScript script;
    script.MakeDirectory(ScriptedAgent::request)
        .MakeLink("target", ScriptedAgent::requestTemp)
        .Move(ScriptedAgent::requestDirectory, moved)
        .Make("socket", "/opt/socket")
        .Make("fifo", "/opt/fifo")
        .Make("device", "/opt/device")
        .MakeDirectory("/opt/full")
        .MakeDirectory("/opt/full/inside")
        .Respond("answer")
        .RemoveResponse();
    EXPECT_EQ(script.size(), SimulatedClock(script).AdvanceTo(seconds(1)).stepsDone);
    EXPECT_TRUE(fs::is_directory(moved + "/request.xml"));
    EXPECT_EQ("target", fs::read_symlink(moved + "/requestTemp.xml"));
    EXPECT_TRUE(fs::is_socket("/opt/socket"));
    EXPECT_TRUE(fs::is_fifo("/opt/fifo"));
    EXPECT_TRUE(fs::is_character_file("/opt/device"));
    EXPECT_FALSE(fs::exists(ScriptedAgent::response));
    AgentScript clearing;
    for (char const* const name : {"socket", "fifo", "device", "full", "missing"})
        clearing.Clear(std::string("/opt/") + name);
    EXPECT_EQ(5u, SimulatedClock(clearing).AdvanceTo(seconds(1)).stepsDone);
    EXPECT_FALSE(fs::exists("/opt/full"));
    EXPECT_FALSE(fs::exists("/opt/socket"));
}

SANDBOX_TEST(AgentEngineTest, RecordsTheFilesThatItPublishes) {
    auto const written =
        SimulatedClock(AgentScript().Respond("first").PutRequest("").Respond("second"))
            .AdvanceTo(seconds(1))
            .written;
    ASSERT_EQ(3u, written.size());
    EXPECT_EQ("first", written[0].bytes);
    EXPECT_EQ(ScriptedAgent::request, written[1].path);
    EXPECT_EQ("", written[1].bytes);
    struct stat facts {};
    ASSERT_EQ(0, stat(ScriptedAgent::response, &facts));
    long long const modified = facts.st_mtim.tv_sec * 1'000'000'000LL + facts.st_mtim.tv_nsec;
    EXPECT_EQ((WrittenFile{ScriptedAgent::response, "second", facts.st_ino, modified}), written[2]);
}

SANDBOX_TEST(AgentEngineTest, RecordsAFailedStepAndContinues) {
    SimulatedClock clock(AgentScript().RemoveRequest().Respond("answer"));
    AgentRecord const record = clock.AdvanceTo(seconds(1));
    EXPECT_EQ(std::string("remove ") + ScriptedAgent::request + ": No such file or directory",
              record.failure);
    EXPECT_EQ(1u, record.stepsDone);
    EXPECT_EQ("answer", ContentOfFile(ScriptedAgent::response));
}

SANDBOX_TEST(AgentEngineTest, AllocatesNoMemory) {
    std::string const script = AgentScript().Answer(std::string(100'000, 'x')).text();
    PublishRequest(std::string(100'000, 'y'));
    EXPECT_EQ(0u, AllocationsOf([&] {
                  AgentEngine engine;
                  engine.Play(script);
                  engine.Advance(1);
              }));
    EXPECT_FALSE(fs::exists(ScriptedAgent::request));
}

} // namespace
