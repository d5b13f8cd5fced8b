#include "files/MilliSecondSleep.h"

#include <chrono>

#include "tests/files/FileTest.h"
#include "tests/files/RecordedSleeps.h"

namespace {

// Deliberate: the remainder is slept even if it is zero.
TEST(MilliSecondSleepTest, SleepsWholeSecondsAndThenTheRemainder) {
    RecordedSleeps const sleeps;
    for (unsigned int milliseconds : {1u, 999u, 1'016u, 0u, 4'000u, 4'294'967'295u})
        MilliSecondSleep(milliseconds);
    EXPECT_THAT(sleeps.Calls(),
                ElementsAre("usleep 1000", "usleep 999000", "sleep 1", "usleep 16000", "usleep 0",
                            "sleep 4", "usleep 0", "sleep 4294967", "usleep 295000"));
}

TEST(MilliSecondSleepTest, BlocksForTheWholeTime) {
    auto const start = std::chrono::steady_clock::now();
    MilliSecondSleep(20);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

} // namespace
