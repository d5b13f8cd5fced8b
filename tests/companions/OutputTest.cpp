#include "companions/Output.h"

#include <sys/socket.h>

#include "companions/StopSignals.h"
#include "tests/companions/RefusedCall.h"
#include "tests/companions/RowList.h"
#include "tests/companions/Terminal.h"
#include "tests/support/OpenDescriptors.h"

namespace {

// The state follows the name in parentheses.
bool IsAsleep(pid_t process) {
    std::string const facts = ReadWholeFile("/proc/" + std::to_string(process) + "/stat");
    std::size_t const nameEnd = facts.rfind(')');
    return nameEnd != facts.npos && facts.substr(nameEnd, 4) == ") S ";
}

// Writes the text to the descriptor and returns the error.
int ErrorOfWriting(std::string const& text, int descriptor) {
    Output output(descriptor);
    output.Write(text);
    output.Flush();
    return output.Error();
}

void ExpectOrderKept(std::vector<std::size_t> const& sizes) {
    std::string expected;
    std::string const got = OutputOf([&](Output& output) {
        for (std::size_t const size : sizes) {
            std::string piece = std::to_string(expected.size());
            piece.resize(size, 'x');
            output.Write(piece);
            expected += piece;
        }
        EXPECT_EQ(0, output.Error());
    });
    EXPECT_TRUE(expected == got);
}

TEST(OutputTest, KeepsTheOrderOfLargeAndSmallWrites) {
    ExpectOrderKept({1, 65'535, 65'536, 3, 200'000, 65'535, 1, 0, 2});
    ExpectOrderKept(std::vector<std::size_t>(50'000, 7));
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

TEST(OutputTest, WriteToAClosedDescriptorFails) {
    Pipe line;
    int const closed = line.writer();
    line.CloseWriter();
    EXPECT_EQ(EBADF, ErrorOfWriting("lost", closed));
}

// The text exceeds the buffer of a pipe or a terminal, and nobody reads it.
void ExpectInterrupted(int descriptor) {
    EXPECT_EQ(EINTR, ErrorOfWriting(std::string(1'000'000, 'x'), descriptor));
}

void ExpectToEnd(std::function<void()> const& body) {
    OtherProcess other([&] {
        CatchStopSignals();
        body();
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait(seconds(20)));
}

TEST(OutputTest, ReportsClosedReadEndOfPipe) {
    ExpectToEnd([] {
        Pipe line;
        line.CloseReader();
        EXPECT_EQ(EPIPE, ErrorOfWriting("lost", line.writer()));
    });
}

TEST(OutputTest, StopSignalEndsWaitForReader) {
    OtherProcess other([](Handshake& line) {
        CatchStopSignals();
        Pipe const full;
        line.Tell();
        ExpectInterrupted(full.writer());
        EXPECT_EQ(SIGTERM, StopSignal());
    });
    other.Await();
    while (!IsAsleep(other.pid()))
        usleep(1000);
    other.Kill(SIGTERM);
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

// An output that is neither a pipe nor a terminal is not reopened, so its descriptor is known.
TEST(OutputTest, StopSignalEndsRetriesOfAWriteThatWouldBlock) {
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
    OtherProcess other([&](Handshake& line) {
        CatchStopSignals();
        RefuseCall(SYS_write, EAGAIN, {{0, ends[0]}});
        line.Tell();
        EXPECT_EQ(EINTR, ErrorOfWriting("lost", ends[0]));
        EXPECT_EQ(SIGTERM, StopSignal());
    });
    other.Await();
    while (!IsAsleep(other.pid()))
        usleep(1000);
    other.Kill(SIGTERM);
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    close(ends[0]);
    close(ends[1]);
}

TEST(OutputTest, DoesNotRetryAWriteToAFile) {
    Terminal const screen;
    OtherProcess other([&] {
        RefuseCall(SYS_write, EAGAIN, {{0, screen.file()}});
        EXPECT_EQ(EAGAIN, ErrorOfWriting("lost", screen.file()));
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

TEST(OutputTest, WritesToAPipeWhoseStatusFlagsAreUnknown) {
    Pipe const line;
    OtherProcess other([&] {
        RefuseCall(SYS_fcntl, EPERM, {{0, line.writer()}, {1, F_GETFL}});
        EXPECT_EQ(0, ErrorOfWriting("text", line.writer()));
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    char bytes[16];
    EXPECT_EQ(4, read(line.reader(), bytes, sizeof bytes));
}

void InterruptWriteToPipe() {
    Pipe const full;
    raise(SIGTERM);
    ExpectInterrupted(full.writer());
}

TEST(OutputTest, StopSignalBeforeWriteEndsWaitForReader) { ExpectToEnd(InterruptWriteToPipe); }

TEST(OutputTest, StopSignalEndsWaitForPipeWithoutProc) {
    Sandbox::Run({.proc = Sandbox::Proc::none}, [] { ExpectToEnd(InterruptWriteToPipe); });
}

// poll(2) reports a terminal as writable though it takes less than a whole write.
TEST(OutputTest, StopSignalBeforeWriteEndsWaitForTerminal) {
    ExpectToEnd([] {
        Terminal const screen;
        raise(SIGTERM);
        ExpectInterrupted(screen.otherEnd());
    });
}

TEST(OutputTest, WritesWithoutBlockingAfterAStopSignal) {
    ExpectToEnd([] {
        Pipe const line;
        raise(SIGTERM);
        EXPECT_EQ(0, ErrorOfWriting("message", line.writer()));
        char bytes[16];
        EXPECT_EQ(7, read(line.reader(), bytes, sizeof bytes));
    });
}

TEST(OutputTest, SlowReaderOfPipeReceivesEveryByte) {
    Pipe line;
    std::string expected;
    for (int i = 0; i < 100'000; ++i)
        expected += std::to_string(i);
    OtherProcess other([&] {
        line.CloseReader();
        EXPECT_EQ(0, ErrorOfWriting(expected, line.writer()));
    });
    line.CloseWriter();
    std::string got;
    char bytes[10'000];
    for (ssize_t length = 0; (length = read(line.reader(), bytes, sizeof bytes)) > 0;) {
        got.append(bytes, static_cast<std::size_t>(length));
        usleep(100);
    }
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    EXPECT_TRUE(expected == got);
}

TEST(OutputTest, KeepsFileStatusFlagsAndOpenDescriptors) {
    Terminal const screen;
    Pipe const line;
    for (int const descriptor : {screen.otherEnd(), screen.file(), line.writer()}) {
        int const before = OpenFlagsOf(descriptor);
        long const open = CountOpenDescriptors();
        EXPECT_EQ(0, ErrorOfWriting("text", descriptor));
        EXPECT_EQ(before, OpenFlagsOf(descriptor));
        EXPECT_EQ(open, CountOpenDescriptors());
    }
}

TEST(OutputTest, WritesToTheMasterOfAPseudoTerminal) {
    int const master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(0, unlockpt(master));
    int const slave = open(ptsname(master), O_RDONLY | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    ASSERT_LE(0, slave);
    EXPECT_EQ(0, ErrorOfWriting("text\n", master));
    char bytes[16];
    EXPECT_EQ(5, read(slave, bytes, sizeof bytes));
    close(slave);
    close(master);
}

TEST(OutputTest, WriteToAReadOnlyTerminalFails) {
    Terminal const screen;
    int const input = open(ttyname(screen.otherEnd()), O_RDONLY | O_NOCTTY | O_CLOEXEC);
    ASSERT_LE(0, input);
    EXPECT_EQ(EBADF, ErrorOfWriting("lost", input));
    EXPECT_EQ("", screen.Read());
    close(input);
}

TEST(OutputTest, ReportsExceededFileSizeLimit) {
    ExpectToEnd([] {
        Terminal const screen;
        rlimit const limit{100, 100};
        ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
        signal(SIGXFSZ, SIG_IGN); // As RunMain does.
        EXPECT_EQ(EFBIG, ErrorOfWriting(std::string(1000, 'x'), screen.file()));
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
    for (char const* const columns : {"0", "7x", "x", "-1", "99999999999999999999999"})
        EXPECT_EQ(80u, widthWith(columns, 80)) << columns;
    EnvironmentVariable const variable("COLUMNS", "");
    EXPECT_EQ(none, Output(screen.file()).Width());
}

TEST(OutputTest, ClosedTerminalHasNoWidth) {
    EnvironmentVariable const variable("COLUMNS", "");
    Terminal screen;
    Output const output(screen.otherEnd());
    screen.HangUp();
    EXPECT_EQ(std::numeric_limits<std::size_t>::max(), output.Width());
}

} // namespace
