#include "compliance/AgentPresence.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/compliance/FakeProcess.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"

namespace {

namespace fs = std::filesystem;
using PrivateMachine::agentProgram;
using PrivateMachine::Proc;
using std::string;
using UnixPlatform::IsInstalled;
using UnixPlatform::IsRunning;

string AgentDirectory() { return fs::path(agentProgram).parent_path().string(); }

// What a user without any rights gets.
int IsInstalledForOtherUser() {
    OtherProcess other([](Handshake& line) {
        PrivateMachine::DropPrivileges();
        line.Tell(std::to_string(IsInstalled()));
    });
    return std::stoi(other.Await());
}

bool IsRunningForOtherUser() {
    OtherProcess other([](Handshake& line) {
        PrivateMachine::DropPrivileges();
        line.Tell(IsRunning() ? "yes" : "no");
    });
    return other.Await() == "yes";
}

// Installed: a good answer is 0

SANDBOX_TEST(AgentPresenceTest, MissingAgentIsNotInstalled) {
    EXPECT_EQ(-1, IsInstalled());
    fs::create_directories(AgentDirectory());
    EXPECT_EQ(-1, IsInstalled());
}

SANDBOX_TEST(AgentPresenceTest, AnythingUnderTheNameCountsAsInstalled) {
    PrivateMachine::InstallAgent();
    EXPECT_EQ(0, IsInstalled());
    fs::permissions(agentProgram, fs::perms::none);
    EXPECT_EQ(0, IsInstalled());
    EXPECT_EQ(0, IsInstalledForOtherUser());
    fs::remove(agentProgram);
    fs::create_directory(agentProgram);
    EXPECT_EQ(0, IsInstalled());
    fs::remove(agentProgram);
    ASSERT_EQ(0, mkfifo(agentProgram, 0));
    EXPECT_EQ(0, IsInstalled());
    fs::remove(agentProgram);
    fs::create_symlink("/bin/sh", agentProgram);
    EXPECT_EQ(0, IsInstalled());
}

SANDBOX_TEST(AgentPresenceTest, BrokenLinkIsNotInstalled) {
    fs::create_directories(AgentDirectory());
    fs::create_symlink("nowhere", agentProgram);
    EXPECT_EQ(-1, IsInstalled());
    fs::remove(agentProgram);
    fs::create_symlink(agentProgram, agentProgram);
    EXPECT_EQ(-1, IsInstalled());
}

TEST(AgentPresenceTest, AgentOutOfReachIsNotInstalled) {
    PrivateMachine::Run([] {
        PrivateMachine::InstallAgent();
        fs::permissions(AgentDirectory(), fs::perms(0600));
        EXPECT_EQ(0, IsInstalled());
        EXPECT_EQ(-1, IsInstalledForOtherUser());
    });
    PrivateMachine::Run([] {
        fs::create_directories("/opt/VeskaClient");
        std::ofstream(AgentDirectory()) << "a file in the way";
        EXPECT_EQ(-1, IsInstalled());
    });
}

// Running, with real processes

SANDBOX_TEST(AgentPresenceTest, RunsFromItsStartToItsEnd) {
    PrivateMachine::InstallAgent();
    EXPECT_FALSE(IsRunning());
    {
        OtherProgram const agent({agentProgram, "1000"});
        EXPECT_TRUE(IsRunning());
        EXPECT_TRUE(IsRunningForOtherUser());
    }
    EXPECT_FALSE(IsRunning());
}

// A program of the given name, wherever it stands.
bool IsRunningWith(string const& program) {
    fs::create_directories(fs::path(program).parent_path());
    fs::copy_file("/bin/sleep", program);
    OtherProgram const running({program, "1000"});
    return IsRunning();
}

SANDBOX_TEST(AgentPresenceTest, OnlyTheWholeNameCounts) {
    EXPECT_TRUE(IsRunningWith("/opt/elsewhere/VeskaClient"));
    EXPECT_FALSE(IsRunningWith("/opt/VeskaClient/other"));
    EXPECT_FALSE(IsRunningWith("/opt/a/veskaclient"));
    EXPECT_FALSE(IsRunningWith("/opt/a/VESKACLIENT"));
    EXPECT_FALSE(IsRunningWith("/opt/a/VeskaClient2"));
    EXPECT_FALSE(IsRunningWith("/opt/a/VeskaClien"));
    EXPECT_FALSE(IsRunningWith("/opt/a/xVeskaClient"));
}

// Deliberate: the link now ends in " (deleted)".
SANDBOX_TEST(AgentPresenceTest, AgentWhoseFileWasRemovedDoesNotCount) {
    PrivateMachine::InstallAgent();
    OtherProgram const agent({agentProgram, "1000"});
    fs::remove(agentProgram);
    EXPECT_FALSE(IsRunning());
}

bool IsRunningForOtherUserWith(char const* commandName) {
    OtherProcess process([&](Handshake& line) {
        prctl(PR_SET_NAME, commandName);
        line.Tell("renamed");
        line.Await();
        prctl(PR_SET_DUMPABLE, 0);
        line.Tell("closed");
        line.Await();
    });
    process.Await();
    // Who may read the link sees the program of this test.
    EXPECT_FALSE(IsRunning());
    process.Tell();
    process.Await();
    return IsRunningForOtherUser();
}

SANDBOX_TEST(AgentPresenceTest, OtherUserGoesByTheCommandName) {
    EXPECT_TRUE(IsRunningForOtherUserWith("VeskaClient"));
    EXPECT_FALSE(IsRunningForOtherUserWith("VeskaClient2"));
    EXPECT_FALSE(IsRunningForOtherUserWith("(VeskaClient)"));
    // Deliberate: a ")" ends the name.
    EXPECT_TRUE(IsRunningForOtherUserWith("VeskaClient)2"));
}

SANDBOX_TEST(AgentPresenceTest, ZombieOfTheNameCounts) {
    pid_t const child = fork();
    if (child == 0) {
        prctl(PR_SET_NAME, "VeskaClient");
        _exit(0);
    }
    siginfo_t info{};
    ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT));
    EXPECT_TRUE(IsRunning());
    ASSERT_EQ(child, waitpid(child, nullptr, 0));
    EXPECT_FALSE(IsRunning());
}

