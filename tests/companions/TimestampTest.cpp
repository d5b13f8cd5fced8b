#include "companions/Timestamp.h"

#include <gtest/gtest.h>

#include "tests/companions/Terminal.h"

namespace {

std::string FormatIn(char const* zone, timespec const& time) {
    EnvironmentVariable const variable("TZ", zone);
    tzset();
    return FormatTimestamp(time);
}

// 2026-03-01 08:30:00 UTC.
constexpr time_t morning = 1772353800;

TEST(TimestampTest, HasLocalTimeMillisecondsAndOffset) {
    EXPECT_EQ("2026-03-01T08:30:00.125+00:00", FormatIn("UTC0", {morning, 125'999'999}));
    EXPECT_EQ("2026-03-01T09:30:00.000+01:00", FormatIn("CET-1", {morning, 999'999}));
    EXPECT_EQ("2026-03-01T05:00:00.999-03:30", FormatIn("NST3:30", {morning, 999'000'000}));
}

TEST(TimestampTest, FormatsTimesBefore1970) {
    EXPECT_EQ("1969-12-31T23:59:59.500+00:00", FormatIn("UTC0", {-1, 500'000'000}));
}

} // namespace
