#include "companions/DoctorFiles.h"

#include <gtest/gtest.h>

namespace {

TEST(DoctorFilesTest, AgeInTheLargestUnitOfWhichThereAreTwo) {
    EXPECT_EQ("0 seconds old", DescribeAge(0));
    EXPECT_EQ("1 second old", DescribeAge(1));
    EXPECT_EQ("119 seconds old", DescribeAge(119));
    EXPECT_EQ("2 minutes old", DescribeAge(120));
    EXPECT_EQ("119 minutes old", DescribeAge(7199));
    EXPECT_EQ("2 hours old", DescribeAge(7200));
    EXPECT_EQ("47 hours old", DescribeAge(172'799));
    EXPECT_EQ("2 days old", DescribeAge(172'800));
    EXPECT_EQ("1000 days old", DescribeAge(86'400'000));
    EXPECT_EQ("dated in the future", DescribeAge(-1));
}

TEST(DoctorFilesTest, SecondsBetweenTwoTimesAreSaturated) {
    constexpr long long min = std::numeric_limits<long long>::min();
    constexpr long long max = std::numeric_limits<long long>::max();
    EXPECT_EQ(5, SecondsBetween(10, 15));
    EXPECT_EQ(-5, SecondsBetween(15, 10));
    EXPECT_EQ(max, SecondsBetween(min, 0));
    EXPECT_EQ(max, SecondsBetween(min, max));
    EXPECT_EQ(max, SecondsBetween(min + 1, 0));
    EXPECT_EQ(max, SecondsBetween(min, -1));
    EXPECT_EQ(max - 1, SecondsBetween(min, -2));
    EXPECT_EQ(min, SecondsBetween(max, -2));
    EXPECT_EQ(min, SecondsBetween(max, -1));
    EXPECT_EQ(min + 1, SecondsBetween(max, 0));
    EXPECT_EQ(min, SecondsBetween(0, min));
    EXPECT_EQ(0, SecondsBetween(min, min));
}

TEST(DoctorFilesTest, WhatStandsThere) {
    EXPECT_TRUE(FileFacts("/dev").IsDirectory());
    EXPECT_TRUE(FileFacts("/dev/null").Exists());
    EXPECT_FALSE(FileFacts("/dev/null").IsRegularFile());
    EXPECT_TRUE(FileFacts("/proc/self/exe").IsRegularFile());
    EXPECT_TRUE(FileFacts("/nowhere").IsMissing());
    EXPECT_TRUE(FileFacts("/dev/null/below").IsMissing());
    EXPECT_TRUE(FileFacts(std::string(5000, 'x').c_str()).IsUnknown());
}

} // namespace
