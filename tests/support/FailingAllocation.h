// Counts allocations and releases, or makes an allocation fail.
//
// A program that links the library `test_allocation` has its own global operator new and delete.
// Only calls of these operators by the counting thread are counted.
#pragma once

#include <cstddef>

// Counts from its construction to the call of a member. Counters may nest.
class AllocationCounter {
public:
    AllocationCounter();

    std::size_t Count() const;
    // The sum of the requested sizes, in bytes.
    std::size_t Bytes() const;
    // Deletes of null pointers are not counted.
    std::size_t Releases() const;
    // The number of successful allocations minus the number of releases since the construction.
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

// During its lifetime, the n-th allocation of this thread, counted from 1, throws std::bad_alloc;
// the forms with std::nothrow return null. With FromThenOn, all later allocations fail, too. At
// most one object exists at a time.
class FailingAllocation {
public:
    enum Extent { Once, FromThenOn };

    explicit FailingAllocation(std::size_t n, Extent extent = Once);
    ~FailingAllocation();
    FailingAllocation(FailingAllocation const&) = delete;
    FailingAllocation& operator=(FailingAllocation const&) = delete;

    bool HasFailed() const;

    // Called by a replacement of another allocator for each allocation. Returns whether it must
    // fail. The call counts as one of the n, but not for an AllocationCounter.
    static bool MustFail();
};

// Returns the number of allocations of `body`.
template <class Body>
std::size_t AllocationsOf(Body body) {
    AllocationCounter const counter;
    body();
    return counter.Count();
}

// Runs `body` repeatedly, with its first, second, third ... allocation failing, until it makes
// fewer allocations. `body` takes the number of the failing allocation and handles the
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
