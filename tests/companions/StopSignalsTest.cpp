#include "companions/StopSignals.h"

#include <gtest/gtest.h>

#include <csignal>

#include <poll.h>

#include "tests/support/OtherProcess.h"

namespace {

template <typename Body>
ExitStatus EndOf(Body const& body) {
    OtherProcess other([&] {
        CatchStopSignals();
        body();
    });
    return other.Wait();
}

TEST(StopSignalsTest, NothingCame) {
    EXPECT_EQ(ExitStatus::Exited(0), EndOf([] { EXPECT_EQ(0, StopSignal()); }));
}

TEST(StopSignalsTest, FirstOneIsOnlyNoted) {
    for (int const signal : {SIGINT, SIGTERM})
        EXPECT_EQ(ExitStatus::Exited(0), EndOf([&] {
                      raise(signal);
                      EXPECT_EQ(signal, StopSignal());
                  }));
}

TEST(StopSignalsTest, SecondOneEndsTheProcessBeItTheSameOrTheOther) {
    for (int const first : {SIGINT, SIGTERM})
        for (int const second : {SIGINT, SIGTERM})
            EXPECT_EQ(ExitStatus::Killed(second), EndOf([&] {
                          raise(first);
                          raise(second);
                          ADD_FAILURE() << "still there";
                      }));
}

TEST(StopSignalsTest, WaitIsCutShort) {
    OtherProcess other([](Handshake& line) {
        CatchStopSignals();
        line.Tell();
        while (StopSignal() == 0)
            poll(nullptr, 0, 60'000);
    });
    other.Await();
    other.Kill(SIGINT);
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait(std::chrono::seconds(30)));
}

TEST(StopSignalsTest, IgnoredOneGoesOnBeingIgnored) {
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

TEST(StopSignalsTest, Names) {
    EXPECT_STREQ("SIGINT", NameOfStopSignal(SIGINT));
    EXPECT_STREQ("SIGTERM", NameOfStopSignal(SIGTERM));
}

} // namespace
