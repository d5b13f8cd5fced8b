// Counts allocations and releases, or makes an allocation fail.
//
// A program that links the library `test_allocation` has its own global operator new and delete.
// Only calls of these operators by the counting thread are counted.
#pragma once

#include <cstddef>

// Counts from its construction on. Counters may nest.
class AllocationCounter {
public:
    AllocationCounter();

    std::size_t Count() const;
    // The requested bytes.
    std::size_t Bytes() const;
    // Null pointers are not counted.
    std::size_t Releases() const;
    // The allocations since the construction that are not yet released. Negative if there were more
    // releases.
    std::ptrdiff_t Held() const;

    struct Counts {
        std::size_t allocations = 0;
        std::size_t bytes = 0;
        std::size_t releases = 0;
        std::size_t failures = 0;
    };

private:
    Counts const atStart;
};

// From its construction to its destruction the n-th allocation, from 1, throws std::bad_alloc, or
// returns null for the forms with std::nothrow. One at a time.
class FailingAllocation {
public:
    enum Extent { Once, FromThenOn };

    explicit FailingAllocation(std::size_t n, Extent extent = Once);
    ~FailingAllocation();
    FailingAllocation(FailingAllocation const&) = delete;
    FailingAllocation& operator=(FailingAllocation const&) = delete;

    bool HasFailed() const;

    // For a replacement of another allocator: whether its allocation must fail. It is one of the n,
    // but no AllocationCounter counts it.
    static bool MustFail();
};

template <class Body>
std::size_t AllocationsOf(Body body) {
    AllocationCounter const counter;
    body();
    return counter.Count();
}

// Runs `body` repeatedly, with its first, second, third ... allocation failing, until it succeeds
// with fewer allocations. `body` takes the number of the failing allocation and handles the
// std::bad_alloc. Returns the number of failed allocations.
template <class Body>
std::size_t ForEachFailingAllocation(Body body) {
    for (std::size_t n = 1;; ++n) {
        FailingAllocation const failing(n);
        body(n);
        if (!failing.HasFailed())
            return n - 1;
    }
}
