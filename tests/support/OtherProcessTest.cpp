#include "tests/support/OtherProcess.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <stdexcept>

#include <sys/ptrace.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/ReportedResults.h"
#include "tests/support/Sandbox.h"
#include "tests/support/Sanitizers.h"

namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;

std::chrono::nanoseconds ThreadProcessorTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

TEST(OtherProcessTest, BodyRunsInProcessOfItsOwn) {
    int here = 0;
    OtherProcess other([&, parent = getpid()] {
        here = 1;
        EXPECT_EQ(parent, getppid());
    });
    EXPECT_NE(getpid(), other.pid());
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    EXPECT_EQ(0, here);
}

TEST(OtherProcessTest, ReportsHowTheProcessEnded) {
    EXPECT_EQ(ExitStatus::Exited(42), OtherProcess([] { std::exit(42); }).Wait());
    OtherProcess killed([] { pause(); });
    killed.Kill(SIGKILL);
    EXPECT_EQ(ExitStatus::Killed(SIGKILL), killed.Wait());
}

TEST(OtherProcessTest, MessagesKeepOrderAndBoundariesBothWays) {
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
}

TEST(OtherProcessTest, ThrowsIfProcessHasEndedOrSendsNothing) {
    EXPECT_THROW(OtherProcess([] {}).Await(), std::runtime_error);
    EXPECT_THROW(OtherProcess([] { pause(); }).Await(milliseconds(10)), std::runtime_error);
    EXPECT_THROW(OtherProcess([] { pause(); }).Wait(milliseconds(10)), std::runtime_error);
}

TEST(OtherProcessTest, DestructorLeavesNoProcessBehind) {
    pid_t const pid = OtherProcess([] { pause(); }).pid();
    EXPECT_EQ(-1, kill(pid, 0));
    EXPECT_EQ(ESRCH, errno);
}

// In a sandbox, because a defect would end all processes of the user.
TEST(OtherProcessTest, FailedStartKillsNoProcess) {
#ifdef CC_ADDRESS_SANITIZER
    GTEST_SKIP() << "the runtime of the sanitizers needs file descriptors";
#endif
    Sandbox::Run([] {
        OtherProgram bystander({"/bin/sleep", "1000"});
        rlimit former{};
        getrlimit(RLIMIT_NOFILE, &former);
        rlimit const none{0, former.rlim_max};
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
        EXPECT_THROW(OtherProcess([] {}), std::system_error);
        EXPECT_THROW(OtherProgram({"/bin/true"}), std::system_error);
        setrlimit(RLIMIT_NOFILE, &former);
        EXPECT_EQ(0, kill(bystander.pid(), 0));
    });
}

// The failures of a body, in the process that waits for it.
std::vector<testing::TestPartResult> ResultsOfBody(void (*body)()) {
    OtherProcess other(body);
    return ReportedResults([&] { EXPECT_EQ(ExitStatus::Exited(0), other.Wait()); });
}

void FailTwice() {
    ADD_FAILURE_AT("some/File.cpp", 4711) << "here";
    FAIL() << "fatal";
}

TEST(OtherProcessTest, ForwardsFailuresUnchanged) {
    auto const results = ResultsOfBody(FailTwice);
    auto const here = ReportedResults(FailTwice);
    ASSERT_EQ(2u, here.size());
    ASSERT_EQ(here.size(), results.size());
    for (size_t i = 0; i < here.size(); ++i) {
        EXPECT_STREQ(here[i].file_name(), results[i].file_name());
        EXPECT_EQ(here[i].line_number(), results[i].line_number());
        EXPECT_STREQ(here[i].message(), results[i].message());
        EXPECT_EQ(here[i].type(), results[i].type());
    }
    EXPECT_EQ(4711, results[0].line_number());
    EXPECT_THAT(results[0].message(), HasSubstr("here"));
}

TEST(OtherProcessTest, ForwardsFailureOfNestedProcessOnce) {
    auto const results =
        ResultsOfBody([] { OtherProcess([] { ADD_FAILURE() << "deep down"; }).Wait(); });
    ASSERT_EQ(1u, results.size());
    EXPECT_THAT(results[0].message(), HasSubstr("deep down"));
}

TEST(OtherProcessTest, ExceptionOfTheBodyIsAFailure) {
    EXPECT_THAT(ResultsOfBody([] { throw std::runtime_error("out of the body"); }).at(0).message(),
                HasSubstr("out of the body"));
    EXPECT_THAT(ResultsOfBody([] { throw 1; }).at(0).message(), HasSubstr("not a std::exception"));
}

TEST(OtherProcessTest, ManyFailuresNeitherBlockNorPass) {
    EXPECT_FALSE(ResultsOfBody([] {
                     for (int i = 0; i < 3000; ++i)
                         ADD_FAILURE() << std::string(1000, 'x');
                 }).empty());
}

#ifdef CC_ADDRESS_SANITIZER
TEST(OtherProcessTest, LeakInTheBodyIsAFailure) {
    auto const results = ResultsOfBody([] {
        // Volatile, because a compiler removes memory that is not used.
        static void* volatile latest;
        for (int i = 0; i < 100; ++i) {
            latest = std::malloc(1000);
            ASSERT_NE(nullptr, latest);
        }
    });
    EXPECT_THAT(results.at(0).message(), HasSubstr("leaked memory"));
}
#endif

