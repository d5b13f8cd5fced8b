// The conditions that refuse a request: the lock, a missing agent, a pending request.
#include <sys/prctl.h>

#include "tests/system/ToolTest.h"

namespace {

using Sandbox::agentProgram;

void ExpectRefusal(int code, Arguments const& arguments = {"-c", "url", "doc"}) {
    ToolRun const run = RunTool(arguments);
    ExpectPrinted(OpenError(code), run);
    ExpectTook(std::chrono::milliseconds(0), run);
}

// -6: the lock is not available.

TEST(RefusalsTest, GivesMinus6IfLockFileCannotBeOpened) {
    Sandbox::Run([] {
        ExpectRefusal(-6);
        EXPECT_TRUE(fs::is_empty("/var/opt"));
    });
    Sandbox::RunWithDirectories([] {
        fs::create_directory(ScriptedAgent::lockFile);
        ExpectRefusal(-6);
        fs::remove_all(ScriptedAgent::requestDirectory);
        ExpectRefusal(-6, {"-d"});
        EXPECT_EQ("ResponseDir ", ListDirectory("/var/opt/VeskaClient"));
        WriteBytes(ScriptedAgent::requestDirectory, "");
        ExpectRefusal(-6);
        fs::remove(ScriptedAgent::requestDirectory);
        SmallFileSystem disk(ScriptedAgent::requestDirectory);
        WriteBytes(ScriptedAgent::lockFile, "");
        disk.MakeReadOnly();
        ExpectRefusal(-6);
    });
}

SANDBOX_TEST(RefusalsTest, AnyLockOfAnotherProcessRefuses) {
    {
        ForeignLock wholeFile;
        ScriptedAgent agent;
        ExpectRefusal(-6);
        EXPECT_EQ("lockfile ", Requests());
    }
    fs::remove(agentProgram);
    for (int const type : {F_RDLCK, F_WRLCK})
        for (off_t const start : {0, 1, 1'000'000'000}) {
            ForeignLock lock(static_cast<short>(type), start, 1);
            ExpectRefusal(-6);
        }
    // No lock remains: the next check is reached.
    ExpectRefusal(-1);
}

// The order: lock, installed, running, pending request. At first all four fail.
SANDBOX_TEST(RefusalsTest, ChecksLockInstalledRunningPendingInOrder) {
    WriteBytes(ScriptedAgent::request, "waiting");
    {
        ForeignLock lock;
        ExpectRefusal(-6);
    }
    ExpectRefusal(-1);
    fs::create_directories(agentProgram);
    ExpectRefusal(-2);
    fs::remove(agentProgram);
    {
        ScriptedAgent agent;
        ExpectRefusal(-5);
        ForeignLock lock;
        ExpectRefusal(-6);
    }
    ExpectRefusal(-2);
    EXPECT_EQ("waiting", ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("lockfile request.xml ", Requests());
}

// -1 and -5: any entry at the path of the program for which stat succeeds counts as installed. Any
// entry at the path of the request counts as pending.

struct NamedEntry {
    char const* name;
    Entry entry;
    bool stats;
};

// The target "itself" stands for the path of the link.
NamedEntry const namedEntries[] = {
    {"File", Entry::File("content"), true},
    {"EmptyFile", Entry::File(""), true},
    {"ClosedFile", Entry::File("closed"), true},
    {"Directory", {Entry::directory}, true},
    {"Fifo", {Entry::fifo}, true},
    {"Socket", {Entry::unixSocket}, true},
    {"LinkToFile", Entry::Link("/bin/sh"), true},
    {"LinkToDirectory", Entry::Link("/"), true},
    {"LinkToDevice", Entry::Link("/dev/null"), true},
    {"LinkToNothing", Entry::Link(Entry::nowhere), false},
    {"LinkToItself", Entry::Link("itself"), false},
    {"LinkThroughFile", Entry::Link("/bin/sh/below"), false},
};

void Place(NamedEntry const& named, std::string const& path) {
    bool const isLoop = named.entry.bytes == "itself";
    PlaceOnDisk(path, isLoop ? Entry::Link(path) : named.entry);
    if (named.entry.bytes == "closed")
        fs::permissions(path, fs::perms::none);
}

void PrintTo(NamedEntry const& named, std::ostream* out) { *out << named.name; }

class RefusingEntryTest : public testing::TestWithParam<NamedEntry> {};

TEST_P(RefusingEntryTest, CountsAsInstalledIfStatSucceeds) {
    Sandbox::RunWithDirectories([] {
        fs::create_directories("/opt/VeskaClient/bin");
        Place(GetParam(), agentProgram);
        ExpectRefusal(GetParam().stats ? -2 : -1);
    });
}

TEST_P(RefusingEntryTest, CountsAsPendingRequest) {
    Sandbox::RunWithDirectories([] {
        ScriptedAgent agent;
        Place(GetParam(), ScriptedAgent::request);
        ExpectRefusal(-5);
        EXPECT_EQ("lockfile request.xml ", Requests());
    });
}

INSTANTIATE_TEST_SUITE_P(RefusalsTest, RefusingEntryTest, testing::ValuesIn(namedEntries),
                         [](auto const& test) { return std::string(test.param.name); });

// -2: no process has the agent's name. AgentPresenceTest and ProcessNamesTest test the details.

// A process with the agent's command name that runs another program.
void BecomeNamesake(Handshake& line) {
    EXPECT_EQ(0, prctl(PR_SET_NAME, "VeskaClient"));
    line.Tell();
    pause();
}

SANDBOX_TEST(RefusalsTest, CommandNameCountsOnlyIfProgramIsUnreadable) {
    fs::create_directories(agentProgram);
    WriteBytes(ScriptedAgent::request, "");
    ExpectPrinted(OpenError(-2), RunToolUnprivileged({"-d"}));
    OtherProcess namesake(BecomeNamesake);
    namesake.Await();
    ExpectRefusal(-2);
    ExpectPrinted(OpenError(-5), RunToolUnprivileged({"-d"}));
}

SANDBOX_TEST(RefusalsTest, KeepsPendingRequest) {
    ScriptedAgent agent;
    WriteBytes(ScriptedAgent::request, "somebody's request");
    WriteBytes(ScriptedAgent::requestTemp, "somebody's half request");
    ExpectRefusal(-5);
    ExpectRefusal(-5, {"-d"});
    EXPECT_EQ("somebody's request", ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("somebody's half request", ReadBytes(ScriptedAgent::requestTemp));
    EXPECT_EQ("", ListDirectory(responseDirectory));
}

} // namespace
