#include "tests/support/FailingAllocation.h"

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(FailingAllocationTest, CountsAllocationsAndTheirBytes) {
    AllocationCounter const outer;
    std::vector<std::string> strings;
    strings.reserve(2);
    AllocationCounter const inner;
    strings.push_back(std::string(100, 'x'));
    EXPECT_EQ(1u, inner.Count());
    EXPECT_EQ(101u, inner.Bytes());
    EXPECT_EQ(2u, outer.Count());
    EXPECT_EQ(0u, AllocationsOf([] {}));
}

TEST(FailingAllocationTest, CountsReleasesButThoseOfNothing) {
    void* const held = ::operator new(1);
    AllocationCounter const counter;
    ::operator delete(nullptr);
    EXPECT_EQ(0u, counter.Releases());
    ::operator delete(held);
    EXPECT_EQ(1u, counter.Releases());
    EXPECT_EQ(0u, counter.Count());
}

TEST(FailingAllocationTest, EveryFormOfNewAndDeleteIsSeen) {
    struct alignas(64) Aligned {
        char bytes[64];
    };
    AllocationCounter const counter;
    ::operator delete(::operator new(1));
    ::operator delete[](::operator new[](0));
    ::operator delete(::operator new(1, std::nothrow), std::nothrow);
    ::operator delete(::operator new(8, std::align_val_t(64)), std::align_val_t(64));
    EXPECT_EQ(4u, counter.Count());
    EXPECT_EQ(4u, counter.Releases());
    auto const aligned = std::make_unique<Aligned>();
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(aligned.get()) % 64);
}

TEST(FailingAllocationTest, OnlyTheNthAllocationFails) {
    FailingAllocation const failing(2);
    std::string const first(100, 'x');
    EXPECT_FALSE(failing.HasFailed());
    EXPECT_THROW(std::string(100, 'x'), std::bad_alloc);
    EXPECT_TRUE(failing.HasFailed());
    EXPECT_EQ(first, std::string(100, 'x'));
}

TEST(FailingAllocationTest, FromTheNthAllocationOnAllFail) {
    FailingAllocation const failing(2, FailingAllocation::FromThenOn);
    std::string const first(100, 'x');
    EXPECT_FALSE(failing.HasFailed());
    for (int i = 0; i < 3; ++i)
        EXPECT_THROW(std::string(100, 'x'), std::bad_alloc);
    EXPECT_TRUE(failing.HasFailed());
}

TEST(FailingAllocationTest, AnotherAllocatorTakesItsTurn) {
    FailingAllocation const failing(2);
    EXPECT_FALSE(FailingAllocation::MustFail());
    EXPECT_TRUE(FailingAllocation::MustFail());
    EXPECT_FALSE(FailingAllocation::MustFail());
    EXPECT_TRUE(failing.HasFailed());
}

TEST(FailingAllocationTest, WhatIsHeldIsTold) {
    AllocationCounter const counter;
    void* const held = ::operator new(1);
    {
        FailingAllocation const failing(1);
        static_cast<void>(::operator new(1, std::nothrow));
    }
    EXPECT_EQ(1, counter.Held());
    ::operator delete(held);
    EXPECT_EQ(0, counter.Held());
}

TEST(FailingAllocationTest, FormWithNothrowYieldsNull) {
    FailingAllocation const failing(1);
    void* const memory = ::operator new(1, std::nothrow);
    EXPECT_EQ(nullptr, memory);
}

TEST(FailingAllocationTest, EndsWithTheObject) {
    { FailingAllocation const failing(1); }
    EXPECT_EQ(100u, std::string(100, 'x').size());
}

TEST(FailingAllocationTest, OtherThreadsAreLeftAlone) {
    std::size_t size = 0;
    {
        std::thread other([&] { size = std::string(1000, 'x').size(); });
        FailingAllocation const failing(1);
        other.join();
        EXPECT_FALSE(failing.HasFailed());
    }
    EXPECT_EQ(1000u, size);
}

TEST(FailingAllocationTest, EachAllocationOfABodyFailsOnce) {
    std::size_t completed = 0;
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        try {
            std::string const first(100, 'x');
            std::string const second(200, 'y');
            ++completed;
        } catch (std::bad_alloc const&) {
        }
    });
    EXPECT_EQ(2u, failures);
    EXPECT_EQ(1u, completed);
}

} // namespace
