#include "companions/StopSignals.h"

#include <sys/syscall.h>

#include "companions/Output.h"
#include "tests/companions/CompanionTest.h"

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

template <typename Body>
ExitStatus EndOf(Body const& body) {
    OtherProcess other([&] {
        CatchStopSignals();
        body();
    });
    return other.Wait(seconds(20));
}

void ExpectReturn(std::function<void()> const& body) {
    EXPECT_EQ(ExitStatus::Exited(0), EndOf(body));
}

TEST(StopSignalsTest, FirstSignalIsRecorded) {
    for (int const signal : {SIGINT, SIGTERM, SIGHUP})
        ExpectReturn([&] {
            EXPECT_EQ(0, StopSignal());
            raise(signal);
            EXPECT_EQ(signal, StopSignal());
        });
}

// Raises the first signal, and waits until the next one counts as the second one.
void RaiseFirst(int signal) {
    raise(signal);
    std::this_thread::sleep_for(milliseconds(1050));
}

TEST(StopSignalsTest, SecondSignalOfAnyKindEndsTheProcess) {
    std::vector<std::pair<int, std::unique_ptr<OtherProcess>>> processes;
    for (int const first : {SIGINT, SIGTERM, SIGHUP})
        for (int const second : {SIGINT, SIGTERM, SIGHUP})
            processes.emplace_back(second, std::make_unique<OtherProcess>([first, second] {
                                       CatchStopSignals();
                                       RaiseFirst(first);
                                       raise(second);
                                       ADD_FAILURE() << "the process did not end";
                                   }));
    for (auto const& [second, process] : processes)
        EXPECT_EQ(ExitStatus::Killed(second), process->Wait(seconds(20)));
}

// A terminal that hangs up, a shell and timeout(1) send two signals within a moment.
TEST(StopSignalsTest, SignalsWithinOneSecondCountAsOne) {
    for (int const first : {SIGINT, SIGTERM, SIGHUP})
        for (int const second : {SIGINT, SIGTERM, SIGHUP})
            ExpectReturn([&] {
                raise(first);
                raise(second);
                raise(second);
                EXPECT_EQ(first, StopSignal());
            });
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
    SleepUnlessStopped(milliseconds(1100));
    EXPECT_LE(milliseconds(1100), std::chrono::steady_clock::now() - start);
}

TEST(StopSignalsTest, SignalBeforeSleepEndsIt) {
    ExpectReturn([] {
        raise(SIGTERM);
        SleepUnlessStopped(minutes(1));
    });
    ExpectReturn([] {
        signalBeforeWait = SIGTERM;
        SleepUnlessStopped(minutes(1));
        EXPECT_EQ(SIGTERM, StopSignal());
    });
}

// A full pipe with nonblocking ends.
struct FullPipe : Pipe {
    FullPipe() {
        for (int const end : {reader(), writer()})
            EXPECT_EQ(0, fcntl(end, F_SETFL, O_NONBLOCK));
        while (write(writer(), "x", 1) == 1) {
        }
    }

    // Returns its content.
    std::string Read() const {
        std::string text;
        for (char byte; read(reader(), &byte, 1) == 1;)
            text += byte;
        return text;
    }
};

TEST(StopSignalsTest, SignalJustBeforeWaitForReaderEndsIt) {
    ExpectReturn([] {
        FullPipe const full;
        signalBeforeWait = SIGHUP;
        EXPECT_FALSE(AwaitWritable(full.writer()));
        EXPECT_EQ(SIGHUP, StopSignal());
        EXPECT_FALSE(AwaitWritable(full.writer()));
    });
}

// Another process may fill the pipe after ppoll returned. The program waits before it retries.
TEST(StopSignalsTest, RetriesWriteAfterSpuriousReadiness) {
    ExpectReturn([] {
        FullPipe const full;
        Output output(full.writer());
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
    ExpectReturn([] {
        Pipe const line;
        EXPECT_TRUE(AwaitWritable(line.writer()));
        raise(SIGTERM);
        EXPECT_TRUE(AwaitWritable(line.writer()));
    });
}

// poll(2) fails if a process may not have the number of descriptors.
TEST(StopSignalsTest, DescriptorIsWritableIfItCannotBePolled) {
    ExpectReturn([] {
        FullPipe const full;
        rlimit former{};
        getrlimit(RLIMIT_NOFILE, &former);
        rlimit const none{0, former.rlim_max};
        ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
        EXPECT_TRUE(AwaitWritable(full.writer()));
        setrlimit(RLIMIT_NOFILE, &former);
    });
}

TEST(StopSignalsTest, DoesNotHoldSignalsThatAreBlocked) {
    ExpectReturn([] {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGTERM);
        sigprocmask(SIG_BLOCK, &signals, nullptr);
        unsigned int const held = HoldStopSignals();
        EXPECT_EQ(1u << SIGINT | 1u << SIGHUP, held);
        ReleaseStopSignals(held);
        sigprocmask(SIG_BLOCK, nullptr, &signals);
        EXPECT_EQ(1, sigismember(&signals, SIGTERM));
        EXPECT_EQ(0, sigismember(&signals, SIGINT));
    });
}

TEST(StopSignalsTest, SecondSignalDuringSleepEndsTheProcess) {
    EXPECT_EQ(ExitStatus::Killed(SIGINT), EndOf([] {
                  RaiseFirst(SIGTERM);
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
