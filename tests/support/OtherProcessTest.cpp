#include "tests/support/OtherProcess.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/Sanitizers.h"

namespace {

using std::chrono::milliseconds;

TEST(OtherProcessTest, BodyRunsInProcessOfItsOwn) {
    int here = 0;
    pid_t const parent = getpid();
    OtherProcess other([&] {
        here = 1;
        EXPECT_EQ(parent, getppid());
    });
    EXPECT_NE(getpid(), other.pid());
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    EXPECT_EQ(0, here);
}

TEST(OtherProcessTest, TellsHowTheProcessEnded) {
    EXPECT_EQ(ExitStatus::Exited(42), OtherProcess([] { std::exit(42); }).Wait());
    OtherProcess killed([] { pause(); });
    killed.Kill(SIGKILL);
    EXPECT_EQ(ExitStatus::Killed(SIGKILL), killed.Wait());
}

TEST(OtherProcessTest, MessagesKeepOrderAndBordersBothWays) {
    OtherProcess echo([](Handshake& line) {
        for (int i = 0; i < 3; ++i)
            line.Tell(std::string("<").append(line.Await()).append(">"));
    });
    echo.Tell("a");
    echo.Tell("bc");
    echo.Tell();
    EXPECT_EQ("<a>", echo.Await());
    EXPECT_EQ("<bc>", echo.Await());
    EXPECT_EQ("<go>", echo.Await());
    EXPECT_EQ(ExitStatus::Exited(0), echo.Wait());
}

TEST(OtherProcessTest, WaitingForProcessThatIsGoneOrSilentThrows) {
    EXPECT_THROW(OtherProcess([] {}).Await(), std::runtime_error);
    EXPECT_THROW(OtherProcess([] { pause(); }).Await(milliseconds(10)), std::runtime_error);
    EXPECT_THROW(OtherProcess([] { pause(); }).Wait(milliseconds(10)), std::runtime_error);
}

TEST(OtherProcessTest, DestructorLeavesNoProcessBehind) {
    pid_t pid = 0;
    {
        OtherProcess other([] { pause(); });
        pid = other.pid();
        EXPECT_EQ(0, kill(pid, 0));
    }
    EXPECT_EQ(-1, kill(pid, 0));
    EXPECT_EQ(ESRCH, errno);
}

// The process is forked before gtest-spi listens, so what is caught there has come up the line.
TEST(OtherProcessTest, FailureOfTheBodyIsFailureOfTheTest) {
    OtherProcess other([] { EXPECT_EQ(1, 2) << "the words of the check"; });
    EXPECT_NONFATAL_FAILURE(other.Wait(), "the words of the check");
}

TEST(OtherProcessTest, FatalFailureStaysFatal) {
    static OtherProcess* other = nullptr;
    OtherProcess asserting([] {
        ASSERT_TRUE(false) << "the words of the check";
        std::exit(7);
    });
    other = &asserting;
    EXPECT_FATAL_FAILURE(EXPECT_EQ(ExitStatus::Exited(0), other->Wait()), "the words of the check");
}

TEST(OtherProcessTest, FailureKeepsFileAndLine) {
    OtherProcess other([] { ADD_FAILURE_AT("some/File.cpp", 4711) << "here"; });
    testing::TestPartResultArray results;
    {
        testing::ScopedFakeTestPartResultReporter const listening(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        other.Wait();
    }
    ASSERT_EQ(1, results.size());
    EXPECT_STREQ("some/File.cpp", results.GetTestPartResult(0).file_name());
    EXPECT_EQ(4711, results.GetTestPartResult(0).line_number());
    EXPECT_STREQ("Failed\nhere", results.GetTestPartResult(0).message());
}

TEST(OtherProcessTest, ExceptionThatLeavesTheBodyIsFailure) {
    OtherProcess other([] { throw std::runtime_error("out of the body"); });
    EXPECT_NONFATAL_FAILURE(other.Wait(), "out of the body");
    OtherProcess odd([] { throw 1; });
    EXPECT_NONFATAL_FAILURE(odd.Wait(), "no std::exception");
}

TEST(OtherProcessTest, FailureTwoProcessesDeepComesUp) {
    OtherProcess other([] { OtherProcess([] { ADD_FAILURE() << "deep down"; }).Wait(); });
    EXPECT_NONFATAL_FAILURE(other.Wait(), "deep down");
}

TEST(OtherProcessTest, BodyWithManyFailuresNeitherBlocksNorPasses) {
    OtherProcess other([] {
        for (int i = 0; i < 3000; ++i)
            ADD_FAILURE() << std::string(1000, 'x');
    });
    testing::TestPartResultArray results;
    {
        testing::ScopedFakeTestPartResultReporter const listening(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    }
    EXPECT_LT(0, results.size());
}

#ifdef CC_ADDRESS_SANITIZER
TEST(OtherProcessTest, MemoryLostInTheBodyIsFailure) {
    OtherProcess other([] {
        // Volatile, since a compiler leaves out memory that nobody looks at.
        static void* volatile latest;
        for (int i = 0; i < 100; ++i) {
            latest = std::malloc(1000);
            ASSERT_NE(nullptr, latest);
        }
    });
    EXPECT_NONFATAL_FAILURE(other.Wait(), "lost memory");
}
#endif

TEST(OtherProgramTest, CapturesBothOutputsAndStatus) {
    auto const result = RunProgram({"/bin/sh", "-c", "echo out; echo err >&2; exit 3"});
    EXPECT_EQ(ExitStatus::Exited(3), result.status);
    EXPECT_EQ("out\n", result.output);
    EXPECT_EQ("err\n", result.errors);
}

TEST(OtherProgramTest, MuchOutputDoesNotBlock) {
    auto const result = RunProgram({"/bin/sh", "-c", "head -c 1000000 /dev/zero; exit 0"});
    EXPECT_EQ(1000000u, result.output.size());
}

TEST(OtherProgramTest, ReadsItsInputAndNothingOfTheTest) {
    EXPECT_EQ("given", RunProgram({"/bin/cat"}, {.input = "given"}).output);
    EXPECT_EQ("", RunProgram({"/bin/cat"}).output);
}

TEST(OtherProgramTest, StartsAsTheOptionsSay) {
    ProgramOptions options;
    options.environment = {{"ONLY=this"}};
    options.workingDirectory = "/usr";
    options.limits = {{RLIMIT_NOFILE, 17}};
    options.prepare = [] {
        umask(0123);
        return true;
    };
    auto const result =
        RunProgram({"/bin/sh", "-c", "echo $ONLY$HOME; pwd; ulimit -n; umask"}, options);
    EXPECT_EQ("this\n/usr\n17\n0123\n", result.output);
}

TEST(OtherProgramTest, ClosedDescriptorsAreClosedAndNoOtherIsOpen) {
    // ls opens the directory itself, as the lowest that is free.
    EXPECT_EQ("0\n1\n2\n3\n", RunProgram({"/bin/ls", "/proc/self/fd"}).output);
    EXPECT_EQ("0\n1\n2\n",
              RunProgram({"/bin/ls", "/proc/self/fd"}, {.closedDescriptors = {0}}).output);
    EXPECT_EQ("", RunProgram({"/bin/ls", "/proc/self/fd"}, {.closedDescriptors = {1}}).output);
}

TEST(OtherProgramTest, ProgramThatCannotStartThrows) {
    EXPECT_THROW(RunProgram({"/nonexistent/program"}), std::system_error);
    ProgramOptions refusing;
    refusing.prepare = [] {
        return false;
    };
    EXPECT_THROW(RunProgram({"/bin/true"}, refusing), std::system_error);
    refusing.prepare = []() -> bool {
        throw std::runtime_error("no");
    };
    EXPECT_THROW(RunProgram({"/bin/true"}, refusing), std::system_error);
}

TEST(OtherProgramTest, OutputCanBeReadWhileItRuns) {
    OtherProgram program({"/bin/sh", "-c", "echo early; exec sleep 1000"});
    while (program.Output().empty())
        usleep(1000);
    EXPECT_EQ("early\n", program.Output());
    EXPECT_TRUE(program.IsRunning());
    program.Kill(SIGTERM);
    EXPECT_EQ(ExitStatus::Killed(SIGTERM), program.Wait().status);
    EXPECT_FALSE(program.IsRunning());
}

TEST(OtherProgramTest, ProgramThatDoesNotEndIsKilled) {
    OtherProgram program({"/bin/sleep", "1000"});
    EXPECT_THROW(program.Wait(milliseconds(10)), std::runtime_error);
    EXPECT_EQ(-1, kill(program.pid(), 0));
}

} // namespace
