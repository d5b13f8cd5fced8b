#include "files/Instant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

TEST(InstantTest, StandsAtTheEpochUnlessToldOtherwise) {
    EXPECT_EQ(0, Instant().microseconds);
    EXPECT_EQ(Instant(0), Instant());
}

TEST(InstantTest, HoldsEveryCount) {
    std::int64_t const least = std::numeric_limits<std::int64_t>::min();
    std::int64_t const most = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(least, Instant(least).microseconds);
    EXPECT_EQ(most, Instant(most).microseconds);
}

TEST(InstantTest, IsOrderedByItsSignedCount) {
    EXPECT_LT(Instant(-1), Instant(0));
    EXPECT_LT(Instant(1'706'659'200'000'000), Instant(1'706'659'200'000'001));
    EXPECT_GT(Instant(1), Instant(-1));
    EXPECT_LE(Instant(7), Instant(7));
    EXPECT_FALSE(Instant(7) < Instant(7));
    EXPECT_NE(Instant(-1), Instant(1));
}

} // namespace
