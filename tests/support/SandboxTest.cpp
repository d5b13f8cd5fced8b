#include "tests/support/Sandbox.h"

#include <csignal>
#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "tests/support/OtherProcess.h"
#include "tests/support/ReportedResults.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using Sandbox::Proc;
using testing::HasSubstr;

TEST(SandboxTest, HidesDirectoriesAndLeavesNothingOnTheHost) {
    TemporaryDirectory directory;
    std::ofstream(directory / "file") << "content";
    Sandbox::Run({.emptyPlaces = {directory.path()}}, [&] {
        EXPECT_EQ(0u, geteuid());
        for (std::string const& place :
             {std::string("/opt"), std::string("/var/opt"), directory.path()}) {
            EXPECT_TRUE(fs::is_empty(place)) << place;
            std::ofstream(place + "/cc-sandbox-test") << "content";
        }
    });
    EXPECT_TRUE(fs::exists(directory / "file"));
    EXPECT_FALSE(fs::exists(directory / "cc-sandbox-test"));
    EXPECT_FALSE(fs::exists("/opt/cc-sandbox-test"));
    EXPECT_FALSE(fs::exists("/var/opt/cc-sandbox-test"));
}

TEST(SandboxTest, HasTheUsualUmask) {
    mode_t const former = umask(077);
    Sandbox::Run([] { EXPECT_EQ(022u, umask(0)); });
    EXPECT_EQ(077u, umask(former));
}

SANDBOX_TEST(SandboxTest, SeesOnlyItsOwnProcesses) {
    EXPECT_EQ(2, getpid());
    OtherProcess other([] { pause(); });
    EXPECT_EQ(3, other.pid());
    std::string numbers;
    for (auto const& entry : fs::directory_iterator("/proc"))
        if (std::string const name = entry.path().filename(); std::isdigit(name[0]))
            numbers += name + ' ';
    EXPECT_EQ("1 2 3 ", numbers);
}

TEST(SandboxTest, CanHaveAnEmptyProcOrNone) {
    Sandbox::Run({.proc = Proc::empty}, [] {
        EXPECT_TRUE(fs::is_empty("/proc"));
        fs::create_directory("/proc/77");
    });
    Sandbox::Run({.proc = Proc::none}, [] {
        EXPECT_FALSE(fs::exists("/proc"));
        EXPECT_TRUE(fs::is_empty("/opt"));
        EXPECT_TRUE(fs::is_empty("/var/opt"));
        EXPECT_EQ("out\n", RunProgram({"/bin/sh", "-c", "echo out"}).output);
    });
}

TEST(SandboxTest, KillsAllProcessesOfTheBody) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    Sandbox::Run([&] {
        if (fork() == 0) {
            std::signal(SIGTERM, SIG_IGN);
            setsid();
            if (fork() == 0)
                pause();
            pause();
        }
    });
    close(ends[1]);
    // The pipe ends when no process has its writing end open.
    char byte = 0;
    EXPECT_EQ(0, read(ends[0], &byte, 1));
    close(ends[0]);
}

SANDBOX_TEST(SandboxTest, ReapsOrphans) {
    pid_t const child = fork();
    if (child == 0) {
        if (fork() == 0)
            usleep(1000);
        _exit(0);
    }
    EXPECT_EQ(child, waitpid(child, nullptr, 0));
    // The grandchild has the next id, and disappears once process 1 has reaped it.
    for (int i = 0; i < 5000 && kill(child + 1, 0) == 0; ++i)
        usleep(1000);
    EXPECT_EQ(-1, kill(child + 1, 0));
}

// In its own process, which forwards all its failures.
std::string FailuresOfSandbox(Sandbox::Options const& options, void (*body)()) {
    OtherProcess other([&] { Sandbox::Run(options, body); });
    return ReportedMessages([&] { other.Wait(); });
}

