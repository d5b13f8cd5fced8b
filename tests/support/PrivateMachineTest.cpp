#include "tests/support/PrivateMachine.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/OtherProcess.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using PrivateMachine::Proc;

std::string FileContent(std::string const& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string EffectiveCapabilities() {
    std::string const status = FileContent("/proc/self/status");
    return status.substr(status.find("CapEff:\t") + 8, 16);
}

TEST(PrivateMachineTest, HasEmptyPlacesForTheAgent) {
    PrivateMachine::Run([] {
        EXPECT_TRUE(fs::is_empty("/opt"));
        EXPECT_TRUE(fs::is_empty("/var/opt"));
        EXPECT_EQ(0u, geteuid());
    });
}

TEST(PrivateMachineTest, LeavesNothingOnTheHost) {
    PrivateMachine::Run([] {
        PrivateMachine::CreateAgentDirectories();
        PrivateMachine::InstallAgent();
        EXPECT_TRUE(fs::exists(PrivateMachine::agentProgram));
        std::ofstream("/opt/cc-private-machine-test") << "content";
    });
    EXPECT_FALSE(fs::exists("/opt/cc-private-machine-test"));
}

TEST(PrivateMachineTest, HidesMorePlacesOnRequest) {
    TemporaryDirectory directory;
    std::ofstream(directory / "file") << "content";
    PrivateMachine::Run({.emptyPlaces = {directory.path()}}, [&] {
        EXPECT_TRUE(fs::is_empty(directory.path()));
        std::ofstream(directory / "other") << "content";
    });
    EXPECT_TRUE(fs::exists(directory / "file"));
    EXPECT_FALSE(fs::exists(directory / "other"));
}

TEST(PrivateMachineTest, SeesItsOwnProcessesOnly) {
    PrivateMachine::Run([] {
        EXPECT_EQ(2, getpid());
        OtherProcess other([] { pause(); });
        std::string numbers;
        for (auto const& entry : fs::directory_iterator("/proc"))
            if (std::string const name = entry.path().filename(); std::isdigit(name[0]))
                numbers += name + ' ';
        EXPECT_EQ("1 2 3 ", numbers);
    });
}

TEST(PrivateMachineTest, CanHaveAnEmptyProcOrNone) {
    PrivateMachine::Run({.proc = Proc::empty}, [] {
        EXPECT_TRUE(fs::is_empty("/proc"));
        fs::create_directory("/proc/77");
    });
    PrivateMachine::Run({.proc = Proc::none}, [] {
        EXPECT_FALSE(fs::exists("/proc"));
        EXPECT_TRUE(fs::is_empty("/opt"));
        EXPECT_TRUE(fs::is_empty("/var/opt"));
        EXPECT_EQ("out\n", RunProgram({"/bin/sh", "-c", "echo out"}).output);
    });
}

TEST(PrivateMachineTest, BodyRunsProgramsAndProcesses) {
    PrivateMachine::Run([] {
        EXPECT_EQ("3\n", RunProgram({"/bin/sh", "-c", "echo $$"}).output);
        OtherProcess other([](Handshake& line) { line.Tell(std::to_string(getpid())); });
        EXPECT_EQ("4", other.Await());
        EXPECT_EQ(4, other.pid());
    });
}

TEST(PrivateMachineTest, EverythingTheBodyStartedIsKilled) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    PrivateMachine::Run([&] {
        if (fork() == 0) {
            std::signal(SIGTERM, SIG_IGN);
            setsid();
            if (fork() == 0)
                pause();
            pause();
        }
    });
    close(ends[1]);
    // The end comes when nobody holds the writing end any more.
    char byte = 0;
    EXPECT_EQ(0, read(ends[0], &byte, 1));
    close(ends[0]);
}

