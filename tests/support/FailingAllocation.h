// Counts the allocations and releases of a piece of code, or lets an allocation fail.
//
// A program that links the library `test_allocation` has its global operator new and delete
// replaced. Only those of the thread that counts, and only through these operators, are seen.
#pragma once

#include <cstddef>

// Counts from its construction on. Counters may nest.
class AllocationCounter {
public:
    AllocationCounter();

    std::size_t Count() const;
    // The bytes asked for.
    std::size_t Bytes() const;
    // Null pointers are not counted.
    std::size_t Releases() const;
    // What was allocated since the construction and is not released yet; below 0 if more was
    // released than allocated.
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

// From its construction to its destruction the n-th allocation, counted from 1, throws
// std::bad_alloc (or yields null, for the forms with std::nothrow). One at a time.
class FailingAllocation {
public:
    enum Extent { Once, FromThenOn };

    explicit FailingAllocation(std::size_t n, Extent extent = Once);
    ~FailingAllocation();
    FailingAllocation(FailingAllocation const&) = delete;
    FailingAllocation& operator=(FailingAllocation const&) = delete;

    bool HasFailed() const;

    // For what stands in for another allocator: whether its allocation is to fail. It is one of the
    // n, but no AllocationCounter sees it.
    static bool MustFail();
};

template <class Body>
std::size_t AllocationsOf(Body body) {
    AllocationCounter const counter;
    body();
    return counter.Count();
}

// Runs `body` again and again, with its first, second, third ... allocation failing, until it needs
// no more allocations than have succeeded. `body` takes the number of the failing allocation and
// deals with the std::bad_alloc itself. Yields how many different allocations failed.
template <class Body>
std::size_t ForEachFailingAllocation(Body body) {
    for (std::size_t n = 1;; ++n) {
        FailingAllocation const failing(n);
        body(n);
        if (!failing.HasFailed())
            return n - 1;
    }
}
