// Every kind of entry under the four fixed names, as data: what the tool prints, and which entries
// remain. Some of it is ugly, and deliberate; docs/exchange.md has it as a table.
#include <ostream>

#include <sys/mount.h>

#include "tests/torture/ToolTest.h"

namespace {

using namespace Torture;

std::string const lockFile = ScriptedAgent::lockFile;
std::string const request = ScriptedAgent::request;
std::string const temporary = ScriptedAgent::requestTemp;
std::string const response = ScriptedAgent::response;
std::string const elsewhere = Entry::elsewhere;

// A link into a directory that is there, to a file that is not.
constexpr char const* creatable = "/opt/simulation/creatable";

struct NamedEntry : Entry {
    char const* name;
};

NamedEntry const someFile = {Entry::File("something"), "file"};
NamedEntry const directory = {{Entry::directory}, "directory"};
NamedEntry const fullDirectory = {{Entry::fullDirectory}, "full_directory"};
NamedEntry const fifo = {{Entry::fifo}, "fifo"};
NamedEntry const unixSocket = {{Entry::unixSocket}, "socket"};
NamedEntry const device = {{Entry::device}, "device"};
NamedEntry const link = {Entry::Link(elsewhere), "link"};
NamedEntry const brokenLink = {Entry::Link(Entry::nowhere), "broken_link"};
NamedEntry const creatableLink = {Entry::Link(creatable), "link_that_can_be_made_good"};
Entry const emptyFile = Entry::File("");

// What the tool prints for a good evaluation without rows.
std::string const good = "COMPLIANCE_ResultCount is 0.\n";
// The same whose first poll finds it under way.
std::string const half = "COMPLIANCE_Progress 50% completed.\n";

struct Cell {
    std::string path;
    NamedEntry entry;
    std::string output;
    // Beside the lock file: all that stands there at the end.
    Entries after;
};

void PrintTo(Cell const& cell, std::ostream* out) {
    *out << cell.entry.name << " under " << cell.path;
}

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

void ExpectAfter(Entries expected) {
    // Other entries are as they were.
    expected.emplace(lockFile, emptyFile);
    expected.emplace(elsewhere, Entry::File("not yours"));
    EXPECT_EQ(expected, WhatStands());
}

AgentScript GoodAnswers() {
    return AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("1")).Answer(CloseAnswer());
}

void ExpectRun(Cell const& cell, ToolRun const& run) {
    EXPECT_EQ(cell.output, run.output);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    ExpectAfter(cell.after);
}

// Each entry is there from the start. An agent that answers would take what is published.
void TryAll(std::vector<Cell> const& cells) {
    for (Cell const& cell : cells) {
        SCOPED_TRACE(testing::PrintToString(cell));
        PrivateMachine::Run([&] {
            LayOut();
            PlaceOnDisk(cell.path, cell.entry);
            ScriptedAgent agent(cell.output == good ? GoodAnswers() : AgentScript());
            ExpectRun(cell, RunTool({"-d"}));
        });
    }
    CountCells(cells.size());
}

Entries const closed = {{response, Entry::File(CloseAnswer())}};

// The end of an evaluation that succeeds, with these entries.
Entries Closed(Entries entries = {}) {
    entries.insert(closed.begin(), closed.end());
    return entries;
}

// What can be opened for writing is a lock, and nothing is ever written to it.
TEST(QuickEntries, LockFileIsWhateverOpensForWriting) {
    std::vector<Cell> cells = {{lockFile, creatableLink, good,
                                Closed({{lockFile, creatableLink}, {creatable, emptyFile}})}};
    for (NamedEntry const& entry : {someFile, fifo, device, link})
        cells.push_back({lockFile, entry, good, Closed({{lockFile, entry}})});
    for (NamedEntry const& entry : {directory, fullDirectory, unixSocket, brokenLink})
        cells.push_back({lockFile, entry, OpenError(-6), {{lockFile, entry}}});
    TryAll(cells);
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

TEST(QuickEntries, AnythingUnderTheRequestIsAWaitingOne) {
    std::vector<Cell> cells;
    for (NamedEntry const& entry : {someFile, directory, fullDirectory, fifo, unixSocket, device,
                                    link, brokenLink, creatableLink})
        cells.push_back({request, entry, OpenError(-5), {{request, entry}}});
    TryAll(cells);
}

// Deliberate: what can't be written is published all the same, whatever it is; and opening it
// follows a link.
TEST(QuickEntries, EntryAtTheTemporaryDocumentIsWrittenThroughOrPublished) {
    Entry const written = Entry::File(OpenRequest("", "", "0"));
    std::vector<Cell> cells = {{temporary, someFile, good, closed},
                               {temporary, link, good, Closed({{elsewhere, written}})},
                               {temporary, creatableLink, good, Closed({{creatable, written}})}};
    for (NamedEntry const& entry : {directory, fullDirectory, fifo, unixSocket, device, brokenLink})
        cells.push_back({temporary, entry, OpenError(-17), {{request, entry}}});
    TryAll(cells);
}

class FullEntries : public testing::TestWithParam<Cell> {};

std::string CellName(testing::TestParamInfo<Cell> const& info) {
    return fs::path(info.param.path).stem().string() + "_" + info.param.entry.name;
}

// The response: a file, or a link to one, or there is none.

std::vector<Cell> ResponseCells() {
    NamedEntry const linked = {Entry::Link(creatable), "link_to_a_response"};
    NamedEntry const strange = {Entry::Link(elsewhere), "link_to_something_else"};
    std::vector<Cell> cells = {
        {response, linked, good, Closed({{creatable, Entry::File(OpenAnswer())}})}};
    for (NamedEntry const& entry : {someFile, directory, fullDirectory, unixSocket, device, strange,
                                    brokenLink, creatableLink})
        cells.push_back({response, entry, OpenError(-7), {{response, entry}}});
    return cells;
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
        PlaceOnDisk(response, fifo);
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
        ExpectAfter({{response, fifo}});
    });
}

// What appears while an evaluation is open, in the sleep between two polls. The poll that meets it
// and the close behind it say nothing.

std::vector<Cell> LaterCells() {
    Entry const answer = Entry::File(ProgressAnswer("3", "0", "50"));
    Entry const written = Entry::File(progressRequest);
    std::vector<Cell> cells = {
        {request, creatableLink, half, {{request, creatableLink}, {response, answer}}},
        {request, link, half + good, closed},
        {temporary, link, half + good, Closed({{elsewhere, written}})},
        {lockFile, directory, half + good, Closed({{lockFile, directory}})},
        {lockFile, link, half + good, Closed({{lockFile, link}})}};
    // Under the request what is no file stays there, and keeps the close off as well. Under the
    // temporary document it is published, and then keeps the close off.
    for (std::string const& path : {request, temporary}) {
        cells.push_back({path, someFile, half + good, closed});
        for (NamedEntry const& entry :
             {fullDirectory, directory, fifo, unixSocket, device, brokenLink})
            cells.push_back({path, entry, half, {{request, entry}, {response, answer}}});
    }
    return cells;
}

class FullLaterEntries : public FullEntries {};

TEST_P(FullLaterEntries, MeetTheNextPollAndTheClose) {
    Cell const& cell = GetParam();
    PrivateMachine::Run([&] {
        LayOut();
        AgentScript script;
        script.Answer(OpenAnswer()).Answer(ProgressAnswer("3", "0", "50"));
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
