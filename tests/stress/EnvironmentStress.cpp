// Every kind of entry at the four fixed paths, as data: the output of the tool, and the remaining
// entries. docs/exchange.md has the same as a table. Surprising outcomes are deliberate.
#include "tests/stress/TestCases.h"

namespace {

std::string const lockFile = ScriptedAgent::lockFile;
std::string const request = ScriptedAgent::request;
std::string const temporary = ScriptedAgent::requestTemp;
std::string const response = ScriptedAgent::response;
std::string const elsewhere = Entry::elsewhere;

// A link to a missing file in an existing directory.
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
NamedEntry const danglingLink = {Entry::Link(Entry::nowhere), "dangling_link"};
NamedEntry const creatableLink = {Entry::Link(creatable), "link_to_creatable_file"};
Entry const emptyFile = Entry::File("");

// The output of a successful evaluation without rows.
std::string const good = PrintedCount(0);
// The same, whose first poll finds it in progress.
std::string const half = PrintedPercent("50");

struct TestCase {
    std::string path;
    NamedEntry entry;
    std::string output;
    // All entries at the end, except the lock file.
    Entries after;
};

void PrintTo(TestCase const& testCase, std::ostream* out) {
    *out << testCase.entry.name << " under " << testCase.path;
}

// On a file system where devices work, if the process may create one.
void CreateDirectories() {
    mount("tmpfs", "/var/opt", "tmpfs", 0, nullptr);
    mount("tmpfs", "/opt", "tmpfs", 0, nullptr);
    Sandbox::CreateAgentDirectories();
    fs::create_directories("/opt/simulation");
    WriteBytes(elsewhere, "not yours");
}

// Compares the entries in the directories of the exchange, and the targets of links.
void ExpectAfter(Entries expected) {
    // Other entries are unchanged.
    expected.emplace(lockFile, emptyFile);
    expected.emplace(elsewhere, Entry::File("not yours"));
    Entries entries = ReadFromDisk();
    for (char const* const path :
         {ScriptedAgent::requestDirectory, agentLink, Sandbox::agentProgram})
        entries.erase(path);
    if (fs::exists(creatable))
        entries[creatable] = EntryOnDisk(creatable);
    EXPECT_EQ(expected, entries);
}

void ExpectRun(TestCase const& testCase, ToolRun const& run) {
    ExpectPrinted(testCase.output, run);
    ExpectAfter(testCase.after);
}

// Each entry exists from the start. An agent that answers takes published requests.
void TryAll(std::vector<TestCase> const& testCases) {
    for (TestCase const& testCase : testCases) {
        SCOPED_TRACE(testing::PrintToString(testCase));
        Sandbox::Run([&] {
            CreateDirectories();
            PlaceOnDisk(testCase.path, testCase.entry);
            ScriptedAgent agent(testCase.output == good ? WholeEvaluation({ProgressResponse("1")})
                                                        : AgentScript());
            ToolRun const run = RunTool({"-d"});
            ExpectRun(testCase, run);
            // A refusal is immediate, without retries. An evaluation polls once for each request.
            ExpectTook(std::chrono::seconds(testCase.output == good ? 3 : 0), run);
        });
    }
    CountTestCases(testCases.size());
}

// The entries after an evaluation that succeeds.
Entries Closed(Entries entries = {}) {
    entries.emplace(response, Entry::File(CloseResponse()));
    return entries;
}

// Any entry that can be opened for writing can be locked. Nothing is written to it.
TEST(QuickEntries, LocksAnyWritableEntry) {
    std::vector<TestCase> testCases = {
        {lockFile, creatableLink, good,
         Closed({{lockFile, creatableLink}, {creatable, emptyFile}})}};
    for (NamedEntry const& entry : {someFile, fifo, device, link})
        testCases.push_back({lockFile, entry, good, Closed({{lockFile, entry}})});
    for (NamedEntry const& entry : {directory, fullDirectory, unixSocket, danglingLink})
        testCases.push_back({lockFile, entry, OpenError(-6), {{lockFile, entry}}});
    TryAll(testCases);
}

// Deliberate: nothing checks that the locked file still has its name.
TEST(QuickEntries, ReplacedLockFileLocksNobodyOut) {
    Sandbox::Run([] {
        CreateDirectories();
        ScriptedAgent agent(
            AgentScript().Answer(OpenResponse()).AwaitRequest().Respond(ProgressResponse("1")));
        Tool first({"-d"});
        agent.AwaitEnd();
        EXPECT_EQ(OpenError(-6), RunTool({"-d"}).output);
        fs::remove(lockFile);
        EXPECT_EQ(OpenError(-5), RunTool({"-d"}).output);
    });
}

TEST(QuickEntries, AnyEntryAtTheRequestIsPending) {
    std::vector<TestCase> testCases;
    for (NamedEntry const& entry : {someFile, directory, fullDirectory, fifo, unixSocket, device,
                                    link, danglingLink, creatableLink})
        testCases.push_back({request, entry, OpenError(-5), {{request, entry}}});
    TryAll(testCases);
}

// Deliberate: an entry that cannot be written is published nevertheless, and opening it follows a
// link.
TEST(QuickEntries, TemporaryEntryIsWrittenThroughOrPublished) {
    Entry const written = Entry::File(OpenRequest("", "", "0"));
    std::vector<TestCase> testCases = {
        {temporary, someFile, good, Closed()},
        {temporary, link, good, Closed({{elsewhere, written}})},
        {temporary, creatableLink, good, Closed({{creatable, written}})}};
    for (NamedEntry const& entry :
         {directory, fullDirectory, fifo, unixSocket, device, danglingLink})
        testCases.push_back({temporary, entry, OpenError(-17), {{request, entry}}});
    TryAll(testCases);
}

class FullEntries : public testing::TestWithParam<TestCase> {};

std::string CaseName(testing::TestParamInfo<TestCase> const& info) {
    return fs::path(info.param.path).stem().string() + "_" + info.param.entry.name;
}

// The response is a file or a link to one; otherwise there is none.

std::vector<TestCase> ResponseCases() {
    NamedEntry const linked = {Entry::Link(creatable), "link_to_a_response"};
    NamedEntry const strange = {Entry::Link(elsewhere), "link_to_other_file"};
    std::vector<TestCase> testCases = {
        {response, linked, good, Closed({{creatable, Entry::File(OpenResponse())}})}};
    for (NamedEntry const& entry : {someFile, directory, fullDirectory, unixSocket, device, strange,
                                    danglingLink, creatableLink})
        testCases.push_back({response, entry, OpenError(-7), {{response, entry}}});
    return testCases;
}

class FullResponses : public FullEntries {};

TEST_P(FullResponses, IsReadOrPolledUntilTheTimeout) {
    TestCase const& testCase = GetParam();
    Sandbox::Run([&] {
        CreateDirectories();
        if (testCase.output == good)
            WriteBytes(creatable, OpenResponse());
        PlaceOnDisk(response, testCase.entry);
        ScriptedAgent agent(AgentScript()
                                .AwaitRequest()
                                .RemoveRequest()
                                .Answer(ProgressResponse("1"))
                                .Answer(CloseResponse()));
        ExpectRun(testCase, RunTool({"-d"}));
    });
}

INSTANTIATE_TEST_SUITE_P(FullCases, FullResponses, testing::ValuesIn(ResponseCases()), CaseName);

// Deliberate: the only wait without a timeout. It ends with a writer.
TEST(FullEntries, FifoAtTheResponseBlocksUntilItHasAWriter) {
    Sandbox::Run([] {
        CreateDirectories();
        PlaceOnDisk(response, fifo);
        ScriptedAgent agent(AgentScript().AwaitRequest().RemoveRequest());
        Tool tool({"-d"});
        agent.AwaitEnd();
        sleep(15);
        EXPECT_TRUE(IsLocked());
        EXPECT_EQ("", tool.Output());
        // Each of the four polls opens it.
        int const writer = open(response.c_str(), O_RDWR | O_CLOEXEC);
        ASSERT_LE(0, writer);
        EXPECT_EQ(OpenError(-7), tool.Wait().output);
        close(writer);
        ExpectAfter({{response, fifo}});
    });
}

// The entry appears while an evaluation is open, in the sleep between two polls. The poll and the
// Close request that find it print nothing.

std::vector<TestCase> LaterCases() {
    Entry const content = Entry::File(ProgressResponse("3", "0", "50"));
    Entry const written = Entry::File(progressRequest);
    std::vector<TestCase> testCases = {
        {request, creatableLink, half, {{request, creatableLink}, {response, content}}},
        {request, link, half + good, Closed()},
        {temporary, link, half + good, Closed({{elsewhere, written}})},
        {lockFile, directory, half + good, Closed({{lockFile, directory}})},
        {lockFile, link, half + good, Closed({{lockFile, link}})}};
    // At the request, an entry other than a file remains and also obstructs the Close request. At
    // the temporary document it is published, and then obstructs the Close request.
    for (std::string const& path : {request, temporary}) {
        testCases.push_back({path, someFile, half + good, Closed()});
        for (NamedEntry const& entry :
             {fullDirectory, directory, fifo, unixSocket, device, danglingLink})
            testCases.push_back({path, entry, half, {{request, entry}, {response, content}}});
    }
    return testCases;
}

class FullLaterEntries : public FullEntries {};

TEST_P(FullLaterEntries, AffectTheNextPollAndTheClose) {
    TestCase const& testCase = GetParam();
    Sandbox::Run([&] {
        CreateDirectories();
        AgentScript script;
        script.Answer(OpenResponse()).Answer(ProgressResponse("3", "0", "50"));
        // Any entry at the request is a request for the agent.
        if (testCase.path == request)
            script.AwaitRequest();
        if (testCase.output != half)
            script.Answer(ProgressResponse("1")).Answer(CloseResponse());
        ScriptedAgent agent(script);
        Tool tool({"-d"});
        agent.AwaitRequests(2);
        // The first poll ends one second after its request, and the next one starts one second
        // later.
        usleep(1'500'000);
        PlaceOnDisk(testCase.path, testCase.entry);
        ExpectRun(testCase, tool.Wait());
    });
}

INSTANTIATE_TEST_SUITE_P(FullCases, FullLaterEntries, testing::ValuesIn(LaterCases()), CaseName);

} // namespace
