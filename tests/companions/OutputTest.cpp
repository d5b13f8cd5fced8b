#include "companions/Output.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <limits>
#include <string>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "companions/StopSignals.h"
#include "tests/companions/RowList.h"
#include "tests/companions/Terminal.h"
#include "tests/files/Files.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"

namespace {

// The state follows the name in parentheses.
bool IsAsleep(pid_t process) {
    std::string const facts = ReadWholeFile("/proc/" + std::to_string(process) + "/stat");
    std::size_t const nameEnd = facts.rfind(')');
    return nameEnd != facts.npos && facts.substr(nameEnd, 4) == ") S ";
}

TEST(OutputTest, PreservesOrderOfSmallWrites) {
    std::string expected;
    std::string const got = OutputOf([&](Output& output) {
        for (int i = 0; i < 50'000; ++i) {
            output.Write(std::to_string(i));
            expected += std::to_string(i);
        }
        EXPECT_EQ(0, output.Error());
    });
    EXPECT_EQ(expected, got);
}

TEST(OutputTest, KeepsTheOrderOfLargeAndSmallWrites) {
    std::string expected;
    std::string const got = OutputOf([&](Output& output) {
        for (std::size_t const size : {1, 65'535, 65'536, 3, 200'000, 65'535, 1, 0, 2}) {
            std::string const piece(size, static_cast<char>('a' + size % 26));
            output.Write(piece);
            expected += piece;
        }
    });
    EXPECT_TRUE(expected == got);
}

TEST(OutputTest, WritesNulBytesAndEmptyTexts) {
    EXPECT_EQ(std::string("a\0b", 3), OutputOf([](Output& output) {
                  output.Write("");
                  output.Write(std::string_view("a\0b", 3));
                  output.Write("");
              }));
    EXPECT_EQ("", OutputOf([](Output&) {}));
}

TEST(OutputTest, DistinguishesATerminalFromAFile) {
    Terminal const screen;
    EXPECT_TRUE(Output(screen.otherEnd()).IsTerminal());
    EXPECT_FALSE(Output(screen.file()).IsTerminal());
}

TEST(OutputTest, KeepsFirstErrorAndDiscardsLaterWrites) {
    int const full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_LE(0, full);
    Output output(full);
    output.Write("lost");
    EXPECT_EQ(0, output.Error());
    output.Flush();
    EXPECT_EQ(ENOSPC, output.Error());
    close(full);
    output.Write("more");
    output.Flush();
    EXPECT_EQ(ENOSPC, output.Error());
}

TEST(OutputTest, ReportsClosedReadEndOfPipe) {
    OtherProcess other([] {
        CatchStopSignals();
        int ends[2];
        ASSERT_EQ(0, pipe(ends));
        close(ends[0]);
        Output output(ends[1]);
        output.Write("lost");
        output.Flush();
        EXPECT_EQ(EPIPE, output.Error());
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

// The text exceeds the buffer of a pipe or a terminal, and nobody reads it.
void ExpectInterrupted(Output& output) {
    output.Write(std::string(1'000'000, 'x'));
    EXPECT_EQ(EINTR, output.Error());
}

void ExpectToEnd(std::function<void()> const& body) {
    OtherProcess other([&] {
        CatchStopSignals();
        body();
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait(std::chrono::seconds(20)));
}

TEST(OutputTest, StopSignalEndsWaitForReader) {
    OtherProcess other([](Handshake& line) {
        CatchStopSignals();
        int ends[2];
        ASSERT_EQ(0, pipe(ends));
        Output output(ends[1]);
        line.Tell();
        ExpectInterrupted(output);
        EXPECT_EQ(SIGTERM, StopSignal());
    });
    other.Await();
    while (!IsAsleep(other.pid()))
        usleep(1000);
    other.Kill(SIGTERM);
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

TEST(OutputTest, StopSignalBeforeWriteEndsWaitForReader) {
    ExpectToEnd([] {
        int ends[2];
        ASSERT_EQ(0, pipe(ends));
        Output output(ends[1]);
        raise(SIGTERM);
        ExpectInterrupted(output);
    });
}

// poll(2) reports a terminal as writable though it takes less than a whole write.
TEST(OutputTest, StopSignalBeforeWriteEndsWaitForTerminal) {
    ExpectToEnd([] {
        Terminal const screen;
        Output output(screen.otherEnd());
        raise(SIGTERM);
        ExpectInterrupted(output);
    });
}

TEST(OutputTest, StopSignalEndsWaitForPipeWithoutProc) {
    Sandbox::Run({.proc = Sandbox::Proc::none}, [] {
        ExpectToEnd([] {
            int ends[2];
            ASSERT_EQ(0, pipe(ends));
            Output output(ends[1]);
            raise(SIGTERM);
            ExpectInterrupted(output);
        });
    });
}

TEST(OutputTest, WritesWithoutBlockingAfterAStopSignal) {
    ExpectToEnd([] {
        int ends[2];
        ASSERT_EQ(0, pipe(ends));
        raise(SIGTERM);
        Output output(ends[1]);
        output.Write("message");
        output.Flush();
        EXPECT_EQ(0, output.Error());
        char bytes[16];
        EXPECT_EQ(7, read(ends[0], bytes, sizeof bytes));
    });
}

TEST(OutputTest, SlowReaderOfPipeReceivesEveryByte) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    std::string expected;
    for (int i = 0; i < 100'000; ++i)
        expected += std::to_string(i);
    OtherProcess other([&] {
        close(ends[0]);
        Output output(ends[1]);
        output.Write(expected);
        EXPECT_EQ(0, output.Error());
    });
    close(ends[1]);
    std::string got;
    char bytes[10'000];
    for (ssize_t length = 0; (length = read(ends[0], bytes, sizeof bytes)) > 0;) {
        got.append(bytes, static_cast<std::size_t>(length));
        usleep(100);
    }
    close(ends[0]);
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    EXPECT_TRUE(expected == got);
}

TEST(OutputTest, DoesNotChangeFileStatusFlags) {
    Terminal const screen;
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    for (int const descriptor : {screen.otherEnd(), screen.file(), ends[1]}) {
        int const before = fcntl(descriptor, F_GETFL);
        Output output(descriptor);
        output.Write("text");
        output.Flush();
        EXPECT_EQ(0, output.Error());
        EXPECT_EQ(before, fcntl(descriptor, F_GETFL));
    }
    close(ends[0]);
    close(ends[1]);
}

TEST(OutputTest, WritesToTheMasterOfAPseudoTerminal) {
    int const master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(0, unlockpt(master));
    int const slave = open(ptsname(master), O_RDONLY | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    ASSERT_LE(0, slave);
    Output output(master);
    output.Write("text\n");
    output.Flush();
    EXPECT_EQ(0, output.Error());
    char bytes[16];
    EXPECT_EQ(5, read(slave, bytes, sizeof bytes));
    close(slave);
    close(master);
}

TEST(OutputTest, WriteToAReadOnlyTerminalFails) {
    Terminal const screen;
    int const input = open(ttyname(screen.otherEnd()), O_RDONLY | O_NOCTTY | O_CLOEXEC);
    ASSERT_LE(0, input);
    {
        Output output(input);
        output.Write("lost");
        output.Flush();
        EXPECT_EQ(EBADF, output.Error());
    }
    EXPECT_EQ("", screen.Read());
    close(input);
}

TEST(OutputTest, ReportsExceededFileSizeLimit) {
    ExpectToEnd([] {
        Terminal const screen;
        rlimit const limit{100, 100};
        ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
        Output output(screen.file());
        output.Write(std::string(1000, 'x'));
        output.Flush();
        EXPECT_EQ(EFBIG, output.Error());
        EXPECT_EQ(std::string(100, 'x'), screen.ReadFile());
    });
}

TEST(OutputTest, WidthIsFromTheEnvironmentOrTheTerminal) {
    constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
    Terminal const screen;
    Output const output(screen.otherEnd());
    auto const widthWith = [&](char const* columns, unsigned short width) {
        winsize const size{24, width, 0, 0};
        EXPECT_EQ(0, ioctl(screen.otherEnd(), TIOCSWINSZ, &size));
        EnvironmentVariable const variable("COLUMNS", columns);
        return output.Width();
    };
    EXPECT_EQ(1u, widthWith("", 1));
    EXPECT_EQ(none, widthWith("", 0));
    EXPECT_EQ(7u, widthWith("7", 80));
    for (char const* const columns : {"0", "7x", "x", "-1"})
        EXPECT_EQ(80u, widthWith(columns, 80)) << columns;
    EnvironmentVariable const variable("COLUMNS", "");
    EXPECT_EQ(none, Output(screen.file()).Width());
}

} // namespace
