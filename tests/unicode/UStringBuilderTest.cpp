#include "unicode/UStringBuilder.h"

#include <numeric>

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"
#include "tests/support/ZeroBytes.h"
#include "tests/unicode/Units.h"

namespace {

static_assert(!std::is_convertible_v<UStringBuilder<UTF8>*, UTextReceiver<UTF8>*>);

template <class Builder>
constexpr bool staysInPlace =
    !std::is_copy_constructible_v<Builder> && !std::is_move_constructible_v<Builder> &&
    !std::is_copy_assignable_v<Builder> && !std::is_move_assignable_v<Builder>;
static_assert(staysInPlace<UStringBuilder<UTF8>> && staysInPlace<UStringBuilder<UTF32>>);

// 1, 2, 3 ...
template <class E>
Units<E> Count(std::size_t length) {
    Units<E> units(length);
    std::iota(units.begin(), units.end(), typename E::Unit{1});
    return units;
}

TEST(UStringBuilderTest, CollectsTheChunksInOrder) {
    ForEachUnicode([]<class E>(E) {
        UStringBuilder<E> builder(20);
        UTextReceiver<E>& receiver = builder();
        receiver.Start(E());
        Units<E> const units = Count<E>(12);
        receiver.Receive(ConstArrayOf<typename E::Unit>(units.data(), 5));
        receiver.Receive(ConstArrayOf<typename E::Unit>());
        receiver.Receive(ConstArrayOf<typename E::Unit>(units.data() + 5, 7));
        receiver.ReceiveEnd();
        EXPECT_EQ(units, UnitsOf(builder.Text()));
        EXPECT_EQ(20u, builder.Capacity());
    });
}

TEST(UStringBuilderTest, GrowsToTwiceItsCapacityOrTheRequiredOne) {
    struct {
        std::size_t initial;
        std::vector<std::size_t> chunks;
        std::size_t capacity;
    } const cases[] = {{4, {}, 4},     {4, {4, 0}, 4}, {4, {5}, 8}, {4, {20}, 20},
                       {4, {3, 6}, 9}, {0, {}, 0},     {0, {0}, 0}, {0, {3}, 3}};
    for (auto const& [initial, chunks, capacity] : cases) {
        UStringBuilder<UTF16> builder(initial);
        EXPECT_EQ(0u, builder.Capacity());
        EXPECT_TRUE(builder.Text().IsEmpty());
        for (int stream = 0; stream < 2; ++stream) {
            builder().Start(UTF16());
            EXPECT_EQ(initial, builder.Capacity());
            EXPECT_TRUE(builder.Text().IsEmpty());
            Units<UTF16> const units = Count<UTF16>(20);
            std::size_t length = 0;
            for (std::size_t const chunk : chunks) {
                builder().Receive(ConstArrayOf<unsigned short>(units.data() + length, chunk));
                length += chunk;
            }
            EXPECT_EQ(capacity, builder.Capacity());
            EXPECT_EQ(Count<UTF16>(length), UnitsOf(builder.Text()));
        }
    }
}

TEST(UStringBuilderTest, ReleasesReplacedBuffers) {
    AllocationCounter const counter;
    {
        UStringBuilder<UTF16> builder(4);
        EXPECT_EQ(0u, counter.Count());
        Units<UTF16> const units(5);
        AllocationCounter const ofBuilder;
        builder().Start(UTF16());
        EXPECT_EQ(8u, ofBuilder.Bytes());
        EXPECT_EQ(0u, ofBuilder.Releases());
        builder().Receive(ArrayOfUnits(units));
        EXPECT_EQ(1u, ofBuilder.Releases());
        builder().Start(UTF16());
        EXPECT_EQ(2u, ofBuilder.Releases());
        EXPECT_EQ(3u, ofBuilder.Count());
    }
    EXPECT_EQ(counter.Count(), counter.Releases());
}

// The order of calls is not enforced: text received before Start is kept until Start.
TEST(UStringBuilderTest, StartDropsTextReceivedBefore) {
    UStringBuilder<UTF8> builder(4);
    builder().Receive(ArrayOfUnits(Count<UTF8>(3)));
    EXPECT_EQ(Count<UTF8>(3), UnitsOf(builder.Text()));
    EXPECT_EQ(3u, builder.Capacity());
    builder().Start(UTF8());
    EXPECT_TRUE(builder.Text().IsEmpty());
    EXPECT_EQ(4u, builder.Capacity());
}

TEST(UStringBuilderTest, FailedAllocationKeepsTheText) {
    UStringBuilder<UTF32> builder(4);
    builder().Start(UTF32());
    Units<UTF32> const units = Count<UTF32>(4);
    builder().Receive(ArrayOfUnits(units));
    {
        FailingAllocation const failing(1, FailingAllocation::FromThenOn);
        EXPECT_THROW(builder().Receive(ArrayOfUnits(units)), std::bad_alloc);
        EXPECT_THROW(builder().Start(UTF32()), std::bad_alloc);
    }
    EXPECT_EQ(4u, builder.Capacity());
    EXPECT_EQ(units, UnitsOf(builder.Text()));
}

// Deliberate: the length of a chunk is truncated to 32 bits. The chunk is a range of addresses;
// only its start is read.
TEST(UStringBuilderTest, ChunkLengthIsTruncatedTo32Bits) {
    ZeroBytes const piece((std::size_t{1} << 32) + 3);
    if (piece.WhyNot() != nullptr)
        GTEST_SKIP() << piece.WhyNot();
    UStringBuilder<UTF8> builder(8);
    builder().Start(UTF8());
    builder().Receive(ConstArrayOf<unsigned char>(piece.Bytes().begin, piece.Bytes().end));
    EXPECT_EQ(Units<UTF8>(3), UnitsOf(builder.Text()));
    EXPECT_EQ(8u, builder.Capacity());
}

} // namespace