TEST(OtherProgramTest, CapturesLargeOutputErrorsAndStatus) {
    auto const result =
        RunProgram({"/bin/sh", "-c", "head -c 1000000 /dev/zero; echo err >&2; exit 3"});
    EXPECT_EQ(ExitStatus::Exited(3), result.status);
    EXPECT_EQ(std::string(1000000, '\0'), result.output);
    EXPECT_EQ("err\n", result.errors);
}

TEST(OtherProgramTest, AppliesItsOptions) {
    ProgramOptions options;
    options.input = "given";
    options.environment = {{"ONLY=this"}};
    options.workingDirectory = "/usr";
    options.limits = {{RLIMIT_NOFILE, 17}};
    options.prepare = [] {
        umask(0123);
        return true;
    };
    auto const result =
        RunProgram({"/bin/sh", "-c", "echo $ONLY$HOME; pwd; ulimit -n; umask; cat"}, options);
    EXPECT_EQ("this\n/usr\n17\n0123\ngiven", result.output);
    EXPECT_EQ("", RunProgram({"/bin/cat"}).output);
}

TEST(OtherProgramTest, HasOnlyTheSelectedDescriptors) {
    int const ofTheTest = dup(STDERR_FILENO);
    // ls opens the directory itself, with the lowest free descriptor.
    EXPECT_EQ("0\n1\n2\n3\n", RunProgram({"/bin/ls", "/proc/self/fd"}).output);
    EXPECT_EQ("0\n1\n2\n",
              RunProgram({"/bin/ls", "/proc/self/fd"}, {.closedDescriptors = {0}}).output);
    EXPECT_EQ("", RunProgram({"/bin/ls", "/proc/self/fd"}, {.closedDescriptors = {1}}).output);
    close(ofTheTest);
}

TEST(OtherProgramTest, ThrowsIfProgramCannotStart) {
    EXPECT_THROW(RunProgram({"/nonexistent/program"}), std::system_error);
    ProgramOptions options{.prepare = [] {
        return false;
    }};
    EXPECT_THROW(RunProgram({"/bin/true"}, options), std::system_error);
    options.prepare = []() -> bool {
        throw std::runtime_error("no");
    };
    EXPECT_THROW(RunProgram({"/bin/true"}, options), std::system_error);
}

TEST(OtherProgramTest, ReturnsOutputWhileItRuns) {
    OtherProgram program({"/bin/sh", "-c", "echo early; exec sleep 1000"});
    while (program.Output().empty())
        usleep(1000);
    EXPECT_EQ("early\n", program.Output());
    EXPECT_TRUE(program.IsRunning());
    program.Kill(SIGTERM);
    EXPECT_EQ(ExitStatus::Killed(SIGTERM), program.Wait().status);
    EXPECT_FALSE(program.IsRunning());
}

TEST(OtherProgramTest, KillsProgramAfterTheTimeout) {
    OtherProgram program({"/bin/sleep", "1000"});
    EXPECT_THROW(program.Wait(milliseconds(10)), std::runtime_error);
    EXPECT_EQ(-1, kill(program.pid(), 0));
}

// The parent cannot reap an ended process until its tracer, such as a leak checker, ends too.
TEST(OtherProgramTest, WaitsForTheTracerOfAnEndedProgram) {
    OtherProgram program({"/bin/sleep", "1000"});
    OtherProcess tracer([&](Handshake& line) {
        bool const isTracing = ptrace(PTRACE_SEIZE, program.pid(), nullptr, nullptr) == 0;
        line.Tell(isTracing ? "traces" : "refused");
        line.Await();
        usleep(300'000);
    });
    bool const isTraced = tracer.Await() == "traces";
    program.Kill(SIGKILL);
    tracer.Tell();
    EXPECT_EQ(ExitStatus::Killed(SIGKILL), program.Wait().status);
    EXPECT_EQ(ExitStatus::Exited(0), tracer.Wait());
    if (!isTraced)
        GTEST_SKIP() << "the system does not permit tracing";
}

// The time that this thread spends in the loop is the time that the kernel counts.
TEST(RunnableTimeTest, IncludesTimeOnTheProcessor) {
    if (access("/proc/self/schedstat", R_OK) != 0)
        GTEST_SKIP() << "the kernel does not count the time";
    auto const before = RunnableTime("thread-self");
    auto const start = ThreadProcessorTime();
    while (ThreadProcessorTime() - start < milliseconds(50)) {
    }
    EXPECT_LE(milliseconds(49), RunnableTime("thread-self") - before);
}

TEST(RunnableTimeTest, ExcludesSleep) {
    auto const start = std::chrono::steady_clock::now();
    ProgramResult const result = RunProgram({"/bin/sleep", "0.3"});
    EXPECT_LE(milliseconds(300), std::chrono::steady_clock::now() - start - result.runnable);
}

TEST(RunnableTimeTest, IsCountedUntilTheEndOfAProgram) {
    if (access("/proc/self/schedstat", R_OK) != 0)
        GTEST_SKIP() << "the kernel does not count the time";
    EXPECT_LT(milliseconds(0), RunProgram({"/bin/true"}).runnable);
}

} // namespace
