#include "files/Instant.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

TEST(InstantTest, IsASignedCountOfMicrosecondsFromTheEpoch) {
    EXPECT_EQ(0, Instant().microseconds);
    std::int64_t const counts[] = {INT64_MIN, -1, 0, 1, 1'706'659'200'000'000, INT64_MAX};
    for (std::int64_t first : counts) {
        EXPECT_EQ(first, Instant(first).microseconds);
        for (std::int64_t second : counts) {
            EXPECT_EQ(first < second, Instant(first) < Instant(second));
            EXPECT_EQ(first <= second, Instant(first) <= Instant(second));
            EXPECT_EQ(first == second, Instant(first) == Instant(second));
        }
    }
}

} // namespace
