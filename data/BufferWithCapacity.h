// A Buffer with its bytes inside, for small texts that must not allocate.
#pragma once

#include <cstddef>

#include "data/Buffer.h"
#include "data/Data.h"

// Not copyable, since it points into itself.
template <std::size_t capacity>
class BufferWithCapacity : public Buffer {
public:
    BufferWithCapacity() : Buffer(Data()) {
        position = bytes;
        end = bytes + capacity;
        start = bytes;
    }

    BufferWithCapacity(BufferWithCapacity const&) = delete;
    BufferWithCapacity& operator=(BufferWithCapacity const&) = delete;

private:
    unsigned char bytes[capacity];
};
