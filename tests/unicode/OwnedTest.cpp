#include "unicode/Owned.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"
#include "tests/unicode/Units.h"

namespace {

// Records the pointers that it releases.
struct LoggingDisposer {
    void operator()(int* pointer) const { log->push_back(pointer); }

    std::vector<int*>* log = nullptr;
};

using OwnedInt = Owned<int*, LoggingDisposer>;

static_assert(!std::is_copy_constructible_v<OwnedInt> && !std::is_copy_assignable_v<OwnedInt>);
static_assert(std::is_nothrow_move_constructible_v<OwnedInt>);
static_assert(std::is_nothrow_move_assignable_v<OwnedInt>);
static_assert(std::is_empty_v<Allocator<char>>);
static_assert(sizeof(DisposeByAllocator<char>) == 8);

TEST(OwnedTest, LastOwnerReleasesOnce) {
    std::vector<int*> log;
    int value = 0;
    {
        OwnedInt first = Seize(&value, LoggingDisposer{&log});
        EXPECT_EQ(&value, first.Pointer());
        OwnedInt second(std::move(first));
        EXPECT_EQ(nullptr, first.Pointer());
        EXPECT_EQ(nullptr, first.Disposer().log);
        OwnedInt& itself = second;
        second = std::move(itself);
        EXPECT_EQ(&value, second.Pointer());
        EXPECT_EQ(&log, second.Disposer().log);
        EXPECT_TRUE(log.empty());
    }
    EXPECT_EQ(std::vector<int*>{&value}, log);
    EXPECT_EQ(nullptr, OwnedInt().Pointer());
}

TEST(OwnedTest, AssignmentReleasesThePreviousPointer) {
    std::vector<int*> log;
    int a = 0, b = 0;
    {
        OwnedInt owned = Seize(&a, LoggingDisposer{&log});
        owned = Seize(&b, LoggingDisposer{&log});
        EXPECT_EQ(std::vector<int*>{&a}, log);
        EXPECT_EQ(&b, owned.Pointer());
        owned = OwnedInt();
        EXPECT_EQ((std::vector<int*>{&a, &b}), log);
        EXPECT_EQ(nullptr, owned.Pointer());
    }
    EXPECT_EQ((std::vector<int*>{&a, &b}), log);
}

TEST(OwnedTest, ReleaseEndsTheOwnership) {
    std::vector<int*> log;
    int value = 0;
    {
        OwnedInt owned = Seize(&value, LoggingDisposer{&log});
        EXPECT_EQ(&value, owned.Release());
        EXPECT_EQ(nullptr, owned.Pointer());
        EXPECT_EQ(nullptr, owned.Disposer().log);
    }
    EXPECT_TRUE(log.empty());
}

TEST(OwnedTest, AllocatesArraysOfEachTypeOfCodeUnit) {
    ForEachEncoding([]<class E>(E) {
        using Unit = typename E::Unit;
        AllocationCounter const counter;
        {
            char hint[16];
            OwnedArray<Unit> const array = Allocate<Unit>(1000, hint);
            EXPECT_EQ(1u, counter.Count());
            EXPECT_EQ(1000 * sizeof(Unit), counter.Bytes());
            EXPECT_EQ(1000u, array.Disposer().count);
            std::fill_n(array.Pointer(), 1000, Unit{'x'});
            EXPECT_EQ(0u, counter.Releases());
        }
        EXPECT_EQ(1u, counter.Releases());
    });
}

TEST(OwnedTest, AllocatesAnEmptyArray) {
    OwnedArray<unsigned short> const array = Allocate<unsigned short>(0);
    EXPECT_NE(nullptr, array.Pointer());
    EXPECT_EQ(0u, array.Disposer().count);
}

TEST(OwnedTest, FailedAllocationPropagates) {
    {
        FailingAllocation const failing(1);
        EXPECT_THROW(Allocate<char>(10), std::bad_alloc);
    }
    // The number of bytes exceeds 64 bits.
    EXPECT_THROW(Allocate<unsigned int>(std::numeric_limits<unsigned long>::max() / 4 + 2),
                 std::bad_alloc);
}

} // namespace
