// What keeps a request from being made: the lock, the agent's presence, a waiting request.
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/Entries.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/system/RecordLock.h"
#include "tests/system/Tool.h"

namespace {

namespace fs = std::filesystem;
using PrivateMachine::agentProgram;
using PrivateMachine::Proc;

void ExpectRefusal(int code, Arguments const& arguments = {"-c", "url", "doc"}) {
    ToolRun const run = RunTool(arguments);
    EXPECT_EQ(OpenError(code), run.output);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    EXPECT_GT(std::chrono::milliseconds(900), run.took);
}

void ExpectRefusalWithoutRights(int code) {
    ToolRun const run = RunToolWithoutRights({"-c", "url", "doc"});
    EXPECT_EQ(OpenError(code), run.output);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
}

void SetMode(std::string const& path, mode_t mode) { ASSERT_EQ(0, chmod(path.c_str(), mode)); }

// -6: the lock could not be taken.

TEST(RefusalsTest, NoAgentDirectoryAtAll) {
    PrivateMachine::Run([] {
        ExpectRefusal(-6);
        ExpectRefusal(-6, {"-d"});
        EXPECT_TRUE(fs::is_empty("/var/opt"));
    });
}

SANDBOX_TEST(RefusalsTest, MissingRequestDirectoryIsNotCreated) {
    fs::remove(ScriptedAgent::requestDirectory);
    ScriptedAgent agent;
    ExpectRefusal(-6);
    EXPECT_EQ("ResponseDir ", ListDirectory("/var/opt/VeskaClient"));
}

SANDBOX_TEST(RefusalsTest, RequestDirectoryThatIsAFile) {
    fs::remove(ScriptedAgent::requestDirectory);
    WriteBytes(ScriptedAgent::requestDirectory, "");
    ExpectRefusal(-6);
}

SANDBOX_TEST(RefusalsTest, LockFileThatIsADirectory) {
    fs::create_directory(ScriptedAgent::lockFile);
    ExpectRefusal(-6);
}

SANDBOX_TEST(RefusalsTest, ReadOnlyFileSystem) {
    SmallFileSystem disk(ScriptedAgent::requestDirectory);
    WriteBytes(ScriptedAgent::lockFile, "");
    disk.MakeReadOnly();
    ExpectRefusal(-6);
}

SANDBOX_TEST(RefusalsTest, LockOfAnyKindOfAnotherProcessOnAnyByte) {
    {
        ForeignLock wholeFile;
        ScriptedAgent agent;
        ExpectRefusal(-6);
        EXPECT_EQ("lockfile ", ListDirectory(ScriptedAgent::requestDirectory));
    }
    fs::remove(agentProgram);
    for (int const type : {F_RDLCK, F_WRLCK})
        for (off_t const start : {0, 1, 1'000'000'000}) {
            ForeignLock lock(static_cast<short>(type), start, 1);
            ExpectRefusal(-6);
        }
    // No lock is left: the next check is reached.
    ExpectRefusal(-1);
}

SANDBOX_TEST(RefusalsTest, UserNeedsRightsOnTheLockFileAndItsDirectory) {
    struct Case {
        // 0 for a missing lock file.
        mode_t lockFile;
        mode_t directory;
        int code;
        char const* left;
    };
    for (Case const& test : {Case{0, 0555, -6, ""}, Case{0444, 0777, -6, "lockfile "},
                             Case{0666, 0, -6, "lockfile "}, Case{0, 0777, -1, "lockfile "}}) {
        SCOPED_TRACE(test.lockFile);
        fs::remove(ScriptedAgent::lockFile);
        if (test.lockFile != 0) {
            WriteBytes(ScriptedAgent::lockFile, "");
            SetMode(ScriptedAgent::lockFile, test.lockFile);
        }
        SetMode(ScriptedAgent::requestDirectory, test.directory);
        ExpectRefusalWithoutRights(test.code);
        SetMode(ScriptedAgent::requestDirectory, 0777);
        EXPECT_EQ(test.left, ListDirectory(ScriptedAgent::requestDirectory));
    }
}

// The order: lock, installed, running, waiting request. At first all four refuse.
SANDBOX_TEST(RefusalsTest, OrderIsLockInstalledRunningPending) {
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
    EXPECT_EQ("lockfile request.xml ", ListDirectory(ScriptedAgent::requestDirectory));
}

SANDBOX_TEST(RefusalsTest, RunningAgentThatIsNotInstalled) {
    ScriptedAgent agent;
    fs::rename(agentProgram, "/opt/VeskaClient/VeskaClient");
    ExpectRefusal(-1);
}

// -1 and -5: any entry at the path of the program for which stat succeeds counts as installed. Any
// entry at the path of the request counts as waiting.

struct NamedEntry {
    char const* name;
    Entry entry;
    bool stats;
};

// "itself" as the target of a link is the path of the link.
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
        SetMode(path, 0);
}

void PrintTo(NamedEntry const& named, std::ostream* out) { *out << named.name; }

class RefusingEntryTest : public testing::TestWithParam<NamedEntry> {};

TEST_P(RefusingEntryTest, CountsAsInstalledIfItStats) {
    PrivateMachine::RunWithDirectories([] {
        fs::create_directories("/opt/VeskaClient/bin");
        Place(GetParam(), agentProgram);
        ExpectRefusal(GetParam().stats ? -2 : -1);
    });
}

TEST_P(RefusingEntryTest, CountsAsWaitingRequest) {
    PrivateMachine::RunWithDirectories([] {
        ScriptedAgent agent;
        Place(GetParam(), ScriptedAgent::request);
        ExpectRefusal(-5);
        EXPECT_EQ("lockfile request.xml ", ListDirectory(ScriptedAgent::requestDirectory));
    });
}

INSTANTIATE_TEST_SUITE_P(RefusalsTest, RefusingEntryTest, testing::ValuesIn(namedEntries),
                         [](auto const& test) { return std::string(test.param.name); });

SANDBOX_TEST(RefusalsTest, NothingAtThePathOfTheProgram) {
    ExpectRefusal(-1);
    fs::create_directories("/opt/VeskaClient");
    WriteBytes("/opt/VeskaClient/bin", "");
    ExpectRefusal(-1);
    fs::remove("/opt/VeskaClient/bin");
    fs::create_directories("/opt/VeskaClient/bin/veskaclient");
    ExpectRefusal(-1);
}

SANDBOX_TEST(RefusalsTest, ProgramInAClosedDirectory) {
    fs::create_directories(agentProgram);
    SetMode("/opt/VeskaClient", 0);
    ExpectRefusalWithoutRights(-1);
}

// -2: no process has the agent's name.

// Runs a program at the path, and then the tool.
void ExpectRefusalBeside(std::string const& path, int code) {
    SCOPED_TRACE(path);
    fs::create_directories(fs::path(path).parent_path());
    fs::copy_file("/bin/sleep", path);
    OtherProgram process({path, "1000"});
    ExpectRefusal(code);
    fs::remove(path);
}

SANDBOX_TEST(RefusalsTest, NameOfTheProcessIsComparedWhole) {
    WriteBytes(ScriptedAgent::request, "");
    fs::create_directories(agentProgram);
    for (char const* const name :
         {"veskaclient", "VeskaClient2", "VeskaClien", "VeskaClient ", "xVeskaClient"})
        ExpectRefusalBeside(std::string("/opt/other/") + name, -2);
    // Deliberate: only the name counts, wherever the program is.
    ExpectRefusalBeside("/opt/other/VeskaClient", -5);
}

// The link to its program then ends in " (deleted)".
SANDBOX_TEST(RefusalsTest, RunningAgentWithReplacedProgramDoesNotCount) {
    ScriptedAgent agent;
    fs::remove(agentProgram);
    WriteBytes(agentProgram, "the new program");
    ExpectRefusal(-2);
}

// A process whose command name is the agent's, but which runs another program.
void BecomeNamesake(Handshake& line) {
    EXPECT_EQ(0, prctl(PR_SET_NAME, "VeskaClient"));
    line.Tell();
    pause();
}

SANDBOX_TEST(RefusalsTest, CommandNameCountsOnlyWhereTheProgramIsUnreadable) {
    fs::create_directories(agentProgram);
    WriteBytes(ScriptedAgent::request, "");
    ExpectRefusalWithoutRights(-2);
    OtherProcess namesake(BecomeNamesake);
    namesake.Await();
    ExpectRefusal(-2);
    ExpectRefusalWithoutRights(-5);
}

SANDBOX_TEST(RefusalsTest, AgentOfAnotherUserIsFound) {
    WriteBytes(ScriptedAgent::request, "");
    ScriptedAgent agent;
    ExpectRefusalWithoutRights(-5);
}

// The runtime of a sanitizer needs /proc itself.
#ifndef CC_ADDRESS_SANITIZER
TEST(RefusalsTest, MachineWithoutProcHasNoRunningAgent) {
    for (Proc const proc : {Proc::none, Proc::empty})
        PrivateMachine::RunWithDirectories(
            [] {
                ScriptedAgent agent;
                ExpectRefusal(-2);
            },
            {.proc = proc});
}

void MakeProcess(std::string const& name, char const* program) {
    fs::create_directory("/proc/" + name);
    fs::create_symlink(program, "/proc/" + name + "/exe");
}

TEST(RefusalsTest, ProcessesAreThoseThatProcLists) {
    auto const body = [] {
        fs::create_directories(agentProgram);
        WriteBytes(ScriptedAgent::request, "");
        char const* const agent = "/any/place/VeskaClient";
        // A file, and names that are no numbers.
        WriteBytes("/proc/7", "");
        for (char const* const name : {"0", "self", "x8", "-"})
            MakeProcess(name, agent);
        ExpectRefusal(-2);
        // Deliberate: a program in the root directory keeps its slash, and is another name.
        MakeProcess("9", "/VeskaClient");
        ExpectRefusal(-2);
        MakeProcess("10", agent);
        ExpectRefusal(-5);
    };
    PrivateMachine::RunWithDirectories(body, {.proc = Proc::empty});
}
#endif

SANDBOX_TEST(RefusalsTest, WaitingRequestIsNeitherRemovedNorOverwritten) {
    ScriptedAgent agent;
    WriteBytes(ScriptedAgent::request, "somebody's request");
    WriteBytes(ScriptedAgent::requestTemp, "somebody's half request");
    ExpectRefusal(-5);
    ExpectRefusal(-5, {"-d"});
    EXPECT_EQ("somebody's request", ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("somebody's half request", ReadBytes(ScriptedAgent::requestTemp));
    EXPECT_EQ("", ListDirectory("/var/opt/VeskaClient/ResponseDir"));
}

} // namespace
