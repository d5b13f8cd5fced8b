// Everything that can stand under the four fixed names, as data: what the tool says, and what
// stands there afterwards. Some of it is ugly, and deliberate; docs/exchange.md has it as a table.
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include "tests/support/Entries.h"
#include "tests/support/PrivateMachine.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"
#include "tests/system/Tool.h"
#include "tests/torture/Cells.h"

namespace {

namespace fs = std::filesystem;

std::string const lockFile = ScriptedAgent::lockFile;
std::string const request = ScriptedAgent::request;
std::string const temporary = ScriptedAgent::requestTemp;
std::string const response = ScriptedAgent::response;
std::string const elsewhere = Entry::elsewhere;

// A link into a directory that is there, to a file that is not.
constexpr char const* creatable = "/opt/simulation/creatable";

Entry const someFile = Entry::File("something");
Entry const emptyFile = Entry::File("");

// What the tool prints for a good evaluation without rows.
std::string const good = "COMPLIANCE_ResultCount is 0.\n";
// The same whose first poll finds it under way.
std::string const half = "COMPLIANCE_Progress 50% completed.\n";

struct Cell {
    std::string path;
    std::string name;
    Entry entry;
    std::string output;
    // Beside the lock file: all that stands there at the end.
    Entries after;
};

void PrintTo(Cell const& cell, std::ostream* out) { *out << cell.name << " under " << cell.path; }

// On a file system where a device works, for whoever may make one.
void LayOut() {
    mount("tmpfs", "/var/opt", "tmpfs", 0, nullptr);
    mount("tmpfs", "/opt", "tmpfs", 0, nullptr);
    PrivateMachine::CreateAgentDirectories();
    fs::create_directories("/opt/simulation");
    WriteBytes(elsewhere, "not yours");
}

// The exchange's directories, and what links point at; of the directories themselves nothing.
Entries WhatStands() {
    Entries entries = ReadFromDisk();
    std::erase_if(entries, [](auto const& entry) {
        return entry.first == ScriptedAgent::requestDirectory ||
               entry.first.starts_with("/proc/") || entry.first == PrivateMachine::agentProgram;
    });
    if (fs::exists(creatable))
        entries[creatable] = EntryOnDisk(creatable);
    return entries;
}

void ExpectAfter(Cell const& cell) {
    Entries expected = cell.after;
    // A file that is not told of is as it was.
    expected.emplace(lockFile, emptyFile);
    expected.emplace(elsewhere, Entry::File("not yours"));
    Entries const actual = WhatStands();
    for (auto const& [path, entry] : expected) {
        auto const found = actual.find(path);
        EXPECT_EQ(entry, found == actual.end() ? Entry() : found->second) << path;
    }
    for (auto const& [path, entry] : actual)
        EXPECT_TRUE(expected.contains(path)) << path << " is new: " << entry;
}

AgentScript GoodAnswers() {
    return AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("1")).Answer(CloseAnswer());
}

void ExpectRun(Cell const& cell, ToolRun const& run) {
    EXPECT_EQ(cell.output, run.output);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    ExpectAfter(cell);
}

// The entry is there from the start.
void Try(Cell const& cell, AgentScript const& script) {
    SCOPED_TRACE(testing::PrintToString(cell));
    PrivateMachine::Run([&] {
        LayOut();
        PlaceOnDisk(cell.path, cell.entry);
        ScriptedAgent agent(script);
        ExpectRun(cell, RunTool({"-d"}));
    });
}

// The lock file: what can be opened for writing is a lock, and nothing is ever written to it.

Entries const closed = {{response, Entry::File(CloseAnswer())}};

Entries With(Entries entries, std::string const& path, Entry const& entry) {
    entries[path] = entry;
    return entries;
}

std::vector<Cell> LockFileCells() {
    auto const cell = [](char const* name, Entry const& entry, bool isLock) {
        return Cell{lockFile, name, entry, isLock ? good : OpenError(-6),
                    With(isLock ? closed : Entries(), lockFile, entry)};
    };
    Cell creating = cell("link that can be made good", Entry::Link(creatable), true);
    creating.after[creatable] = emptyFile;
    return {cell("file", someFile, true),
            cell("directory", {Entry::directory}, false),
            cell("full directory", {Entry::fullDirectory}, false),
            cell("fifo", {Entry::fifo}, true),
            cell("socket", {Entry::unixSocket}, false),
            cell("device", {Entry::device}, true),
            cell("link", Entry::Link(elsewhere), true),
            cell("broken link", Entry::Link(Entry::nowhere), false),
            creating};
}

