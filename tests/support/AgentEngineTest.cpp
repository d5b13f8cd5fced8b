#include "tests/support/AgentEngine.h"

#include <fstream>

#include <sys/mman.h>
#include <unistd.h>

#include "tests/support/AgentScript.h"
#include "tests/support/Bytes.h"
#include "tests/support/Entries.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedAgent.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

void PublishRequest(std::string const& bytes) {
    std::ofstream(ScriptedAgent::requestTemp, std::ios::binary) << bytes;
    fs::rename(ScriptedAgent::requestTemp, ScriptedAgent::request);
}

std::string Response() { return EntryOnDisk(ScriptedAgent::response).bytes; }

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
    SimulatedClock clock(AgentScript().Answer(EveryByte() + "answer").Answer(""));
    EXPECT_TRUE(clock.AdvanceTo(seconds(1)).requests.empty());
    PublishRequest(EveryByte());
    EXPECT_EQ(EveryByte(), clock.AdvanceTo(seconds(2)).requests.at(0).bytes);
    EXPECT_FALSE(fs::exists(ScriptedAgent::request));
    EXPECT_EQ(EveryByte() + "answer", Response());
    PublishRequest("");
    AgentRecord const record = clock.AdvanceTo(seconds(3));
    EXPECT_EQ("", record.requests.at(1).bytes);
    EXPECT_EQ(Entry::File(""), EntryOnDisk(ScriptedAgent::response));
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
    EXPECT_EQ(Entry::File("own"), EntryOnDisk(ScriptedAgent::request));
    EXPECT_EQ(2u, clock.AdvanceTo(seconds(4)).requests.size());
    PublishRequest("last");
    EXPECT_EQ("last", clock.AdvanceTo(seconds(5)).requests.at(2).bytes);
}

SANDBOX_TEST(AgentEngineTest, PausesAfterARequestOrUntilATime) {
    SimulatedClock clock(AgentScript()
                             .AwaitRequest()
                             .PauseUntil(milliseconds(150))
                             .RemoveRequest()
                             .WaitUntil(seconds(9)));
    PublishRequest("request");
    for (auto const& [time, steps] :
         {std::pair(2000, 1u), {2149, 1u}, {2150, 3u}, {8999, 3u}, {9000, 4u}})
        EXPECT_EQ(steps, clock.AdvanceTo(milliseconds(time)).stepsDone) << time;
}

SANDBOX_TEST(AgentEngineTest, CreatesAndRemovesEntriesOfEveryKind) {
    for (Entry const& entry : {Entry{Entry::directory}, Entry{Entry::fullDirectory},
                               Entry{Entry::unixSocket}, Entry{Entry::fifo}, Entry{Entry::device},
                               Entry::Link("target"), Entry::File("bytes"), Entry()}) {
        PlaceOnDisk("/opt/entry", entry);
        EXPECT_EQ(entry, EntryOnDisk("/opt/entry"));
    }
    SimulatedClock clock(AgentScript()
                             .MakeDirectory("/opt/a")
                             .Move("/opt/a", "/opt/b")
                             .Respond("")
                             .RemoveResponse());
    EXPECT_EQ(4u, clock.AdvanceTo(seconds(1)).stepsDone);
    EXPECT_TRUE(fs::is_directory("/opt/b"));
    EXPECT_FALSE(fs::exists("/opt/a"));
    EXPECT_FALSE(fs::exists(ScriptedAgent::response));
}

SANDBOX_TEST(AgentEngineTest, RecordsAFailedStepAndContinues) {
    SimulatedClock clock(AgentScript().RemoveRequest().Respond("answer"));
    AgentRecord const record = clock.AdvanceTo(seconds(1));
    EXPECT_EQ(std::string("remove ") + ScriptedAgent::request + ": No such file or directory",
              record.failure);
    EXPECT_EQ(1u, record.stepsDone);
    EXPECT_EQ("answer", Response());
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
