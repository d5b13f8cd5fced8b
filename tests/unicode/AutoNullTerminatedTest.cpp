#include "unicode/AutoNullTerminated.h"

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"
#include "tests/unicode/Units.h"

namespace {

template <class Unit>
constexpr bool pointerHasOneOwner =
    !std::is_copy_constructible_v<AutoNullTerminated<Unit>> &&
    !std::is_copy_assignable_v<AutoNullTerminated<Unit>> &&
    std::is_nothrow_move_constructible_v<AutoNullTerminated<Unit>> &&
    std::is_nothrow_move_assignable_v<AutoNullTerminated<Unit>>;
static_assert(pointerHasOneOwner<char> && pointerHasOneOwner<unsigned int>);

template <class Body>
void ForEachCEncoding(Body body) {
    body(Local8Bit());
    body(UTF32());
}

TEST(AutoNullTerminatedTest, DoesNotCopyTerminatedViews) {
    ForEachCEncoding([]<class E>(E) {
        typename E::Unit const units[] = {'a', 'b', 0};
        AllocationCounter const counter;
        {
            auto const text = MakeNullTerminatedString(UStringRef<E>(units, units + 2, true));
            EXPECT_EQ(units, text.Pointer());
            EXPECT_EQ(0u, text.Count());
        }
        // An empty view with a NUL is not copied either.
        EXPECT_EQ(units + 2,
                  MakeNullTerminatedString(UStringRef<E>(units + 2, units + 2, true)).Pointer());
        EXPECT_EQ(0u, counter.Count() + counter.Releases());
    });
}

TEST(AutoNullTerminatedTest, CopiesOtherViewsUntilTheirEnd) {
    ForEachCEncoding([]<class E>(E) {
        Units<E> const units{'a', 0, 'b', 'x'};
        UStringRef<E> const view(units.data(), units.data() + 3);
        AllocationCounter const counter;
        {
            auto const text = MakeNullTerminatedString(view);
            EXPECT_EQ(1u, counter.Count());
            EXPECT_EQ(4 * sizeof(typename E::Unit), counter.Bytes());
            EXPECT_NE(units.data(), text.Pointer());
            ASSERT_EQ(4u, text.Count());
            EXPECT_EQ((Units<E>{'a', 0, 'b', 0}), Units<E>(text.Pointer(), text.Pointer() + 4));
            auto other = MakeNullTerminatedString(view);
            AllocationCounter const ofAssignment;
            other = AutoNullTerminated<typename E::Unit>(units.data());
            EXPECT_EQ(1u, ofAssignment.Releases());
        }
        EXPECT_EQ(0, counter.Held());
    });
}

TEST(AutoNullTerminatedTest, EmptyViewsShareOneNul) {
    ForEachCEncoding([]<class E>(E) {
        using Text = AutoNullTerminated<typename E::Unit>;
        typename E::Unit const unit = 'x';
        AllocationCounter const counter;
        for (UStringRef<E> const& view : {UStringRef<E>(), UStringRef<E>(&unit, &unit)}) {
            Text const text = MakeNullTerminatedString(view);
            EXPECT_EQ(Text::EmptyString(), text.Pointer());
            EXPECT_EQ(0u, *text.Pointer());
            EXPECT_EQ(0u, text.Count());
        }
        EXPECT_EQ(0u, counter.Count() + counter.Releases());
    });
}

TEST(AutoNullTerminatedTest, BothEmptyStringsAreTerminated) {
    AutoUString<Local8Bit> const null;
    EXPECT_EQ(AutoNullTerminated<char>::EmptyString(),
              MakeNullTerminatedString<Local8Bit>(null).Pointer());
    OwnedArray<char> buffer = Allocate<char>(1);
    *buffer.Pointer() = '\0';
    AutoUString<Local8Bit> const allocated = SeizeUString(std::move(buffer), Local8Bit());
    EXPECT_EQ(allocated.Begin(), MakeNullTerminatedString<Local8Bit>(allocated).Pointer());
}

TEST(AutoNullTerminatedTest, MoveTransfersTheCopy) {
    char const units[] = {'a'};
    auto first = MakeNullTerminatedString(UStringRef<Local8Bit>(units, units + 1));
    char const* const place = first.Pointer();
    AutoNullTerminated<char> second(std::move(first));
    EXPECT_EQ(nullptr, first.Pointer());
    EXPECT_EQ(0u, first.Count());
    EXPECT_EQ(place, second.Pointer());
    AutoNullTerminated<char>& itself = second;
    second = std::move(itself);
    EXPECT_EQ(place, second.Pointer());
    EXPECT_EQ(2u, second.Count());
    second = AutoNullTerminated<char>(units);
    EXPECT_EQ(units, second.Pointer());
    EXPECT_EQ(0u, second.Count());
}

TEST(AutoNullTerminatedTest, FailedAllocationPropagates) {
    unsigned int const units[] = {'a'};
    FailingAllocation const failing(1);
    EXPECT_THROW(MakeNullTerminatedString(UStringRef<UTF32>(units, units + 1)), std::bad_alloc);
}

} // namespace