TEST(QuickEntries, LockFileIsWhateverOpensForWriting) {
    for (Cell const& cell : LockFileCells())
        Try(cell, GoodAnswers());
    Torture::CountCells(LockFileCells().size());
}

// Deliberate: nobody looks whether the file that is locked still has its name.
TEST(QuickEntries, LockFileThatIsReplacedKeepsNobodyOff) {
    PrivateMachine::Run([] {
        LayOut();
        ScriptedAgent agent(
            AgentScript().Answer(OpenAnswer()).AwaitRequest().Respond(ProgressAnswer("1")));
        Tool first({"-d"});
        agent.AwaitEnd();
        EXPECT_EQ(OpenError(-6), RunTool({"-d"}).output);
        fs::remove(lockFile);
        EXPECT_EQ(OpenError(-5), RunTool({"-d"}).output);
    });
}

// The request: whatever stands there is a request that waits.

TEST(QuickEntries, AnythingUnderTheRequestIsAWaitingOne) {
    size_t cells = 0;
    for (Entry const& entry :
         {someFile, Entry{Entry::directory}, Entry{Entry::fullDirectory}, Entry{Entry::fifo},
          Entry{Entry::unixSocket}, Entry{Entry::device}, Entry::Link(elsewhere),
          Entry::Link(Entry::nowhere), Entry::Link(creatable)}) {
        Cell const cell{request, testing::PrintToString(entry), entry, OpenError(-5),
                        With({}, request, entry)};
        Try(cell, {});
        ++cells;
    }
    Torture::CountCells(cells);
}

// The temporary document. Deliberate: what can't be written is published all the same, whatever it
// is; and opening it follows a link.

std::vector<Cell> TemporaryCells() {
    auto const works = [](char const* name, Entry const& entry, Entries const& changed) {
        Entries after = closed;
        after.insert(changed.begin(), changed.end());
        return Cell{temporary, name, entry, good, after};
    };
    auto const published = [](char const* name, Entry const& entry) {
        return Cell{temporary, name, entry, OpenError(-17), {{request, entry}}};
    };
    Entry const written = Entry::File(OpenRequest("", "", "0"));
    return {works("file", someFile, {}),
            published("directory", {Entry::directory}),
            published("full directory", {Entry::fullDirectory}),
            published("fifo", {Entry::fifo}),
            published("socket", {Entry::unixSocket}),
            published("device", {Entry::device}),
            works("link", Entry::Link(elsewhere), {{elsewhere, written}}),
            published("broken link", Entry::Link(Entry::nowhere)),
            works("link that can be made good", Entry::Link(creatable), {{creatable, written}})};
}

TEST(QuickEntries, EntryAtTheTemporaryDocumentIsWrittenThroughOrPublished) {
    // An agent that answers would take what is published.
    for (Cell const& cell : TemporaryCells())
        Try(cell, cell.output == good ? GoodAnswers() : AgentScript());
    Torture::CountCells(TemporaryCells().size());
}

class FullEntries : public testing::TestWithParam<Cell> {};

std::string CellName(testing::TestParamInfo<Cell> const& info) {
    std::string name;
    for (char const letter : fs::path(info.param.path).stem().string() + "_" + info.param.name)
        name += letter == ' ' ? '_' : letter;
    return name;
}

// The response: a file, or a link to one, or there is none.

std::vector<Cell> ResponseCells() {
    auto const unread = [](char const* name, Entry const& entry) {
        return Cell{response, name, entry, OpenError(-7), {{response, entry}}};
    };
    Cell linked = {response, "link to a response", Entry::Link(creatable), good, closed};
    linked.after[creatable] = Entry::File(OpenAnswer());
    return {unread("file", someFile),
            unread("directory", {Entry::directory}),
            unread("full directory", {Entry::fullDirectory}),
            unread("socket", {Entry::unixSocket}),
            unread("device", {Entry::device}),
            unread("link to something else", Entry::Link(elsewhere)),
            unread("broken link", Entry::Link(Entry::nowhere)),
            unread("link that can be made good", Entry::Link(creatable)),
            linked};
}

class FullResponses : public FullEntries {};

TEST_P(FullResponses, IsReadOrTriedUntilTheLimit) {
    Cell const& cell = GetParam();
    PrivateMachine::Run([&] {
        LayOut();
        if (cell.output == good)
            WriteBytes(creatable, OpenAnswer());
        PlaceOnDisk(response, cell.entry);
        ScriptedAgent agent(AgentScript()
                                .AwaitRequest()
                                .RemoveRequest()
                                .Answer(ProgressAnswer("1"))
                                .Answer(CloseAnswer()));
        ExpectRun(cell, RunTool({"-d"}));
    });
}

