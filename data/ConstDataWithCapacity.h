// A short text with its bytes inside: a value that needs no heap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "data/ConstData.h"
#include "data/DebuggableException.h"

class ConstDataCapacityExceeded : public DebuggableException {};

// Up to `capacity` bytes, and a NUL behind them that `length` does not count.
template <std::size_t capacity>
class ConstDataWithCapacity {
public:
    // Empty. Who fills the holder in place sets `length`, the bytes, and the NUL behind them; the
    // bytes are not cleared beforehand.
    ConstDataWithCapacity() : length(0) { bytes[0] = 0; }

    // Throws ConstDataCapacityExceeded if `text` is longer than `capacity`.
    ConstDataWithCapacity(ConstData text) : length(text.Length()) {
        if (length > capacity)
            throw ConstDataCapacityExceeded();
        if (length != 0)
            std::memcpy(bytes, text.begin, length);
        bytes[length] = 0;
    }

    operator ConstData() const { return ConstData(bytes, length); }

    // NUL-terminated; lives as long as the holder.
    char const* Text() const { return reinterpret_cast<char const*>(bytes); }

    std::uint64_t length;
    unsigned char bytes[capacity + 1];
};
