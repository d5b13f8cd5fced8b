// What keeps a request from being made at all: the lock, the agent's presence, a waiting request.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/support/PrivateMachine.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/system/RecordLock.h"
#include "tests/system/Tool.h"

namespace {

namespace fs = std::filesystem;
using PrivateMachine::agentProgram;
using PrivateMachine::CreateAgentDirectories;
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

void MakeSocket(std::string const& path) {
    int const made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    EXPECT_EQ(0, bind(made, reinterpret_cast<sockaddr const*>(&address), sizeof address));
    close(made);
}

// Something that can stand under a name.
struct Entry {
    char const* name;
    std::function<void(std::string const&)> make;
};

std::vector<Entry> EntriesThatStat() {
    return {
        {"file",
         [](std::string const& path) {
             WriteBytes(path, "content");
         }},
        {"empty file",
         [](std::string const& path) {
             WriteBytes(path, "");
         }},
        {"closed file",
         [](std::string const& path) {
             WriteBytes(path, "content");
             SetMode(path, 0);
         }},
        {"directory",
         [](std::string const& path) {
             fs::create_directory(path);
         }},
        {"fifo",
         [](std::string const& path) {
             ASSERT_EQ(0, mkfifo(path.c_str(), 0666));
         }},
        {"socket", MakeSocket},
        {"link to a file",
         [](std::string const& path) {
             fs::create_symlink("/bin/sh", path);
         }},
        {"link to a directory",
         [](std::string const& path) {
             fs::create_symlink("/", path);
         }},
        {"link to a device",
         [](std::string const& path) {
             fs::create_symlink("/dev/null", path);
         }},
    };
}

std::vector<Entry> BrokenLinks() {
    return {
        {"link to nothing",
         [](std::string const& path) {
             fs::create_symlink("/nowhere/at/all", path);
         }},
        {"link to itself",
         [](std::string const& path) {
             fs::create_symlink(path, path);
         }},
        {"link through a file",
         [](std::string const& path) {
             fs::create_symlink("/bin/sh/below", path);
         }},
    };
}

// -6: the lock could not be taken.

TEST(RefusalsTest, NoAgentDirectoryAtAll) {
    PrivateMachine::Run([] {
        ExpectRefusal(-6);
        ExpectRefusal(-6, {"-d"});
        EXPECT_TRUE(fs::is_empty("/var/opt"));
    });
}

TEST(RefusalsTest, MissingRequestDirectoryIsNotCreated) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        fs::remove(ScriptedAgent::requestDirectory);
        ScriptedAgent agent;
        ExpectRefusal(-6);
        EXPECT_EQ("ResponseDir ", ListDirectory("/var/opt/VeskaClient"));
    });
}

TEST(RefusalsTest, RequestDirectoryThatIsNoDirectory) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        fs::remove(ScriptedAgent::requestDirectory);
        WriteBytes(ScriptedAgent::requestDirectory, "");
        ExpectRefusal(-6);
    });
}

TEST(RefusalsTest, LockFileThatIsADirectory) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        fs::create_directory(ScriptedAgent::lockFile);
        ExpectRefusal(-6);
    });
}

TEST(RefusalsTest, ReadOnlyFileSystem) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        SmallFileSystem disk(ScriptedAgent::requestDirectory);
        WriteBytes(ScriptedAgent::lockFile, "");
        disk.MakeReadOnly();
        ExpectRefusal(-6);
    });
}

TEST(RefusalsTest, ForeignLock) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ForeignLock lock;
        ScriptedAgent agent;
        ExpectRefusal(-6);
        EXPECT_EQ("lockfile ", ListDirectory(ScriptedAgent::requestDirectory));
    });
}

TEST(RefusalsTest, ForeignLockOfAnyKindOnAnyByte) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        for (short const type : std::initializer_list<short>{F_RDLCK, F_WRLCK})
            for (off_t const start : {0, 1, 1'000'000'000}) {
                ForeignLock lock(type, start, 1);
                ExpectRefusal(-6);
            }
        // None is left: the next check is reached.
        ExpectRefusal(-1);
    });
}

