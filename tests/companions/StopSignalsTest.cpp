#include "companions/StopSignals.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "companions/Output.h"
#include "tests/support/OtherProcess.h"

namespace {

// Raised at the start of the next ppoll, before it waits.
int signalBeforeWait = 0;
// The next ppoll with a file descriptor reports it as ready immediately.
bool isFalselyReady = false;
// Called in the next ppoll without a descriptor.
std::function<void()> duringPause;

} // namespace

// Replaces the function of the C library.
extern "C" int ppoll(pollfd* descriptors, nfds_t count, timespec const* limit,
                     sigset_t const* mask) {
    if (signalBeforeWait != 0)
        raise(std::exchange(signalBeforeWait, 0));
    if (count == 0 && duringPause)
        std::exchange(duringPause, nullptr)();
    if (count != 0 && std::exchange(isFalselyReady, false))
        return 1;
    timespec rest = limit == nullptr ? timespec() : *limit;
    return static_cast<int>(syscall(SYS_ppoll, descriptors, count,
                                    limit == nullptr ? nullptr : &rest, mask, _NSIG / 8));
}

namespace {

using std::chrono::minutes;
using std::chrono::seconds;

template <typename Body>
ExitStatus EndOf(Body const& body) {
    OtherProcess other([&] {
        CatchStopSignals();
        body();
    });
    return other.Wait(seconds(20));
}

TEST(StopSignalsTest, NoSignalIsRecordedAtFirst) {
    EXPECT_EQ(ExitStatus::Exited(0), EndOf([] { EXPECT_EQ(0, StopSignal()); }));
}

TEST(StopSignalsTest, FirstSignalIsRecorded) {
    for (int const signal : {SIGINT, SIGTERM, SIGHUP})
        EXPECT_EQ(ExitStatus::Exited(0), EndOf([&] {
                      raise(signal);
                      EXPECT_EQ(signal, StopSignal());
                  }));
}

TEST(StopSignalsTest, SecondSignalOfAnyKindEndsTheProcess) {
    for (int const first : {SIGINT, SIGTERM, SIGHUP})
        for (int const second : {SIGINT, SIGTERM, SIGHUP})
            EXPECT_EQ(ExitStatus::Killed(second), EndOf([&] {
                          raise(first);
                          raise(second);
                          ADD_FAILURE() << "the process did not end";
                      }));
}

void ExpectToEnd(std::function<void()> const& body) {
    EXPECT_EQ(ExitStatus::Exited(0), EndOf(body));
}

TEST(StopSignalsTest, SignalEndsSleep) {
    OtherProcess other([](Handshake& line) {
        CatchStopSignals();
        line.Tell();
        SleepUnlessStopped(minutes(1));
    });
    other.Await();
    other.Kill(SIGINT);
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait(seconds(30)));
}

TEST(StopSignalsTest, SleepsForTheWholeDuration) {
    auto const start = std::chrono::steady_clock::now();
    SleepUnlessStopped(std::chrono::milliseconds(1100));
    EXPECT_LE(std::chrono::milliseconds(1100), std::chrono::steady_clock::now() - start);
}

TEST(StopSignalsTest, DoesNotSleepAfterSignal) {
    ExpectToEnd([] {
        raise(SIGTERM);
        SleepUnlessStopped(minutes(1));
    });
}

TEST(StopSignalsTest, SignalJustBeforeSleepEndsIt) {
    ExpectToEnd([] {
        signalBeforeWait = SIGTERM;
        SleepUnlessStopped(minutes(1));
        EXPECT_EQ(SIGTERM, StopSignal());
    });
}

// A full pipe that nobody reads.
class FullPipe {
public:
    FullPipe() {
        EXPECT_EQ(0, pipe2(ends, O_NONBLOCK | O_CLOEXEC));
        while (write(ends[1], "x", 1) == 1) {
        }
    }

    int end() const { return ends[1]; }

    // Returns its content.
    std::string Read() const {
        std::string text;
        for (char byte; read(ends[0], &byte, 1) == 1;)
            text += byte;
        return text;
    }

private:
    int ends[2]{};
};

TEST(StopSignalsTest, SignalJustBeforeWaitForReaderEndsIt) {
    ExpectToEnd([] {
        FullPipe const full;
        signalBeforeWait = SIGHUP;
        EXPECT_FALSE(AwaitWritable(full.end()));
        EXPECT_EQ(SIGHUP, StopSignal());
        EXPECT_FALSE(AwaitWritable(full.end()));
    });
}

// Another process may fill the pipe after ppoll returned. The program waits before it retries.
TEST(StopSignalsTest, RetriesWriteAfterSpuriousReadiness) {
    ExpectToEnd([] {
        FullPipe const full;
        Output output(full.end());
        isFalselyReady = true;
        duringPause = [&] {
            full.Read();
        };
        output.Write("text");
        output.Flush();
        EXPECT_EQ(0, output.Error());
        EXPECT_EQ("text", full.Read());
        EXPECT_EQ(nullptr, duringPause) << "there was no pause";
    });
}

TEST(StopSignalsTest, ReportsWritablePipeAfterSignal) {
    ExpectToEnd([] {
        int ends[2];
        ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
        EXPECT_TRUE(AwaitWritable(ends[1]));
        raise(SIGTERM);
        EXPECT_TRUE(AwaitWritable(ends[1]));
    });
}

TEST(StopSignalsTest, SecondSignalDuringSleepEndsTheProcess) {
    EXPECT_EQ(ExitStatus::Killed(SIGINT), EndOf([] {
                  raise(SIGTERM);
                  signalBeforeWait = SIGINT;
                  SleepUnlessStopped(minutes(1));
              }));
}

TEST(StopSignalsTest, IgnoredSignalStaysIgnored) {
    OtherProcess other([] {
        std::signal(SIGINT, SIG_IGN);
        CatchStopSignals();
        raise(SIGINT);
        raise(SIGINT);
        EXPECT_EQ(0, StopSignal());
        raise(SIGTERM);
        EXPECT_EQ(SIGTERM, StopSignal());
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

TEST(StopSignalsTest, ReturnsNamesOfSignals) {
    EXPECT_STREQ("SIGINT", NameOfStopSignal(SIGINT));
    EXPECT_STREQ("SIGTERM", NameOfStopSignal(SIGTERM));
    EXPECT_STREQ("SIGHUP", NameOfStopSignal(SIGHUP));
}

} // namespace
