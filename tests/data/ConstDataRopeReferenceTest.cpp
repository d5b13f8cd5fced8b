#include "data/ConstDataRopeReference.h"

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "data/Buffer.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"

namespace {

ConstData const words[] = {"one", "", "two", "three"};

TEST(ConstDataRopeReferenceTest, IsMadeFromAnArrayOrAListOfPieces) {
    EXPECT_EQ("onetwothree", MakeString(ConstDataRopeReference(words)));
    EXPECT_EQ("onetwo", MakeString(ConstDataRopeReference(words, 3)));
    EXPECT_EQ("two", MakeString(ConstDataRopeReference(words + 2, words + 3)));
    std::string const name = "name";
    ConstDataRope const rope{"<", name, std::string_view("/"), ConstData(">")};
    EXPECT_EQ("<name/>", MakeString(rope));
    EXPECT_EQ("a", MakeString(ConstDataRope{"a"}));
}

TEST(ConstDataRopeReferenceTest, TotalLengthIsTheSumOfThePieces) {
    EXPECT_EQ(11u, TotalLength(ConstDataRopeReference(words)));
    EXPECT_EQ(0u, TotalLength(ConstDataRopeReference()));
    EXPECT_EQ(0u, TotalLength(ConstDataRopeReference(words, 0)));
}

TEST(ConstDataRopeReferenceTest, TotalLengthHas64Bits) {
    std::size_t const size = std::size_t{3} << 30;
    void* const memory = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, memory);
    ConstData const huge(static_cast<char const*>(memory), size);
    EXPECT_EQ(std::uint64_t{6} << 30, TotalLength(ConstDataRope{huge, huge}));
    munmap(memory, size);
}

TEST(ConstDataRopeReferenceTest, NoPiecesMakeTheEmptyString) {
    EXPECT_EQ("", MakeString(ConstDataRopeReference()));
}

TEST(ConstDataRopeReferenceTest, MakeStringAllocatesOnce) {
    std::string const piece(100, 'x');
    EXPECT_EQ(1u, AllocationsOf([&] { MakeString(ConstDataRope{piece, piece, piece}); }));
}

TEST(ConstDataRopeReferenceTest, WritesThePiecesAndYieldsTheRest) {
    unsigned char target[] = "............";
    Data const rest = Data(target, 12) << ConstDataRopeReference(words);
    EXPECT_EQ(target + 11, rest.begin);
    EXPECT_EQ(target + 12, rest.end);
    EXPECT_EQ(ConstData("onetwothree."), ConstData(target, 12));
}

TEST(ConstDataRopeReferenceTest, ShortTargetCutsThePieceThatOverflows) {
    unsigned char target[] = "........";
    Data const rest = Data(target, 5) << ConstDataRopeReference(words);
    EXPECT_TRUE(rest.IsEmpty());
    EXPECT_EQ(target + 5, rest.begin);
    EXPECT_EQ(ConstData("onetw..."), ConstData(target, 8));
}

// Deliberate: a short piece behind the one that was cut could fit, but there is no room left by
// definition, since the cut piece has filled the target.
TEST(ConstDataRopeReferenceTest, PiecesBehindTheCutOneAddNothing) {
    unsigned char target[] = "....";
    EXPECT_TRUE((Data(target, 2) << ConstDataRope{"abc", "d"}).IsEmpty());
    EXPECT_EQ(ConstData("ab.."), ConstData(target, 4));
}

TEST(ConstDataRopeReferenceTest, WritesIntoABufferFromItsPosition) {
    unsigned char bytes[] = "........";
    Buffer buffer{Data(bytes, 8)};
    EXPECT_EQ(&buffer, &(buffer << ConstDataRope{"a", "b"}));
    EXPECT_EQ(bytes + 2, buffer.position);
    buffer << ConstDataRopeReference(words);
    EXPECT_EQ(ConstData("abonetwo"), ConstData(bytes, 8));
    EXPECT_TRUE(buffer.IsFull());
    buffer << ConstDataRopeReference(words);
    EXPECT_TRUE(buffer.IsFull());
}

TEST(ConstDataRopeReferenceTest, WritingNothingLeavesTheTarget) {
    unsigned char target[] = "..";
    EXPECT_EQ(target, (Data(target, 2) << ConstDataRopeReference()).begin);
    EXPECT_EQ(nullptr, (Data() << ConstDataRopeReference(words)).begin);
    EXPECT_EQ(0u, AllocationsOf([&] { Data(target, 2) << ConstDataRopeReference(words); }));
}

} // namespace
