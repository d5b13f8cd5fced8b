#include "compliance/AgentPresence.h"

#include <cerrno>
#include <fstream>
#include <functional>

#include "tests/compliance/ExchangeFiles.h"
#include "tests/compliance/FakeProcess.h"
#include "tests/files/Entries.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/OtherProcess.h"

namespace {

namespace fs = std::filesystem;
using Sandbox::agentProgram;
using std::string;
using UnixPlatform::IsInstalled;
using UnixPlatform::IsRunning;

string const agentDirectory = fs::path(agentProgram).parent_path().string();

// Returns the result of the function for a user without privileges.
bool IsTrueForOtherUser(std::function<bool()> const& function) {
    OtherProcess other([&](Handshake& line) {
        Sandbox::DropPrivileges();
        line.Tell(function() ? "yes" : "no");
    });
    return other.Await() == "yes";
}

bool IsThere() { return IsInstalled() == 0; }

// Installed: 0 means yes.

SANDBOX_TEST(AgentPresenceTest, AnyEntryButADanglingLinkCountsAsInstalled) {
    EXPECT_EQ(-1, IsInstalled());
    fs::create_directories(agentDirectory);
    EXPECT_EQ(-1, IsInstalled());
    for (string const& kind : everyKind) {
        MakeEntry(agentProgram, kind);
        if (kind == "file")
            fs::permissions(agentProgram, fs::perms::none);
        EXPECT_EQ(kind == "dangling link" ? -1 : 0, IsInstalled()) << kind;
        EXPECT_EQ(kind != "dangling link", IsTrueForOtherUser(IsThere)) << kind;
        fs::remove_all(agentDirectory);
        fs::create_directories(agentDirectory);
    }
    fs::create_symlink(agentProgram, agentProgram);
    EXPECT_EQ(-1, IsInstalled()) << "a link to itself";
}

SANDBOX_TEST(AgentPresenceTest, UnreachableAgentIsNotInstalled) {
    Sandbox::InstallAgent();
    fs::permissions(agentDirectory, fs::perms(0600));
    EXPECT_EQ(0, IsInstalled());
    EXPECT_FALSE(IsTrueForOtherUser(IsThere));
    fs::remove_all(agentDirectory);
    std::ofstream(agentDirectory) << "not a directory";
    EXPECT_EQ(-1, IsInstalled());
}

// Running, with real processes.

// All searches run among many processes.
SANDBOX_TEST(AgentPresenceTest, IsRunningWhileItsProcessAndProgramFileExist) {
    Sandbox::InstallAgent();
    for (int i = 0; i < 200; ++i)
        if (fork() == 0) {
            pause();
            _exit(0);
        }
    long const open = CountOpenDescriptors();
    EXPECT_FALSE(IsRunning());
    EXPECT_EQ(open, CountOpenDescriptors());
    {
        OtherProgram const agent({agentProgram, "1000"});
        long const openNow = CountOpenDescriptors();
        EXPECT_TRUE(IsRunning());
        EXPECT_EQ(openNow, CountOpenDescriptors());
        EXPECT_TRUE(IsTrueForOtherUser(IsRunning));
        // Deliberate: the name now ends in " (deleted)".
        fs::remove(agentProgram);
        EXPECT_FALSE(IsRunning());
        Sandbox::InstallAgent();
    }
    EXPECT_FALSE(IsRunning());
}

bool IsRunningWith(string const& program) {
    fs::create_directories(fs::path(program).parent_path());
    fs::copy_file("/bin/sleep", program);
    OtherProgram const running({program, "1000"});
    return IsRunning();
}

SANDBOX_TEST(AgentPresenceTest, OnlyTheWholeNameMatches) {
    EXPECT_TRUE(IsRunningWith("/opt/elsewhere/VeskaClient"));
    for (string const name : {"VeskaClient/other", "a/veskaclient", "a/VESKACLIENT",
                              "a/VeskaClient2", "a/VeskaClien", "a/xVeskaClient"})
        EXPECT_FALSE(IsRunningWith("/opt/" + name)) << name;
}

SANDBOX_TEST_WITH(AgentPresenceTest, AgentIsNotRunningWithoutProc, noProc) {
    OtherProgram const agent(Sandbox::InstallIdleAgent());
    EXPECT_FALSE(IsRunning());
    EXPECT_TRUE(UnixPlatform::IsConfigured()) << "always configured";
}

// Resources.

SANDBOX_TEST(AgentPresenceTest, ReadErrorEndsTheSearchAndClosesTheDirectory) {
    OtherProgram const running(Sandbox::InstallIdleAgent());
    EXPECT_TRUE(IsRunning());
    long const before = CountOpenDescriptors();
    {
        SystemCalls system;
        system.Fail("readdir", EIO);
        EXPECT_FALSE(IsRunning());
    }
    EXPECT_EQ(before, CountOpenDescriptors());
}

// Stringy stores the paths of real processes in itself; only longer paths need an allocation.
TEST(AgentPresenceTest, SearchOfRealProcessesDoesNotAllocate) {
    Sandbox::Run([] { EXPECT_EQ(0U, AllocationsOf(IsRunning)); });
}

SANDBOX_TEST_WITH(AgentPresenceTest, ExhaustedMemoryThrowsAndClosesTheDirectory, emptyProc) {
    fs::create_directory("/proc/" + string(255, '1'));
    int const next = ExchangeFiles::NextDescriptor();
    {
        FailingAllocation const failing(1);
        EXPECT_THROW(IsRunning(), std::bad_alloc);
    }
    EXPECT_EQ(next, ExchangeFiles::NextDescriptor());
}

} // namespace