TEST(RefusalsTest, UserWithoutRightsCannotCreateTheLockFile) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        SetMode(ScriptedAgent::requestDirectory, 0555);
        ScriptedAgent agent;
        ExpectRefusalWithoutRights(-6);
        EXPECT_EQ("", ListDirectory(ScriptedAgent::requestDirectory));
    });
}

TEST(RefusalsTest, UserWithoutRightsCannotWriteTheLockFile) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        WriteBytes(ScriptedAgent::lockFile, "");
        SetMode(ScriptedAgent::lockFile, 0444);
        ScriptedAgent agent;
        ExpectRefusalWithoutRights(-6);
    });
}

TEST(RefusalsTest, UserWithoutRightsCannotEnterTheDirectory) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        WriteBytes(ScriptedAgent::lockFile, "");
        SetMode(ScriptedAgent::lockFile, 0666);
        SetMode(ScriptedAgent::requestDirectory, 0);
        ExpectRefusalWithoutRights(-6);
    });
}

TEST(RefusalsTest, UserWithoutRightsNeedsNoneBeyondTheFiles) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ExpectRefusalWithoutRights(-1);
        EXPECT_EQ("lockfile ", ListDirectory(ScriptedAgent::requestDirectory));
    });
}

// The order: lock, installed, running, waiting request. All four stand against it at first.

TEST(RefusalsTest, OrderIsLockInstalledRunningPending) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
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
    });
}

TEST(RefusalsTest, RunningAgentThatIsNotInstalled) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent;
        fs::rename(agentProgram, "/opt/VeskaClient/VeskaClient");
        ExpectRefusal(-1);
    });
}

// -1: whatever stat says about the agent's program.

TEST(RefusalsTest, AnyEntryThatStatsCountsAsInstalled) {
    for (Entry const& entry : EntriesThatStat()) {
        SCOPED_TRACE(entry.name);
        PrivateMachine::Run([&] {
            CreateAgentDirectories();
            fs::create_directories("/opt/VeskaClient/bin");
            entry.make(agentProgram);
            ExpectRefusal(-2);
        });
    }
}

TEST(RefusalsTest, LinkWithoutTargetDoesNotCountAsInstalled) {
    for (Entry const& entry : BrokenLinks()) {
        SCOPED_TRACE(entry.name);
        PrivateMachine::Run([&] {
            CreateAgentDirectories();
            fs::create_directories("/opt/VeskaClient/bin");
            entry.make(agentProgram);
            ExpectRefusal(-1);
        });
    }
}

TEST(RefusalsTest, NothingUnderTheNameOfTheProgram) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ExpectRefusal(-1);
        fs::create_directories("/opt/VeskaClient");
        WriteBytes("/opt/VeskaClient/bin", "");
        ExpectRefusal(-1);
        fs::remove("/opt/VeskaClient/bin");
        fs::create_directories("/opt/VeskaClient/bin/veskaclient");
        ExpectRefusal(-1);
    });
}

TEST(RefusalsTest, ProgramBehindAClosedDirectory) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        fs::create_directories(agentProgram);
        SetMode("/opt/VeskaClient", 0);
        ExpectRefusalWithoutRights(-1);
    });
}

// -2: no process has the agent's name.

// Runs a program under the path, and then the tool.
void ExpectRefusalBeside(std::string const& path, int code) {
    SCOPED_TRACE(path);
    fs::create_directories(fs::path(path).parent_path());
    fs::copy_file("/bin/sleep", path);
    OtherProgram process({path, "1000"});
    ExpectRefusal(code);
    fs::remove(path);
}

TEST(RefusalsTest, NameOfTheProcessIsComparedWhole) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        WriteBytes(ScriptedAgent::request, "");
        fs::create_directories(agentProgram);
        for (char const* const name :
             {"veskaclient", "VeskaClient2", "VeskaClien", "VeskaClient ", "xVeskaClient"})
            ExpectRefusalBeside(std::string("/opt/other/") + name, -2);
        // Deliberate: the name alone counts, wherever the program lies.
        ExpectRefusalBeside("/opt/other/VeskaClient", -5);
    });
}

// The link of its program ends in " (deleted)" then.
TEST(RefusalsTest, RunningAgentWhoseProgramHasBeenReplacedDoesNotCount) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent;
        fs::remove(agentProgram);
        WriteBytes(agentProgram, "the new program");
        ExpectRefusal(-2);
    });
}