SANDBOX_TEST(AgentPresenceTest, IsFoundAmongManyProcesses) {
    PrivateMachine::InstallAgent();
    for (int i = 0; i < 200; ++i)
        if (fork() == 0) {
            pause();
            _exit(0);
        }
    EXPECT_FALSE(IsRunning());
    OtherProgram const agent({agentProgram, "1000"});
    EXPECT_TRUE(IsRunning());
}

// Running, with a /proc made of files

TEST(AgentPresenceTest, WithoutProcNothingRuns) {
    PrivateMachine::Run({.proc = Proc::none}, [] {
        PrivateMachine::InstallAgent();
        OtherProgram const agent({agentProgram, "1000"});
        EXPECT_FALSE(IsRunning());
    });
    PrivateMachine::Run({.proc = Proc::empty}, [] { EXPECT_FALSE(IsRunning()); });
}

bool IsRunningAs(string const& directory, FakeProcess const& process) {
    MakeFakeProcess(directory, process);
    bool const answer = IsRunning();
    fs::remove_all("/proc/" + directory);
    return answer;
}

FakeProcess const fakeAgent{.exe = agentProgram};

TEST(AgentPresenceTest, EntriesThatDoNotBeginWithNumberAreLeftOut) {
    PrivateMachine::Run({.proc = Proc::empty}, [] {
        EXPECT_TRUE(IsRunningAs("1", fakeAgent));
        EXPECT_FALSE(IsRunningAs("self", fakeAgent));
        EXPECT_FALSE(IsRunningAs("x1", fakeAgent));
        EXPECT_FALSE(IsRunningAs("0", fakeAgent));
        EXPECT_FALSE(IsRunningAs("-0", fakeAgent));
        // The number 0 is left out also where it is the name of the agent's process.
        MakeFakeProcess("0", fakeAgent);
        EXPECT_FALSE(IsRunningAs("00", {}));
        EXPECT_FALSE(IsRunningAs("self", {}));
        EXPECT_FALSE(IsRunningAs("0x1", {}));
    });
}

// Deliberate: the number in front is the process, cut to 32 bits; the rest of the entry is not
// used.
SANDBOX_TEST_WITH(AgentPresenceTest, OddEntriesLeadToTheProcessOfTheirNumber, emptyProc) {
    // Process 0 is never looked at under its own entry, so only the odd one can lead there.
    MakeFakeProcess("0", fakeAgent);
    EXPECT_FALSE(IsRunning());
    EXPECT_TRUE(IsRunningAs("4294967296", {}));
    EXPECT_TRUE(IsRunningAs("8589934592 and more", {}));
    EXPECT_TRUE(IsRunningAs(" 4294967296", {}));
    EXPECT_TRUE(IsRunningAs("-4294967296", {}));
    EXPECT_FALSE(IsRunningAs("4294967297", {}));
    fs::remove_all("/proc/0");
    EXPECT_FALSE(IsRunningAs("12abc", fakeAgent));
    EXPECT_FALSE(IsRunningAs(string(255, '9'), fakeAgent));
}

