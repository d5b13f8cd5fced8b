#include "data/AsciiSet.h"

#include <gtest/gtest.h>

namespace {

unsigned CountMembers(AsciiSet const& set) {
    unsigned count = 0;
    for (unsigned byte = 0; byte < 256; ++byte)
        count += set.Contains(static_cast<unsigned char>(byte));
    return count;
}

TEST(AsciiSetTest, SpanHoldsBothOfItsEndsAndNothingElse) {
    unsigned char const ends[] = {0, 1, 31, 32, 33, 127, 128, 223, 224, 254, 255};
    for (unsigned char first : ends)
        for (unsigned char last : ends)
            for (unsigned byte = 0; byte < 256; ++byte)
                ASSERT_EQ(first <= byte && byte <= last,
                          AsciiSet::Span(first, last).Contains(static_cast<unsigned char>(byte)))
                    << byte << " in " << int(first) << " to " << int(last);
}

TEST(AsciiSetTest, MemberIsABitOfItsWord) {
    AsciiSet const set{{0x00000001, 0x80000000, 0, 0, 0, 0, 0, 0x00000004}};
    EXPECT_TRUE(set.Contains(0));
    EXPECT_TRUE(set.Contains(63));
    EXPECT_TRUE(set.Contains(226));
    EXPECT_EQ(3u, CountMembers(set));
}

TEST(AsciiSetTest, IndexAsksForAMember) {
    AsciiSet const set = AsciiSet::Only('x');
    EXPECT_TRUE(set['x']);
    EXPECT_FALSE(set['y']);
}

TEST(AsciiSetTest, UnionAndComplement) {
    AsciiSet const set = AsciiSet::Span('a', 'c') | AsciiSet::Only(0xFF);
    EXPECT_EQ(4u, CountMembers(set));
    EXPECT_TRUE(set['b'] && set[0xFF]);
    EXPECT_EQ(252u, CountMembers(~set));
    EXPECT_FALSE((~set)['b'] || (~set)[0xFF]);
}

} // namespace
