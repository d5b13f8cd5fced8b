// Memory between two inaccessible pages.
#pragma once

#include <cstddef>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

// At least `capacity` writable bytes. An access to the page before or after them crashes.
class GuardedBytes {
public:
    explicit GuardedBytes(std::size_t capacity)
        : page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          inner((capacity + page - 1) / page * page) {
        void* const all =
            mmap(nullptr, inner + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (all == MAP_FAILED)
            throw std::bad_alloc();
        mapping = static_cast<unsigned char*>(all);
        if (mprotect(mapping + page, inner, PROT_READ | PROT_WRITE) != 0)
            throw std::bad_alloc();
    }
    ~GuardedBytes() { munmap(mapping, inner + 2 * page); }
    GuardedBytes(GuardedBytes const&) = delete;
    GuardedBytes& operator=(GuardedBytes const&) = delete;

    // The first byte, immediately after the first guard page.
    unsigned char* Begin() const { return mapping + page; }
    // The end, at the second guard page.
    unsigned char* End() const { return mapping + page + inner; }

private:
    std::size_t const page;
    std::size_t const inner;
    unsigned char* mapping;
};