SANDBOX_TEST_WITH(AgentPresenceTest, OnlyDirectoriesCountAndLinksToThem, emptyProc) {
    std::ofstream("/proc/77") << "a file";
    fs::create_symlink("nowhere", "/proc/78");
    EXPECT_FALSE(IsRunning());
    MakeFakeProcess("hidden", fakeAgent);
    EXPECT_FALSE(IsRunning());
    fs::create_directory_symlink("hidden", "/proc/79");
    EXPECT_TRUE(IsRunning());
    fs::remove("/proc/79");
    // The number of this file leads to process 0, which is never looked at for itself.
    MakeFakeProcess("0", fakeAgent);
    std::ofstream("/proc/4294967296") << "a file";
    EXPECT_FALSE(IsRunning());
    fs::remove("/proc/4294967296");
    EXPECT_TRUE(IsRunningAs("4294967296", {}));
}

SANDBOX_TEST_WITH(AgentPresenceTest, ProcessesWithoutUsableNameAreSkipped, emptyProc) {
    MakeFakeProcess("1", {});
    MakeFakeProcess("2", {.stat = "2 () S"});
    MakeFakeProcess("3", {.exe = "/VeskaClient"});
    MakeFakeProcess("4", {.exe = string(1024, 'n')});
    MakeFakeProcess("5", {.exe = "a/"});
    EXPECT_FALSE(IsRunning());
    EXPECT_TRUE(IsRunningAs("6", {.stat = "6 (VeskaClient) S"}));
    EXPECT_TRUE(IsRunningAs("6", {.exe = "VeskaClient"}));
}

// Resources

SANDBOX_TEST(AgentPresenceTest, NoDescriptorStaysOpen) {
    long const before = CountOpenDescriptors();
    EXPECT_FALSE(IsRunning());
    EXPECT_EQ(before, CountOpenDescriptors());
    PrivateMachine::InstallAgent();
    OtherProgram const running({agentProgram, "1000"});
    long const beforeMatch = CountOpenDescriptors();
    EXPECT_TRUE(IsRunning());
    EXPECT_EQ(beforeMatch, CountOpenDescriptors());
}

SANDBOX_TEST(AgentPresenceTest, UnreadableListEndsTheSearchAndIsClosed) {
    PrivateMachine::InstallAgent();
    OtherProgram const running({agentProgram, "1000"});
    EXPECT_TRUE(IsRunning());
    long const before = CountOpenDescriptors();
    {
        SystemCalls system;
        system.Fail("readdir", EIO);
        EXPECT_FALSE(IsRunning());
        EXPECT_EQ(1u, system.Count("readdir"));
    }
    EXPECT_EQ(before, CountOpenDescriptors());
}

SANDBOX_TEST(AgentPresenceTest, WithoutFreeDescriptorNothingRuns) {
    PrivateMachine::InstallAgent();
    OtherProgram const running({agentProgram, "1000"});
    int const next = open("/dev/null", O_RDONLY);
    close(next);
    rlimit usual{};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &usual));
    rlimit const full{static_cast<rlim_t>(next), usual.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &full));
    EXPECT_FALSE(IsRunning());
    ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &usual));
    EXPECT_TRUE(IsRunning());
}

SANDBOX_TEST_WITH(AgentPresenceTest, ExhaustedMemoryLeavesAndClosesTheDirectory, emptyProc) {
    fs::create_directory("/proc/" + string(255, '1'));
    int const next = open("/dev/null", O_RDONLY);
    close(next);
    {
        FailingAllocation const failing(1);
        EXPECT_THROW(IsRunning(), std::bad_alloc);
    }
    int const nextAfter = open("/dev/null", O_RDONLY);
    close(nextAfter);
    EXPECT_EQ(next, nextAfter);
}

// Names of usual length are put together inside the object, on the stack.
TEST(AgentPresenceTest, WalkDoesNotAllocate) {
    PrivateMachine::Run([] { EXPECT_EQ(0u, AllocationsOf([] { IsRunning(); })); });
}

// Configured

TEST(AgentPresenceTest, IsAlwaysConfigured) {
    EXPECT_TRUE(UnixPlatform::IsConfigured());
    PrivateMachine::Run({.proc = Proc::none}, [] { EXPECT_TRUE(UnixPlatform::IsConfigured()); });
}

} // namespace
