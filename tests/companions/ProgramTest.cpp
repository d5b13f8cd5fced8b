#include "companions/Program.h"

#include "companions/Arguments.h"
#include "tests/companions/CompanionTest.h"

namespace {

constexpr Program program = {"some-program", 2, 7};

TEST(ProgramTest, ReturnsTheExitStatusOfTheFunction) {
    EXPECT_EQ(10, RunMain(program, [] { return 10; }));
}

template <typename Exception>
void ExpectReported(int status, std::string const& text, Exception const& exception) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(status, RunMain(program, [&]() -> int { throw exception; }));
    EXPECT_EQ("some-program: " + text + "\n", testing::internal::GetCapturedStderr());
}

TEST(ProgramTest, ReportsExceptions) {
    ExpectReported(2, "'-y' is unknown", CommandLineError("'-y' is unknown"));
    ExpectReported(7, "no memory\\x07", std::runtime_error("no memory\a"));
    ExpectReported(7, "out of memory", std::bad_alloc());
}

struct AllocatesAtItsEnd {
    ~AllocatesAtItsEnd() { Allocate(); }
    static void Allocate() { throw std::bad_alloc(); }
};

TEST(ProgramTest, ReportsMemoryExhaustedInADestructor) {
    OtherProcess other([] {
        RunMain(program, [] {
            AllocatesAtItsEnd const object;
            return 0;
        });
    });
    EXPECT_EQ(ExitStatus::Exited(7), other.Wait());
}

TEST(ProgramTest, ReportsMemoryExhaustedAfterItsReturn) {
    OtherProcess other([] {
        Program copy = program;
        RunMain(copy, [] { return 0; });
        copy.failureStatus = 8;
        AllocatesAtItsEnd const object;
    });
    EXPECT_EQ(ExitStatus::Exited(7), other.Wait());
}

TEST(ProgramTest, AbortsIfTerminatedWithoutAnException) {
    OtherProcess other([] { RunMain(program, []() -> int { std::terminate(); }); });
    EXPECT_EQ(ExitStatus::Killed(SIGABRT), other.Wait());
}

TEST(ProgramTest, WritesTextToStandardOutput) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, ShowText("some-program", "help\n", 8));
    EXPECT_EQ("help\n", testing::internal::GetCapturedStdout());
}

TEST(ProgramTest, ReportsThatTextCouldNotBeWritten) {
    OtherProcess other([] {
        int const full = open("/dev/full", O_WRONLY);
        dup2(full, STDOUT_FILENO);
        testing::internal::CaptureStderr();
        EXPECT_EQ(8, ShowText("some-program", "help\n", 8));
        EXPECT_EQ("some-program: the text could not be written: No space left on device\n",
                  testing::internal::GetCapturedStderr());
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

} // namespace
