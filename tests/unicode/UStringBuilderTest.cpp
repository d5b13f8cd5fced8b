#include "unicode/UStringBuilder.h"

#include <numeric>
#include <type_traits>

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

template <class E>
void CheckCollecting() {
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
}

TEST(UStringBuilderTest, CollectsThePiecesInOrder) {
    CheckCollecting<UTF8>();
    CheckCollecting<UTF16>();
    CheckCollecting<UTF32>();
}

TEST(UStringBuilderTest, StartAllocatesTheInitialCapacity) {
    UStringBuilder<UTF32> builder(10);
    EXPECT_EQ(0u, builder.Capacity());
    EXPECT_TRUE(builder.Text().IsEmpty());
    AllocationCounter const counter;
    builder().Start(UTF32());
    EXPECT_EQ(1u, counter.Count());
    EXPECT_EQ(40u, counter.Bytes());
    EXPECT_EQ(10u, builder.Capacity());
    builder().Receive(ArrayOfUnits(Count<UTF32>(10)));
    EXPECT_EQ(10u, builder.Capacity());
    EXPECT_EQ(10u, builder.Text().Length());
}

// Growing from 4: to twice as much for a fifth unit, to what is needed for twenty.
TEST(UStringBuilderTest, GrowsToTwiceItsCapacityOrToWhatIsNeeded) {
    Units<UTF16> const units = Count<UTF16>(20);
    UStringBuilder<UTF16> twice(4);
    twice().Start(UTF16());
    twice().Receive(ConstArrayOf<unsigned short>(units.data(), 5));
    EXPECT_EQ(8u, twice.Capacity());
    EXPECT_EQ(Count<UTF16>(5), UnitsOf(twice.Text()));

    UStringBuilder<UTF16> needed(4);
    needed().Start(UTF16());
    needed().Receive(ArrayOfUnits(units));
    EXPECT_EQ(20u, needed.Capacity());
    EXPECT_EQ(units, UnitsOf(needed.Text()));

    // What is held counts: 3 and 6 are more than twice 4.
    UStringBuilder<UTF16> held(4);
    held().Start(UTF16());
    held().Receive(ConstArrayOf<unsigned short>(units.data(), 3));
    held().Receive(ConstArrayOf<unsigned short>(units.data() + 3, 6));
    EXPECT_EQ(9u, held.Capacity());
    EXPECT_EQ(Count<UTF16>(9), UnitsOf(held.Text()));
}

TEST(UStringBuilderTest, FullBuilderDoesNotGrowForNothing) {
    UStringBuilder<UTF8> builder(4);
    builder().Start(UTF8());
    Units<UTF8> const units = Count<UTF8>(4);
    AllocationCounter const counter;
    builder().Receive(ArrayOfUnits(units));
    builder().Receive(ConstArrayOf<unsigned char>());
    EXPECT_EQ(0u, counter.Count());
    EXPECT_EQ(4u, builder.Capacity());
}

TEST(UStringBuilderTest, ZeroCapacityGrowsToExactlyWhatIsNeeded) {
    UStringBuilder<UTF8> builder(0);
    builder().Start(UTF8());
    EXPECT_EQ(0u, builder.Capacity());
    EXPECT_TRUE(builder.Text().IsEmpty());
    builder().Receive(ConstArrayOf<unsigned char>());
    EXPECT_EQ(0u, builder.Capacity());
    builder().Receive(ArrayOfUnits(Count<UTF8>(3)));
    EXPECT_EQ(3u, builder.Capacity());
    EXPECT_EQ(Count<UTF8>(3), UnitsOf(builder.Text()));
}

TEST(UStringBuilderTest, SecondStartDropsWhatWasHeldAndTheCapacity) {
    UStringBuilder<UTF8> builder(4);
    builder().Start(UTF8());
    builder().Receive(ArrayOfUnits(Count<UTF8>(20)));
    builder().Start(UTF8());
    EXPECT_TRUE(builder.Text().IsEmpty());
    EXPECT_EQ(4u, builder.Capacity());
    builder().Receive(ArrayOfUnits(Count<UTF8>(2)));
    EXPECT_EQ(Count<UTF8>(2), UnitsOf(builder.Text()));
}

TEST(UStringBuilderTest, EachBufferIsReleasedWhenTheNextOneIsThere) {
    AllocationCounter const counter;
    {
        UStringBuilder<UTF16> builder(4);
        EXPECT_EQ(0u, counter.Count());
        Units<UTF16> const units(5);
        AllocationCounter const ofBuilder;
        builder().Start(UTF16());
        EXPECT_EQ(0u, ofBuilder.Releases());
        builder().Receive(ArrayOfUnits(units));
        EXPECT_EQ(1u, ofBuilder.Releases());
        builder().Start(UTF16());
        EXPECT_EQ(2u, ofBuilder.Releases());
        EXPECT_EQ(3u, ofBuilder.Count());
    }
    EXPECT_EQ(counter.Count(), counter.Releases());
}

// Nothing enforces the order: what comes before Start is kept until then.
TEST(UStringBuilderTest, UnitsBeforeStartAreCollectedAndThenDropped) {
    UStringBuilder<UTF8> builder(4);
    builder().Receive(ArrayOfUnits(Count<UTF8>(3)));
    EXPECT_EQ(Count<UTF8>(3), UnitsOf(builder.Text()));
    EXPECT_EQ(3u, builder.Capacity());
    builder().Start(UTF8());
    EXPECT_TRUE(builder.Text().IsEmpty());
    EXPECT_EQ(4u, builder.Capacity());
}

TEST(UStringBuilderTest, FailingAllocationLeavesWhatWasHeld) {
    UStringBuilder<UTF32> builder(4);
    builder().Start(UTF32());
    builder().Receive(ArrayOfUnits(Count<UTF32>(4)));
    Units<UTF32> const units = Count<UTF32>(4);
    {
        FailingAllocation const failing(1);
        EXPECT_THROW(builder().Receive(ArrayOfUnits(units)), std::bad_alloc);
    }
    {
        FailingAllocation const failing(1);
        EXPECT_THROW(builder().Start(UTF32()), std::bad_alloc);
    }
    EXPECT_EQ(4u, builder.Capacity());
    EXPECT_EQ(units, UnitsOf(builder.Text()));
}

// Deliberate: the count of a piece is taken in 32 bits. The piece is a range of addresses, of which
// only the start is ever looked at.
TEST(UStringBuilderTest, PieceOf2To32UnitsAndThreeCountsAsThree) {
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
