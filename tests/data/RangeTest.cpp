#include "data/Range.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace {

static_assert(sizeof(Range<unsigned long long>) == 16);
static_assert(std::is_trivially_copyable_v<Range<unsigned long long>>);

TEST(RangeTest, IsAPlainPairOfNumbers) {
    Range<unsigned long long> const range{3, 5};
    EXPECT_EQ(3u, range.begin);
    EXPECT_EQ(5u, range.end);
    EXPECT_EQ(0u, Range<unsigned long long>().begin);
    EXPECT_EQ(0u, Range<unsigned long long>().end);
}

TEST(RangeTest, EqualityIsThatOfBothEnds) {
    EXPECT_TRUE((Range<int>{1, 2} == Range<int>{1, 2}));
    EXPECT_FALSE((Range<int>{1, 2} == Range<int>{1, 3}));
    EXPECT_FALSE((Range<int>{0, 2} == Range<int>{1, 2}));
}

} // namespace
