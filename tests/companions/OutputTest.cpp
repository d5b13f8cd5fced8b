#include "companions/Output.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "companions/StopSignals.h"
#include "tests/companions/RowList.h"
#include "tests/companions/Terminal.h"
#include "tests/support/OtherProcess.h"

namespace {

// The state stands behind the name in parentheses.
bool IsAsleep(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string const facts{std::istreambuf_iterator<char>(file), {}};
    std::size_t const nameEnd = facts.rfind(')');
    return nameEnd != facts.npos && facts.substr(nameEnd, 4) == ") S ";
}

TEST(OutputTest, BytesArriveInTheirOrder) {
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

TEST(OutputTest, LargePiecesStandBetweenSmallOnes) {
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

TEST(OutputTest, ZeroBytesAndNothing) {
    EXPECT_EQ(std::string("a\0b", 3), OutputOf([](Output& output) {
                  output.Write("");
                  output.Write(std::string_view("a\0b", 3));
                  output.Write("");
              }));
    EXPECT_EQ("", OutputOf([](Output&) {}));
}

TEST(OutputTest, TerminalIsToldFromAFile) {
    Terminal const screen;
    EXPECT_TRUE(Output(screen.otherEnd()).IsTerminal());
    EXPECT_FALSE(Output(screen.file()).IsTerminal());
}

TEST(OutputTest, FirstFailureIsKeptAndTheRestDropped) {
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

TEST(OutputTest, ReaderWhoIsGoneIsAnError) {
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

// More than a pipe takes, and nobody reads.
TEST(OutputTest, StopEndsTheWaitForAReader) {
    OtherProcess other([](Handshake& line) {
        CatchStopSignals();
        int ends[2];
        ASSERT_EQ(0, pipe(ends));
        Output output(ends[1]);
        line.Tell();
        output.Write(std::string(10'000'000, 'x'));
        EXPECT_EQ(EINTR, output.Error());
        EXPECT_EQ(SIGTERM, StopSignal());
    });
    other.Await();
    // A signal that came before the write waits would be noted, but end nothing.
    while (!IsAsleep(other.pid()))
        usleep(1000);
    other.Kill(SIGTERM);
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

} // namespace
