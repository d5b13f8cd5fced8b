#include "tests/support/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t allocations = 0;
thread_local std::size_t allocatedBytes = 0;
thread_local std::size_t releases = 0;
// The number of allocations up to the one that fails; 0 for none.
thread_local std::size_t untilFailure = 0;
thread_local bool failed = false;

bool CountAndDecide(std::size_t size) {
    ++allocations;
    allocatedBytes += size;
    if (untilFailure == 0 || --untilFailure != 0)
        return true;
    failed = true;
    return false;
}

void* Allocate(std::size_t size) noexcept {
    return CountAndDecide(size) ? std::malloc(size == 0 ? 1 : size) : nullptr;
}

void* Allocate(std::size_t size, std::align_val_t alignment) noexcept {
    std::size_t const unit = static_cast<std::size_t>(alignment);
    std::size_t const rounded = (size + unit - 1) / unit * unit;
    return CountAndDecide(size) ? std::aligned_alloc(unit, rounded == 0 ? unit : rounded) : nullptr;
}

void Release(void* memory) noexcept {
    releases += memory != nullptr;
    std::free(memory);
}

void* OrThrow(void* memory) {
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

} // namespace

AllocationCounter::AllocationCounter()
    : countAtStart(allocations), bytesAtStart(allocatedBytes), releasesAtStart(releases) {}

std::size_t AllocationCounter::Count() const { return allocations - countAtStart; }

std::size_t AllocationCounter::Bytes() const { return allocatedBytes - bytesAtStart; }

std::size_t AllocationCounter::Releases() const { return releases - releasesAtStart; }

FailingAllocation::FailingAllocation(std::size_t n) {
    failed = false;
    untilFailure = n;
}

FailingAllocation::~FailingAllocation() { untilFailure = 0; }

bool FailingAllocation::HasFailed() const { return failed; }

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
