#include "unicode/AutoUString.h"

#include <gtest/gtest.h>

#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/unicode/Units.h"

namespace {

template <class E>
constexpr bool hasOneOwner =
    !std::is_copy_constructible_v<AutoUString<E>> && !std::is_copy_assignable_v<AutoUString<E>> &&
    std::is_nothrow_move_constructible_v<AutoUString<E>> &&
    std::is_nothrow_move_assignable_v<AutoUString<E>>;
static_assert(hasOneOwner<UTF8> && hasOneOwner<UTF16> && hasOneOwner<UTF32> &&
              hasOneOwner<Local8Bit>);

// A string converts only to views of its own encoding.
static_assert(std::is_convertible_v<AutoUString<UTF8> const&, UStringRef<UTF8>>);
static_assert(!std::is_convertible_v<AutoUString<UTF8> const&, UStringRef<Local8Bit>>);
static_assert(!std::is_convertible_v<AutoUString<Local8Bit> const&, UStringRef<UTF8>>);
static_assert(!std::is_constructible_v<AutoUString<UTF8>, AutoUString<Local8Bit>>);

template <class E>
void ExpectNull(AutoUString<E> const& text) {
    EXPECT_EQ(nullptr, text.Begin());
    EXPECT_EQ(nullptr, text.End());
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(0u, text.Length());
    EXPECT_FALSE(static_cast<UStringRef<E>>(text).nullTerminated);
}

TEST(AutoUStringTest, MakeUStringCopiesTheTextAndAddsANul) {
    ForEachUnicode([]<class E>(E) {
        using Unit = typename E::Unit;
        Units<E> const units{'a', static_cast<Unit>(0xFFFFFFFF), 0, 'b'};
        AllocationCounter const counter;
        AutoUString<E> const text = MakeUString(units.data(), units.data() + 4, E());
        EXPECT_EQ(1u, counter.Count());
        EXPECT_EQ(5 * sizeof(Unit), counter.Bytes());
        EXPECT_EQ(units, UnitsOf(text));
        EXPECT_EQ(4u, text.Length());
        EXPECT_EQ(Unit{0}, *text.End());
        EXPECT_NE(units.data(), text.Begin());
        UStringRef<E> const view = text;
        EXPECT_TRUE(view.begin == text.Begin() && view.end == text.End() && view.nullTerminated);
    });
}

TEST(AutoUStringTest, EmptyRangesHaveNullPointers) {
    ForEachUnicode([]<class E>(E) {
        typename E::Unit const unit = 'x';
        AllocationCounter const counter;
        ExpectNull(MakeUString<E>(nullptr, nullptr, E()));
        ExpectNull(MakeUString(&unit, &unit, E()));
        ExpectNull(AutoUString<E>());
        EXPECT_EQ(0u, counter.Count());
    });
    ExpectNull(SeizeUString(OwnedArray<char>(), Local8Bit()));
    ExpectNull(SeizeUString(Allocate<unsigned int>(0), UTF32()));
    AutoUString<UTF8> const empty = MakeUString<UTF8>(nullptr, nullptr, UTF8());
    EXPECT_TRUE((EncodingCast<ConstData, UTF8>(empty).IsEmpty()));
}

TEST(AutoUStringTest, SeizeUStringTakesTheBuffer) {
    AllocationCounter const counter;
    {
        OwnedArray<char> buffer = Allocate<char>(3);
        char* const place = buffer.Pointer();
        std::memcpy(place, "hi", 3);
        AutoUString<Local8Bit> text = SeizeUString(std::move(buffer), Local8Bit());
        EXPECT_EQ(nullptr, buffer.Pointer());
        EXPECT_EQ(0u, buffer.Disposer().count);
        EXPECT_EQ(place, text.Begin());
        EXPECT_EQ(place + 2, text.End());
        AutoUString<Local8Bit> const last(std::move(text));
        EXPECT_EQ(0u, counter.Releases());
        EXPECT_EQ(ConstData("hi"), (EncodingCast<ConstData, Local8Bit>(last)));
    }
    EXPECT_EQ(1u, counter.Count());
    EXPECT_EQ(1u, counter.Releases());
}

TEST(AutoUStringTest, SeizeUStringOfAnEmptyTextKeepsTheBuffer) {
    OwnedArray<unsigned int> buffer = Allocate<unsigned int>(1);
    unsigned int* const place = buffer.Pointer();
    *place = 0;
    AutoUString<UTF32> const text = SeizeUString(std::move(buffer), UTF32());
    EXPECT_EQ(place, text.Begin());
    EXPECT_EQ(place, text.End());
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(0u, *text.End());
    EXPECT_TRUE(static_cast<UStringRef<UTF32>>(text).nullTerminated);
}

TEST(AutoUStringTest, MoveTransfersTheBuffer) {
    unsigned char const units[] = {'a', 'b'};
    AutoUString<UTF8> first = MakeUString(units, units + 2, UTF8());
    unsigned char const* const place = first.Begin();
    AutoUString<UTF8> second(std::move(first));
    ExpectNull(first);
    EXPECT_EQ(place, second.Begin());
    EXPECT_EQ(2u, second.Length());

    AutoUString<UTF8> third = MakeUString(units, units + 1, UTF8());
    third = std::move(second);
    ExpectNull(second);
    EXPECT_EQ(place, third.Begin());
    AutoUString<UTF8>& itself = third;
    third = std::move(itself);
    EXPECT_EQ(place, third.Begin());
    third = AutoUString<UTF8>();
    ExpectNull(third);
}

TEST(AutoUStringTest, FailedAllocationPropagates) {
    unsigned char const units[] = {'a'};
    FailingAllocation const failing(1);
    EXPECT_THROW(MakeUString(units, units + 1, UTF8()), std::bad_alloc);
}

} // namespace
