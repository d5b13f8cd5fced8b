#include "tests/support/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

thread_local AllocationCounter::Counts counts;
// The number of allocations up to and including the one that fails; 0 if none fails.
thread_local std::size_t untilFailure = 0;
thread_local FailingAllocation::Extent extentOfFailure = FailingAllocation::Once;
thread_local bool failed = false;

bool CountAndDecide(std::size_t size) {
    bool const fails = FailingAllocation::MustFail();
    ++counts.allocations;
    counts.bytes += size;
    counts.failures += fails;
    return !fails;
}

// Does not use malloc, because a program may replace it and make it fail.
void* Allocate(std::size_t size, std::size_t alignment) noexcept {
    void* memory = nullptr;
    if (!CountAndDecide(size) || posix_memalign(&memory, alignment, size == 0 ? 1 : size) != 0)
        return nullptr;
    return memory;
}

void* Allocate(std::size_t size) noexcept { return Allocate(size, alignof(std::max_align_t)); }

void* Allocate(std::size_t size, std::align_val_t alignment) noexcept {
    return Allocate(size, static_cast<std::size_t>(alignment));
}

void Release(void* memory) noexcept {
    counts.releases += memory != nullptr;
    std::free(memory);
}

void* OrThrow(void* memory) {
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

} // namespace

AllocationCounter::AllocationCounter() : atStart(counts) {}

std::size_t AllocationCounter::Count() const { return counts.allocations - atStart.allocations; }

std::size_t AllocationCounter::Bytes() const { return counts.bytes - atStart.bytes; }

std::size_t AllocationCounter::Releases() const { return counts.releases - atStart.releases; }

std::ptrdiff_t AllocationCounter::Held() const {
    return static_cast<std::ptrdiff_t>(Count() - (counts.failures - atStart.failures) - Releases());
}

FailingAllocation::FailingAllocation(std::size_t n, Extent extent) {
    failed = false;
    untilFailure = n;
    extentOfFailure = extent;
}

FailingAllocation::~FailingAllocation() { untilFailure = 0; }

bool FailingAllocation::HasFailed() const { return failed; }

bool FailingAllocation::MustFail() {
    if (untilFailure == 0 || --untilFailure != 0)
        return false;
    failed = true;
    if (extentOfFailure == FromThenOn)
        untilFailure = 1;
    return true;
}

void* operator new(std::size_t size) { return OrThrow(Allocate(size)); }
void* operator new[](std::size_t size) { return OrThrow(Allocate(size)); }
void* operator new(std::size_t size, std::nothrow_t const&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept { return Allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    return OrThrow(Allocate(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return OrThrow(Allocate(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, std::nothrow_t const&) noexcept {
    return Allocate(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment, std::nothrow_t const&) noexcept {
    return Allocate(size, alignment);
}

void operator delete(void* memory) noexcept { Release(memory); }
void operator delete[](void* memory) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t) noexcept { Release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Release(memory); }
void operator delete(void* memory, std::nothrow_t const&) noexcept { Release(memory); }
void operator delete[](void* memory, std::nothrow_t const&) noexcept { Release(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { Release(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { Release(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { Release(memory); }
void operator delete(void* memory, std::align_val_t, std::nothrow_t const&) noexcept {
    Release(memory);
}
void operator delete[](void* memory, std::align_val_t, std::nothrow_t const&) noexcept {
    Release(memory);
}
