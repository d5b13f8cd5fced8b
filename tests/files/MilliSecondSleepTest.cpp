#include "files/MilliSecondSleep.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "tests/files/RecordedSleeps.h"

namespace {

using testing::ElementsAre;

TEST(MilliSecondSleepTest, LessThanASecondIsOneCall) {
    RecordedSleeps const sleeps;
    MilliSecondSleep(1);
    MilliSecondSleep(999);
    EXPECT_THAT(sleeps.Calls(), ElementsAre("usleep 1000", "usleep 999000"));
}

TEST(MilliSecondSleepTest, WholeSecondsComeFirst) {
    RecordedSleeps const sleeps;
    MilliSecondSleep(1'016);
    EXPECT_THAT(sleeps.Calls(), ElementsAre("sleep 1", "usleep 16000"));
}

// Deliberate: the rest is slept even if there is none.
TEST(MilliSecondSleepTest, NothingIsSleptAsARestOfZero) {
    RecordedSleeps const sleeps;
    MilliSecondSleep(0);
    MilliSecondSleep(4'000);
    EXPECT_THAT(sleeps.Calls(), ElementsAre("usleep 0", "sleep 4", "usleep 0"));
}

TEST(MilliSecondSleepTest, LongestPauseDoesNotOverflow) {
    RecordedSleeps const sleeps;
    MilliSecondSleep(4'294'967'295u);
    EXPECT_THAT(sleeps.Calls(), ElementsAre("sleep 4294967", "usleep 295000"));
}

TEST(MilliSecondSleepTest, ReallyPauses) {
    auto const start = std::chrono::steady_clock::now();
    MilliSecondSleep(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

} // namespace
