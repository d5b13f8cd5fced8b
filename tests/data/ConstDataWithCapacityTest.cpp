#include "data/ConstDataWithCapacity.h"

#include <gtest/gtest.h>

#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"

namespace {

TEST(ConstDataWithCapacityTest, HoldsATextWithANulBehindIt) {
    ConstDataWithCapacity<4> const holder(ConstData("abc"));
    EXPECT_EQ(3u, holder.length);
    EXPECT_STREQ("abc", holder.Text());
    EXPECT_EQ(ConstData("abc"), ConstData(holder));
}

TEST(ConstDataWithCapacityTest, TakesExactlyItsCapacity) {
    ConstDataWithCapacity<4> const holder(ConstData("abcd"));
    EXPECT_STREQ("abcd", holder.Text());
    EXPECT_THROW(ConstDataWithCapacity<4>(ConstData("abcde")), ConstDataCapacityExceeded);
}

TEST(ConstDataWithCapacityTest, EmptyTextsFit) {
    EXPECT_STREQ("", ConstDataWithCapacity<0>(ConstData()).Text());
    EXPECT_STREQ("", ConstDataWithCapacity<2>().Text());
    EXPECT_EQ(0u, ConstDataWithCapacity<2>().length);
    EXPECT_THROW(ConstDataWithCapacity<0>(ConstData("a")), ConstDataCapacityExceeded);
}

TEST(ConstDataWithCapacityTest, CopiesAreOnTheirOwn) {
    ConstDataWithCapacity<4> first(ConstData("abc"));
    ConstDataWithCapacity<4> const second = first;
    first = ConstDataWithCapacity<4>(ConstData("xy"));
    EXPECT_STREQ("xy", first.Text());
    EXPECT_STREQ("abc", second.Text());
    EXPECT_EQ(second.bytes, ConstData(second).begin);
}

TEST(ConstDataWithCapacityTest, NulInsideCounts) {
    ConstDataWithCapacity<4> const holder("a\0b"_bytes);
    EXPECT_EQ("a\0b"_bytes, ConstData(holder));
    EXPECT_STREQ("a", holder.Text());
}

TEST(ConstDataWithCapacityTest, AllocatesNothing) {
    EXPECT_EQ(0u, AllocationsOf([] { ConstDataWithCapacity<48>(ConstData("ANSI_X3.4-1968")); }));
}

TEST(ConstDataWithCapacityTest, FailureNamesItself) {
    EXPECT_STREQ("25ConstDataCapacityExceeded", ConstDataCapacityExceeded().what());
}

} // namespace
