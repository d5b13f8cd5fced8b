#include "unicode/AutoNullTerminated.h"

#include <type_traits>
#include <utility>
#include <vector>

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

template <class E>
void CheckTerminatedView() {
    typename E::Unit const units[] = {'a', 'b', 0};
    AllocationCounter const counter;
    {
        auto const text = MakeNullTerminatedString(UStringRef<E>(units, units + 2, true));
        EXPECT_EQ(units, text.Pointer());
        EXPECT_EQ(0u, text.Count());
    }
    EXPECT_EQ(0u, counter.Count());
    EXPECT_EQ(0u, counter.Releases());
}

template <class E>
void CheckOtherView() {
    using Unit = typename E::Unit;
    Unit const units[] = {'a', 0, 'b', 'x'};
    AllocationCounter const counter;
    auto const text = MakeNullTerminatedString(UStringRef<E>(units, units + 3));
    EXPECT_EQ(1u, counter.Count());
    EXPECT_EQ(4 * sizeof(Unit), counter.Bytes());
    EXPECT_NE(units, text.Pointer());
    EXPECT_EQ(4u, text.Count());
    EXPECT_EQ((std::vector<Unit>{'a', 0, 'b', 0}),
              std::vector<Unit>(text.Pointer(), text.Pointer() + 4));
}

template <class E>
void CheckCopyIsReleased() {
    typename E::Unit const units[] = {'a'};
    AllocationCounter const counter;
    {
        auto const first = MakeNullTerminatedString(UStringRef<E>(units, units + 1));
        auto second = MakeNullTerminatedString(UStringRef<E>(units, units + 1));
        EXPECT_EQ(0u, counter.Releases());
        second = AutoNullTerminated<typename E::Unit>(units);
        EXPECT_EQ(1u, counter.Releases());
    }
    EXPECT_EQ(2u, counter.Releases());
}

template <class E>
void CheckEmptyView() {
    using Text = AutoNullTerminated<typename E::Unit>;
    typename E::Unit const unit = 'x';
    AllocationCounter const counter;
    {
        Text const fromNull = MakeNullTerminatedString(UStringRef<E>());
        Text const fromEmpty = MakeNullTerminatedString(UStringRef<E>(&unit, &unit));
        for (Text const* text : {&fromNull, &fromEmpty}) {
            EXPECT_EQ(Text::EmptyString(), text->Pointer());
            EXPECT_EQ(0u, *text->Pointer());
            EXPECT_EQ(0u, text->Count());
        }
    }
    EXPECT_EQ(0u, counter.Count());
    EXPECT_EQ(0u, counter.Releases());
    // An empty view with a NUL is not copied either.
    typename E::Unit const nul = 0;
    EXPECT_EQ(&nul, MakeNullTerminatedString(UStringRef<E>(&nul, &nul, true)).Pointer());
}

template <class E>
void CheckViews() {
    CheckTerminatedView<E>();
    CheckOtherView<E>();
    CheckCopyIsReleased<E>();
    CheckEmptyView<E>();
}

TEST(AutoNullTerminatedTest, CopiesOnlyViewsWithoutNul) {
    CheckViews<Local8Bit>();
    CheckViews<UTF32>();
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