TEST(SandboxTest, FailsIfBodyFailsOrDoesNotEnd) {
    // Skips the test where namespaces are forbidden.
    Sandbox::Run([] {});
    if (IsSkipped())
        return;
    EXPECT_EQ("Failed\nfirst|Failed\nsecond|Failed\ndeep|", FailuresOfSandbox({}, [] {
                  ADD_FAILURE() << "first";
                  ADD_FAILURE() << "second";
                  OtherProcess([] { FAIL() << "deep"; }).Wait();
              }));
    EXPECT_THAT(FailuresOfSandbox({}, [] { throw std::runtime_error("thrown"); }),
                HasSubstr("thrown"));
    EXPECT_THAT(FailuresOfSandbox({}, [] { kill(getpid(), SIGKILL); }),
                HasSubstr("killed by signal 9"));
    EXPECT_THAT(FailuresOfSandbox({}, [] { _exit(5); }), HasSubstr("exited with 5"));
    EXPECT_THAT(FailuresOfSandbox({}, [] { _exit(0); }), HasSubstr("before its body"));
    EXPECT_THAT(FailuresOfSandbox({.limit = std::chrono::milliseconds(50)}, [] { pause(); }),
                HasSubstr("killed after the timeout"));
    EXPECT_THAT(FailuresOfSandbox({.emptyPlaces = {"/nonexistent"}}, [] {}),
                HasSubstr("/nonexistent"));
}

TEST(SandboxTest, SkipInTheBodySkipsTheTest) {
    OtherProcess other([] { Sandbox::Run([] { GTEST_SKIP() << "reason"; }); });
    auto const results = ReportedResults([&] { other.Wait(); });
    ASSERT_EQ(1u, results.size());
    EXPECT_TRUE(results[0].skipped());
}

// As on a host that forbids namespaces: a process in a changed root cannot create a user namespace,
// and without privileges no other one.
TEST(SandboxTest, ForbiddenNamespacesSkipTheTestOrFailItWithCI) {
    for (char const* const ci : {"", "true"})
        Sandbox::Run({.proc = Proc::none}, [ci] {
            setenv("CI", ci, 1);
            Sandbox::DropPrivileges();
            auto const results = ReportedResults([] { Sandbox::Run([] {}); });
            ASSERT_EQ(1u, results.size());
            EXPECT_EQ(*ci ? testing::TestPartResult::kFatalFailure : testing::TestPartResult::kSkip,
                      results[0].type());
            EXPECT_THAT(results[0].message(), HasSubstr("forbids the namespaces"));
        });
}

SANDBOX_TEST(SandboxTest, HasDirectoriesForEveryoneAndTheAgent) {
    for (char const* const directory :
         {"/var/opt/VeskaClient/RequestDir", "/var/opt/VeskaClient/ResponseDir"}) {
        EXPECT_TRUE(fs::is_empty(directory));
        EXPECT_EQ(fs::perms::all, fs::status(directory).permissions());
    }
    OtherProgram const agent(Sandbox::InstallIdleAgent());
    EXPECT_EQ(Sandbox::agentProgram,
              fs::read_symlink("/proc/" + std::to_string(agent.pid()) + "/exe").string());
}

std::string CapabilitiesOfPrograms() {
    return RunProgram({"/bin/grep", "CapEff", "/proc/self/status"}).output;
}

SANDBOX_TEST(SandboxTest, DroppedPrivilegesCannotBeRegained) {
    std::ofstream("/opt/file") << "content";
    fs::permissions("/opt/file", fs::perms(0444));
    fs::create_directory("/opt/closed");
    fs::permissions("/opt/closed", fs::perms(0555));
    EXPECT_NE("CapEff:\t0000000000000000\n", CapabilitiesOfPrograms());
    Sandbox::DropPrivileges();
    EXPECT_EQ("CapEff:\t0000000000000000\n", CapabilitiesOfPrograms());
    EXPECT_EQ(-1, open("/opt/file", O_WRONLY));
    EXPECT_EQ(EACCES, errno);
    EXPECT_EQ(-1, mkdir("/opt/closed/directory", 0777));
    EXPECT_EQ(EACCES, errno);
    EXPECT_NE(ExitStatus::Exited(0), RunProgram({"/bin/sh", "-c", "echo > /opt/file"}).status);
}

} // namespace
