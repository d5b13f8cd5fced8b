// Gigabytes of NUL bytes, to test lengths beyond 32 bits. They use address space only; pages take
// memory when they are read.
#pragma once

#include <sys/mman.h>

#include "data/ConstData.h"

class ZeroBytes {
public:
    explicit ZeroBytes(std::size_t count)
        : length(count),
          place(mmap(nullptr, count, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1,
                     0)) {}
    ~ZeroBytes() {
        if (WhyNot() == nullptr)
            munmap(place, length);
    }
    ZeroBytes(ZeroBytes const&) = delete;
    ZeroBytes& operator=(ZeroBytes const&) = delete;

    // Returns null if the bytes are available, and otherwise the reason for skipping the test.
    char const* WhyNot() const {
        return place == MAP_FAILED ? "not enough address space" : nullptr;
    }

    ConstData Bytes() const { return ConstData(static_cast<unsigned char const*>(place), length); }

private:
    std::size_t length;
    void* place;
};
