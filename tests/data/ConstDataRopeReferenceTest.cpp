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

TEST(ConstDataRopeReferenceTest, IsConstructedFromAnArrayOrAList) {
    EXPECT_EQ("onetwothree", MakeString(ConstDataRopeReference(words)));
    EXPECT_EQ("onetwo", MakeString(ConstDataRopeReference(words, 3)));
    EXPECT_EQ("two", MakeString(ConstDataRopeReference(words + 2, words + 3)));
    std::string const name = "name";
    ConstDataRope const rope{"<", name, std::string_view("/"), ConstData(">")};
    EXPECT_EQ("<name/>", MakeString(rope));
    EXPECT_EQ("", MakeString(ConstDataRopeReference()));
}

TEST(ConstDataRopeReferenceTest, TotalLengthIsTheSumOfTheLengths) {
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

TEST(ConstDataRopeReferenceTest, MakeStringAllocatesOnce) {
    std::string const piece(100, 'x');
    EXPECT_EQ(1u, AllocationsOf([&] { MakeString(ConstDataRope{piece, piece, piece}); }));
}

TEST(ConstDataRopeReferenceTest, WritesTheViewsAndReturnsTheRest) {
    unsigned char target[] = "............";
    Data const rest = Data(target, 12) << ConstDataRopeReference(words);
    EXPECT_EQ(target + 11, rest.begin);
    EXPECT_EQ(target + 12, rest.end);
    EXPECT_EQ(ConstData("onetwothree."), ConstData(target, 12));
}

// Deliberate: nothing is written after the view that does not fit.
TEST(ConstDataRopeReferenceTest, ShortTargetIsFilled) {
    unsigned char target[] = "........";
    Data const rest = Data(target, 5) << ConstDataRope{"one", "twofour", "d"};
    EXPECT_TRUE(rest.IsEmpty());
    EXPECT_EQ(target + 5, rest.begin);
    EXPECT_EQ(ConstData("onetw..."), ConstData(target, 8));
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

TEST(ConstDataRopeReferenceTest, WritingNoBytesLeavesTheTargetUnchanged) {
    unsigned char target[] = "..";
    EXPECT_EQ(target, (Data(target, 2) << ConstDataRopeReference()).begin);
    EXPECT_EQ(nullptr, (Data() << ConstDataRopeReference(words)).begin);
    EXPECT_EQ(0u, AllocationsOf([&] { Data(target, 2) << ConstDataRopeReference(words); }));
}

} // namespace