// Becomes a process that is called like the agent but is another program.
bool TakeNameOfTheAgent() { return prctl(PR_SET_NAME, "VeskaClient") == 0; }

TEST(RefusalsTest, CommandNameDoesNotCountWhereTheProgramCanBeRead) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        fs::create_directories(agentProgram);
        OtherProcess other([](Handshake& line) {
            EXPECT_TRUE(TakeNameOfTheAgent());
            line.Tell();
            pause();
        });
        other.Await();
        ExpectRefusal(-2);
    });
}

TEST(RefusalsTest, CommandNameCountsWhereTheProgramCannotBeRead) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        fs::create_directories(agentProgram);
        ExpectRefusalWithoutRights(-2);
        WriteBytes(ScriptedAgent::request, "");
        OtherProcess other([](Handshake& line) {
            EXPECT_TRUE(TakeNameOfTheAgent());
            line.Tell();
            pause();
        });
        other.Await();
        ExpectRefusalWithoutRights(-5);
    });
}

TEST(RefusalsTest, AgentOfAnotherUserIsFound) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        WriteBytes(ScriptedAgent::request, "");
        ScriptedAgent agent;
        ExpectRefusalWithoutRights(-5);
    });
}

// The runtime of a sanitizer needs /proc itself.
#ifndef CC_ADDRESS_SANITIZER
TEST(RefusalsTest, MachineWithoutProcHasNoRunningAgent) {
    for (Proc const proc : {Proc::none, Proc::empty}) {
        PrivateMachine::Run({.proc = proc}, [] {
            CreateAgentDirectories();
            ScriptedAgent agent;
            ExpectRefusal(-2);
        });
    }
}

TEST(RefusalsTest, ProcessesAreTakenFromProcAsItStands) {
    PrivateMachine::Run({.proc = Proc::empty}, [] {
        CreateAgentDirectories();
        fs::create_directories(agentProgram);
        WriteBytes(ScriptedAgent::request, "");
        std::string const agent = "/any/place/VeskaClient";
        // A file, and names that are no numbers.
        WriteBytes("/proc/7", "");
        for (char const* const name : {"0", "self", "x8", "-"}) {
            fs::create_directory(std::string("/proc/") + name);
            fs::create_symlink(agent, std::string("/proc/") + name + "/exe");
        }
        ExpectRefusal(-2);
        // Deliberate: a program right below the root keeps its slash, and is another name.
        fs::create_directory("/proc/9");
        fs::create_symlink("/VeskaClient", "/proc/9/exe");
        ExpectRefusal(-2);
        fs::create_directory("/proc/10");
        fs::create_symlink(agent, "/proc/10/exe");
        ExpectRefusal(-5);
    });
}
#endif

// -5: a request waits.

TEST(RefusalsTest, AnyEntryUnderTheNameOfTheRequestCountsAsWaiting) {
    std::vector<Entry> entries = EntriesThatStat();
    for (Entry const& entry : BrokenLinks())
        entries.push_back(entry);
    for (Entry const& entry : entries) {
        SCOPED_TRACE(entry.name);
        PrivateMachine::Run([&] {
            CreateAgentDirectories();
            ScriptedAgent agent;
            entry.make(ScriptedAgent::request);
            ExpectRefusal(-5);
            EXPECT_EQ("lockfile request.xml ", ListDirectory(ScriptedAgent::requestDirectory));
        });
    }
}

TEST(RefusalsTest, WaitingRequestIsNeitherRemovedNorOverwritten) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent;
        WriteBytes(ScriptedAgent::request, "somebody's request");
        WriteBytes(ScriptedAgent::requestTemp, "somebody's half request");
        ExpectRefusal(-5);
        ExpectRefusal(-5, {"-d"});
        EXPECT_EQ("somebody's request", ReadBytes(ScriptedAgent::request));
        EXPECT_EQ("somebody's half request", ReadBytes(ScriptedAgent::requestTemp));
        EXPECT_EQ("", ListDirectory("/var/opt/VeskaClient/ResponseDir"));
    });
}

} // namespace
