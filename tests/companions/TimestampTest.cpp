#include "companions/Timestamp.h"

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

TEST(TimestampTest, RoundTripsTimestamps) {
    for (char const* const zone : {"UTC0", "CET-1", "NST3:30"})
        for (time_t const second : {time_t{-1}, time_t{0}, morning, time_t{4102444800}}) {
            timespec const time{second, 125'000'000};
            std::optional<timespec> const read = ParseTimestamp(FormatIn(zone, time));
            ASSERT_TRUE(read);
            EXPECT_EQ(time.tv_sec, read->tv_sec);
            EXPECT_EQ(time.tv_nsec, read->tv_nsec);
        }
}

TEST(TimestampTest, ReadsOtherFormsOfRfc3339) {
    EXPECT_EQ(morning, ParseTimestamp("2026-03-01T08:30:00Z")->tv_sec);
    EXPECT_EQ(morning, ParseTimestamp("2026-03-01t08:30:00z")->tv_sec);
    EXPECT_EQ(123'456'789, ParseTimestamp("2026-03-01T08:30:00.1234567899Z")->tv_nsec);
    EXPECT_TRUE(ParseTimestamp("2016-12-31T23:59:60Z"));
    EXPECT_TRUE(ParseTimestamp("2024-02-29T00:00:00Z"));
    EXPECT_EQ(morning - 86340, ParseTimestamp("2026-03-01T08:30:00+23:59")->tv_sec);
}

TEST(TimestampTest, ReadsYears0To9999) {
    // The year 0 begins 719,528 days before 1970.
    EXPECT_EQ(-719'528LL * 86'400, ParseTimestamp("0000-01-01T00:00:00Z")->tv_sec);
    EXPECT_EQ(2'932'897LL * 86'400 - 1, ParseTimestamp("9999-12-31T23:59:59Z")->tv_sec);
}

TEST(TimestampTest, RefusesInvalidTimes) {
    for (char const* const text :
         {"", "2026-03-01", "2026-03-01T08:30:00", "2026-03-01 08:30:00Z", "2026-3-1T08:30:00Z",
          "2026-13-01T08:30:00Z", "2026-00-01T08:30:00Z", "2026-02-29T08:30:00Z",
          "2026-02-30T23:59:60Z", "2026-03-01T24:30:00Z", "2026-03-01T08:60:00Z",
          "2026-03-01T08:30:61Z", "2026-03-01T08:30:00.Z", "2026-03-01T08:30:00+1",
          "2026-03-01T08:30:00+24:00", "2026-03-01T08:30:00+23:60", "2026-03-01T08:30:00Zx",
          "+026-03-01T08:30:00Z", "2026-03-01T08:30:00 01:00"})
        EXPECT_FALSE(ParseTimestamp(text)) << text;
}

TEST(TimestampTest, RefusesTimesWithoutSeparatorsOrNumbers) {
    for (char const* const text :
         {"202603-01T08:30:00Z", "2026-0301T08:30:00Z", "2026-03-0108:30:00Z",
          "2026-03-01T0830:00Z", "2026-03-01T08:3000Z", "2026-03-xxT08:30:00Z",
          "2026-03-01Txx:30:00Z", "2026-03-01T08:30:00+0100"})
        EXPECT_FALSE(ParseTimestamp(text)) << text;
}

TEST(TimestampTest, OrdersTimes) {
    EXPECT_TRUE(IsBefore({1, 5}, {2, 0}));
    EXPECT_TRUE(IsBefore({1, 5}, {1, 6}));
    EXPECT_FALSE(IsBefore({1, 5}, {1, 5}));
    EXPECT_FALSE(IsBefore({2, 0}, {1, 5}));
}

TEST(TimestampTest, AgesHaveUnits) {
    for (auto const& [text, age] : {std::pair{"59 s", 59},
                                    {"1 min", 60},
                                    {"59 min", 3599},
                                    {"1 h", 3600},
                                    {"47 h", 48 * 3600 - 1},
                                    {"2 d 1 h", 49 * 3600},
                                    {"in 2 min", -120}})
        EXPECT_EQ(text, FormatAge(age));
}

} // namespace
