#include "data/ArrayOf.h"

#include "tests/data/DataTest.h"

namespace {

static_assert(sizeof(ConstArrayOf<int>) == 2 * sizeof(int*));
static_assert(sizeof(ArrayOf<int>) == 2 * sizeof(int*));
static_assert(std::is_trivially_copyable_v<ArrayOf<int>>);
static_assert(std::is_convertible_v<ArrayOf<int>, ConstArrayOf<int>>);
static_assert(!std::is_convertible_v<ConstArrayOf<int>, ArrayOf<int>>);
static_assert(sizeof(Range<unsigned long long>) == 16);
static_assert(std::is_trivially_copyable_v<Range<unsigned long long>>);
static_assert(sizeof(BufferOf<unsigned short>::count) == 4);

TEST(ArrayOfTest, DefaultRangeHasNullPointers) {
    EXPECT_EQ(nullptr, ArrayOf<int>().begin);
    EXPECT_EQ(nullptr, ArrayOf<int>().end);
    EXPECT_EQ(nullptr, ConstArrayOf<int>().begin);
    EXPECT_TRUE(ConstArrayOf<int>().IsEmpty());
    EXPECT_EQ(0u, ArrayOf<int>().Length());
}

TEST(ArrayOfTest, RangesAreHalfOpen) {
    int numbers[] = {1, 2, 3};
    ArrayOf<int> const all(numbers);
    EXPECT_EQ(numbers, all.begin);
    EXPECT_EQ(numbers + 3, all.end);
    EXPECT_EQ(3u, all.Length());
    EXPECT_EQ(2u, ArrayOf<int>(numbers, 2).Length());
    EXPECT_TRUE(ArrayOf<int>(numbers, 0).IsEmpty());
    EXPECT_EQ(2, ConstArrayOf<int>(numbers + 1, numbers + 3)[0]);
    all[2] = 7;
    EXPECT_EQ(7, ConstArrayOf<int>(all)[2]);
}

TEST(ArrayOfTest, NewBufferOfHasACountOfZero) {
    unsigned short units[4];
    BufferOf<unsigned short> const buffer{ArrayOf<unsigned short>(units)};
    EXPECT_EQ(units, buffer.begin);
    EXPECT_EQ(units + 4, buffer.end);
    EXPECT_EQ(0u, buffer.count);
}

TEST(RangeTest, IsAPairOfNumbersComparedByBoth) {
    EXPECT_TRUE((Range<int>() == Range<int>{0, 0}));
    EXPECT_EQ(3, (Range<int>{3, 5}.begin));
    EXPECT_EQ(5, (Range<int>{3, 5}.end));
    EXPECT_TRUE((Range<int>{1, 2} == Range<int>{1, 2}));
    EXPECT_FALSE((Range<int>{1, 2} == Range<int>{1, 3}));
    EXPECT_FALSE((Range<int>{0, 2} == Range<int>{1, 2}));
}

} // namespace
