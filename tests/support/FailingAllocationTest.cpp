#include "tests/support/FailingAllocation.h"

#include <latch>
#include <new>
#include <thread>

#include <gtest/gtest.h>

namespace {

TEST(FailingAllocationTest, CountsAllocationsBytesAndReleases) {
    AllocationCounter const outer;
    void* const held = ::operator new(1);
    AllocationCounter const inner;
    ::operator delete(nullptr);
    EXPECT_EQ(0u, inner.Releases());
    ::operator delete(::operator new(101));
    EXPECT_EQ(101u, inner.Bytes());
    EXPECT_EQ(1u, inner.Count());
    EXPECT_EQ(2u, outer.Count());
    EXPECT_EQ(1, outer.Held());
    ::operator delete(held);
    EXPECT_EQ(-1, inner.Held());
    EXPECT_EQ(2u, outer.Releases());
    EXPECT_EQ(0u, AllocationsOf([] {}));
}

TEST(FailingAllocationTest, CountsEveryFormOfNew) {
    struct alignas(64) Aligned {
        char bytes[64];
    };
    AllocationCounter const counter;
    auto const alignment = std::align_val_t(64);
    ::operator delete(::operator new(1));
    ::operator delete[](::operator new[](0));
    ::operator delete(::operator new(1, std::nothrow), std::nothrow);
    ::operator delete[](::operator new[](1, std::nothrow), std::nothrow);
    ::operator delete(::operator new(8, alignment), alignment);
    ::operator delete[](::operator new[](8, alignment), alignment);
    ::operator delete(::operator new(8, alignment, std::nothrow), alignment, std::nothrow);
    ::operator delete[](::operator new[](8, alignment, std::nothrow), alignment, std::nothrow);
    EXPECT_EQ(8u, counter.Count());
    EXPECT_EQ(8u, counter.Releases());
    auto const aligned = std::make_unique<Aligned>();
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(aligned.get()) % 64);
}

// Returns whether each of five allocations succeeds. The third one is that of another allocator.
std::vector<bool> Succeed() {
    std::vector<bool> succeeded(5);
    for (std::size_t i = 0; i < 5; ++i) {
        void* const memory = i == 2 ? nullptr : ::operator new(1, std::nothrow);
        succeeded[i] = i == 2 ? !FailingAllocation::MustFail() : memory != nullptr;
        ::operator delete(memory);
    }
    return succeeded;
}

TEST(FailingAllocationTest, NthAllocationFailsAloneOrWithAllLaterOnes) {
    using Results = std::vector<bool>;
    {
        FailingAllocation const failing(3);
        EXPECT_FALSE(failing.HasFailed());
    }
    EXPECT_EQ(Results({true, true, true, true, true}), Succeed());
    std::vector<std::pair<FailingAllocation::Extent, Results>> const cases = {
        {FailingAllocation::Once, {true, true, false, true, true}},
        {FailingAllocation::FromThenOn, {true, true, false, false, false}}};
    for (auto const& [extent, expected] : cases) {
        AllocationCounter const counter;
        // The vector is the first allocation.
        FailingAllocation const failing(4, extent);
        EXPECT_EQ(expected, Succeed());
        EXPECT_TRUE(failing.HasFailed());
        EXPECT_EQ(0, counter.Held());
    }
    FailingAllocation const failing(1);
    EXPECT_THROW(std::string(100, 'x'), std::bad_alloc);
}

TEST(FailingAllocationTest, DoesNotAffectOtherThreads) {
    std::latch isFailing(1);
    void* memory = nullptr;
    std::thread other([&] {
        isFailing.wait();
        memory = ::operator new(1, std::nothrow);
    });
    {
        FailingAllocation const failing(1);
        isFailing.count_down();
        other.join();
        EXPECT_FALSE(failing.HasFailed());
    }
    EXPECT_NE(nullptr, memory);
    ::operator delete(memory);
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