TEST(PrivateMachineTest, OrphansAreReaped) {
    PrivateMachine::Run([] {
        pid_t const child = fork();
        if (child == 0) {
            if (fork() == 0)
                usleep(1000);
            _exit(0);
        }
        EXPECT_EQ(child, waitpid(child, nullptr, 0));
        // The grandchild has the next number, and is gone for good once process 1 has reaped it.
        for (int i = 0; i < 5000 && kill(child + 1, 0) == 0; ++i)
            usleep(1000);
        EXPECT_EQ(-1, kill(child + 1, 0));
    });
}

TEST(PrivateMachineTest, RunsMoreThanOnceInOneTest) {
    for (int i = 0; i < 3; ++i)
        PrivateMachine::Run([] {
            EXPECT_FALSE(fs::exists("/opt/file"));
            std::ofstream("/opt/file") << "content";
        });
}

// A machine in a process of its own, so that gtest-spi sees what comes up the line from it. Where
// namespaces are forbidden the machine says so, and there is no failure to be seen.
std::string FailuresOfMachine(PrivateMachine::Options const& options, void (*body)()) {
    OtherProcess other([&] { PrivateMachine::Run(options, body); });
    testing::TestPartResultArray results;
    {
        testing::ScopedFakeTestPartResultReporter const listening(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        other.Wait();
    }
    std::string text;
    for (int i = 0; i < results.size(); ++i)
        text += std::string(results.GetTestPartResult(i).message()) + '|';
    return text;
}

bool Contains(std::string const& text, std::string const& part) {
    return text.find(part) != std::string::npos;
}

class PrivateMachineFailureTest : public testing::Test {
protected:
    void SetUp() override {
        PrivateMachine::Run([] {});
    }
};

TEST_F(PrivateMachineFailureTest, FailureOfTheBodyIsFailureOfTheTest) {
    EXPECT_EQ("Failed\nfirst|Failed\nsecond|", FailuresOfMachine({}, [] {
                  ADD_FAILURE() << "first";
                  FAIL() << "second";
              }));
    EXPECT_TRUE(Contains(FailuresOfMachine({}, [] { EXPECT_EQ(1, 2) << "words"; }), "words"));
}

TEST_F(PrivateMachineFailureTest, FailureOfProcessInTheMachineIsFailureOfTheTest) {
    EXPECT_EQ("Failed\ndeep|",
              FailuresOfMachine({}, [] { OtherProcess([] { ADD_FAILURE() << "deep"; }).Wait(); }));
}

TEST_F(PrivateMachineFailureTest, ExceptionThatLeavesTheBodyIsFailure) {
    EXPECT_TRUE(
        Contains(FailuresOfMachine({}, [] { throw std::runtime_error("thrown"); }), "thrown"));
}

TEST_F(PrivateMachineFailureTest, BodyThatDoesNotComeToItsEndIsFailure) {
    EXPECT_TRUE(
        Contains(FailuresOfMachine({}, [] { kill(getpid(), SIGKILL); }), "killed by signal 9"));
    EXPECT_TRUE(Contains(FailuresOfMachine({}, [] { _exit(5); }), "exited with 5"));
    EXPECT_TRUE(Contains(FailuresOfMachine({}, [] { _exit(0); }), "before its body was done"));
}

TEST_F(PrivateMachineFailureTest, BodyThatDoesNotEndIsKilledAndFailure) {
    PrivateMachine::Options const brief{.limit = std::chrono::milliseconds(50)};
    EXPECT_TRUE(Contains(FailuresOfMachine(brief, [] { pause(); }), "did not end in time"));
}

TEST_F(PrivateMachineFailureTest, PlaceThatDoesNotExistIsFailure) {
    EXPECT_TRUE(
        Contains(FailuresOfMachine({.emptyPlaces = {"/nonexistent"}}, [] {}), "/nonexistent"));
}

TEST(PrivateMachineTest, SkipOfTheBodyIsSkipOfTheTest) {
    OtherProcess other([] { PrivateMachine::Run([] { GTEST_SKIP() << "reason"; }); });
    testing::TestPartResultArray results;
    {
        testing::ScopedFakeTestPartResultReporter const listening(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        other.Wait();
    }
    ASSERT_EQ(1, results.size());
    EXPECT_TRUE(results.GetTestPartResult(0).skipped());
}

// What a host does that forbids namespaces: a process in a changed root may make no user namespace,
// and without rights no other one.
void CheckForbiddenNamespaces(bool onCI, testing::TestPartResult::Type expected) {
    PrivateMachine::Run({.proc = Proc::none}, [&] {
        if (onCI)
            setenv("CI", "true", 1);
        else
            unsetenv("CI");
        PrivateMachine::DropPrivileges();
        testing::TestPartResultArray results;
        {
            testing::ScopedFakeTestPartResultReporter const listening(
                testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
            PrivateMachine::Run([] {});
        }
        ASSERT_EQ(1, results.size());
        EXPECT_EQ(expected, results.GetTestPartResult(0).type());
        EXPECT_TRUE(Contains(results.GetTestPartResult(0).message(), "forbids the namespaces"));
    });
}

TEST(PrivateMachineTest, ForbiddenNamespacesSkipTheTest) {
    CheckForbiddenNamespaces(false, testing::TestPartResult::kSkip);
}

TEST(PrivateMachineTest, ForbiddenNamespacesFailTheTestOnContinuousIntegration) {
    CheckForbiddenNamespaces(true, testing::TestPartResult::kFatalFailure);
}

TEST(PrivateMachineTest, AgentDirectoriesAreOpenToEveryone) {
    PrivateMachine::Run([] {
        PrivateMachine::CreateAgentDirectories();
        for (char const* const directory :
             {"/var/opt/VeskaClient/RequestDir", "/var/opt/VeskaClient/ResponseDir"}) {
            EXPECT_TRUE(fs::is_empty(directory));
            EXPECT_EQ(fs::perms::all, fs::status(directory).permissions());
        }
    });
}

TEST(PrivateMachineTest, InstalledAgentRunsUnderItsName) {
    PrivateMachine::Run([] {
        PrivateMachine::InstallAgent();
        OtherProgram agent({PrivateMachine::agentProgram, "1000"});
        std::string const process = "/proc/" + std::to_string(agent.pid());
        EXPECT_EQ(PrivateMachine::agentProgram, fs::read_symlink(process + "/exe").string());
    });
}

TEST(PrivateMachineTest, DroppedPrivilegesAreGoneForGood) {
    PrivateMachine::Run([] {
        std::ofstream("/opt/file") << "content";
        fs::permissions("/opt/file", fs::perms(0444));
        fs::create_directory("/opt/closed");
        fs::permissions("/opt/closed", fs::perms(0555));
        EXPECT_NE("0000000000000000", EffectiveCapabilities());
        PrivateMachine::DropPrivileges();
        EXPECT_EQ("0000000000000000", EffectiveCapabilities());
        EXPECT_EQ(-1, open("/opt/file", O_WRONLY));
        EXPECT_EQ(EACCES, errno);
        EXPECT_EQ(-1, mkdir("/opt/closed/directory", 0777));
        EXPECT_EQ(EACCES, errno);
        auto const result = RunProgram({"/bin/sh", "-c",
                                        "grep CapEff /proc/self/status; "
                                        "echo > /opt/file"});
        EXPECT_EQ("CapEff:\t0000000000000000\n", result.output);
        EXPECT_NE(ExitStatus::Exited(0), result.status);
    });
}

TEST(PrivateMachineTest, DozensRunAtOnce) {
    std::vector<std::unique_ptr<OtherProcess>> machines;
    for (int i = 0; i < 36; ++i)
        machines.push_back(std::make_unique<OtherProcess>([i] {
            PrivateMachine::Run([i] {
                std::ofstream("/opt/mine") << i;
                usleep(1000);
                EXPECT_EQ(std::to_string(i), FileContent("/opt/mine"));
                EXPECT_EQ(2, getpid());
            });
        }));
    for (auto const& machine : machines)
        EXPECT_EQ(ExitStatus::Exited(0), machine->Wait());
}

} // namespace