INSTANTIATE_TEST_SUITE_P(FullCells, FullResponses, testing::ValuesIn(ResponseCells()), CellName);

// Deliberate: the one wait without a limit. It ends with a writer.
TEST(FullEntries, FifoUnderTheResponseHoldsTheToolUntilSomebodyOpensIt) {
    PrivateMachine::Run([] {
        LayOut();
        PlaceOnDisk(response, {Entry::fifo});
        ScriptedAgent agent(AgentScript().AwaitRequest().RemoveRequest());
        Tool tool({"-d"});
        agent.AwaitEnd();
        sleep(15);
        EXPECT_TRUE(IsLocked());
        EXPECT_EQ("", tool.Output());
        // Each of the four looks opens it.
        int const writer = open(response.c_str(), O_RDWR | O_CLOEXEC);
        ASSERT_LE(0, writer);
        EXPECT_EQ(OpenError(-7), tool.Wait().output);
        close(writer);
        Entry const fifo{Entry::fifo};
        Cell const cell{response, "fifo", fifo, "", With({}, response, fifo)};
        ExpectAfter(cell);
    });
}

// What appears while an evaluation is open, in the sleep between two polls. The poll that meets it
// and the close behind it say nothing.

AgentScript UntilThePause() {
    return AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("3", "0", "50"));
}

std::vector<Cell> LaterCells() {
    Entry const answer = Entry::File(ProgressAnswer("3", "0", "50"));
    auto const silent = [&](std::string const& path, char const* name, Entry const& entry,
                            Entries after) {
        after.emplace(response, answer);
        return Cell{path, name, entry, half, after};
    };
    auto const works = [](std::string const& path, char const* name, Entry const& entry,
                          Entries const& changed) {
        Entries after = closed;
        after.insert(changed.begin(), changed.end());
        return Cell{path, name, entry, half + good, after};
    };
    Entry const written = Entry::File(progressRequest);
    // Under the request what is no file stays there, and keeps the close off as well. Under the
    // temporary document it is published, and then keeps the close off.
    std::vector<Cell> cells;
    for (std::string const& path : {request, temporary}) {
        cells.push_back(works(path, "file", someFile, {}));
        cells.push_back(silent(path, "full directory", {Entry::fullDirectory},
                               {{request, {Entry::fullDirectory}}}));
        cells.push_back(
            silent(path, "directory", {Entry::directory}, {{request, {Entry::directory}}}));
        cells.push_back(silent(path, "fifo", {Entry::fifo}, {{request, {Entry::fifo}}}));
        cells.push_back(
            silent(path, "socket", {Entry::unixSocket}, {{request, {Entry::unixSocket}}}));
        cells.push_back(silent(path, "device", {Entry::device}, {{request, {Entry::device}}}));
        cells.push_back(silent(path, "broken link", Entry::Link(Entry::nowhere),
                               {{request, Entry::Link(Entry::nowhere)}}));
    }
    cells.push_back(silent(request, "link that can be made good", Entry::Link(creatable),
                           {{request, Entry::Link(creatable)}}));
    cells.push_back(works(request, "link", Entry::Link(elsewhere), {}));
    cells.push_back(works(temporary, "link", Entry::Link(elsewhere), {{elsewhere, written}}));
    cells.push_back(
        works(lockFile, "directory", {Entry::directory}, {{lockFile, {Entry::directory}}}));
    cells.push_back(
        works(lockFile, "link", Entry::Link(elsewhere), {{lockFile, Entry::Link(elsewhere)}}));
    return cells;
}

class FullLaterEntries : public FullEntries {};

TEST_P(FullLaterEntries, MeetTheNextPollAndTheClose) {
    Cell const& cell = GetParam();
    PrivateMachine::Run([&] {
        LayOut();
        AgentScript script = UntilThePause();
        // What stands under the request is a request to the agent as well.
        if (cell.path == request)
            script.AwaitRequest();
        if (cell.output != half)
            script.Answer(ProgressAnswer("1")).Answer(CloseAnswer());
        ScriptedAgent agent(script);
        Tool tool({"-d"});
        agent.AwaitRequests(2);
        // The first poll ends a second after its request, and the next one comes a second later.
        usleep(1'500'000);
        PlaceOnDisk(cell.path, cell.entry);
        ExpectRun(cell, tool.Wait());
    });
}

INSTANTIATE_TEST_SUITE_P(FullCells, FullLaterEntries, testing::ValuesIn(LaterCells()), CellName);

} // namespace
