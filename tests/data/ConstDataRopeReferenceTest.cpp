#include "data/ConstDataRopeReference.h"

#include <sys/mman.h>

#include "tests/data/DataTest.h"

namespace {

ConstData const words[] = {"one", "", "two", "three"};

TEST(ConstDataRopeReferenceTest, IsConstructedFromAnArrayOrAList) {
    EXPECT_EQ("onetwothree", MakeString(ConstDataRopeReference(words)));
    EXPECT_EQ("onetwo", MakeString(ConstDataRopeReference(words, 3)));
    EXPECT_EQ("two", MakeString(ConstDataRopeReference(words + 2, words + 3)));
    std::string const name = "name";
    ConstDataRope const rope{"<", name, std::string_view("/"), ConstData(">")};
    EXPECT_EQ("<name/>", MakeString(rope));
    EXPECT_EQ("", MakeString(ConstDataRopeReference()));
}

TEST(ConstDataRopeReferenceTest, TotalLengthIsTheSumOfTheLengthsIn64Bits) {
    EXPECT_EQ(11u, TotalLength(ConstDataRopeReference(words)));
    EXPECT_EQ(0u, TotalLength(ConstDataRopeReference()));
    EXPECT_EQ(0u, TotalLength(ConstDataRopeReference(words, 0)));
    std::size_t const size = std::size_t{3} << 30;
    void* const memory = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, memory);
    ConstData const huge(static_cast<char const*>(memory), size);
    EXPECT_EQ(std::uint64_t{6} << 30, TotalLength(ConstDataRope{huge, huge}));
    munmap(memory, size);
}

TEST(ConstDataRopeReferenceTest, MakeStringAllocatesOnce) {
    std::string const piece(100, 'x');
    EXPECT_EQ(1u, AllocationsOf([&] { MakeString(ConstDataRope{piece, piece, piece}); }));
}

// Deliberate: bytes that do not fit are dropped without an error.
TEST(ConstDataRopeReferenceTest, FillsTheTargetAndReturnsTheRest) {
    unsigned char target[] = "............";
    Data const rest = Data(target, 12) << ConstDataRopeReference(words);
    EXPECT_EQ(target + 11, rest.begin);
    EXPECT_EQ(target + 12, rest.end);
    EXPECT_EQ(ConstData("onetwothree."), ConstData(target, 12));
    Data const none = Data(target, 5) << ConstDataRope{"ONE", "TWOFOUR", "D"};
    EXPECT_TRUE(none.IsEmpty());
    EXPECT_EQ(target + 5, none.begin);
    EXPECT_EQ(ConstData("ONETWothree."), ConstData(target, 12));
    EXPECT_EQ(target, (Data(target, 2) << ConstDataRopeReference()).begin);
    EXPECT_EQ(nullptr, (Data() << ConstDataRopeReference(words)).begin);
    EXPECT_EQ(0u, AllocationsOf([&] { Data(target, 2) << ConstDataRopeReference(words); }));
}

TEST(ConstDataRopeReferenceTest, WritesIntoABufferFromItsPosition) {
    unsigned char bytes[] = "........";
    Buffer buffer{Data(bytes, 8)};
    EXPECT_EQ(&buffer, &(buffer << ConstDataRope{"a", "b"}));
    EXPECT_EQ(bytes + 2, buffer.position);
    for (int round = 0; round < 2; ++round) {
        buffer << ConstDataRopeReference(words);
        EXPECT_EQ(ConstData("abonetwo"), ConstData(bytes, 8));
        EXPECT_TRUE(buffer.IsFull());
    }
}

} // namespace
