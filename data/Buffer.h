// Writable bytes, and ranges of bytes that are being filled or consumed.
#pragma once

#include <concepts>
#include <cstddef>

#include "data/ArrayOf.h"
#include "data/ConstData.h"

// A view of writable bytes. It owns nothing and is passed by value.
class Data : public ArrayOf<unsigned char> {
public:
    using ArrayOf<unsigned char>::ArrayOf;

    // The third overload takes the whole array, including the NUL of a string.
    Data(char* first, char* last) : ArrayOf(Bytes(first), Bytes(last)) {}
    template <std::integral Count>
    Data(char* first, Count length) : ArrayOf(Bytes(first), length) {}
    template <std::size_t length>
    Data(char (&array)[length]) : ArrayOf(Bytes(array), length) {}

    constexpr operator ConstData() const { return ConstData(begin, end); }

private:
    static unsigned char* Bytes(char* text) { return reinterpret_cast<unsigned char*>(text); }
};

// A range being filled: `start` to `position` is written, `position` to `end` is free. Each write
// advances `position`. The bytes are not owned.
class Buffer {
public:
    explicit constexpr Buffer(Data data) : position(data.begin), end(data.end), start(data.begin) {}

    constexpr Data Written() const { return Data(start, position); }
    constexpr Data Room() const { return Data(position, end); }
    constexpr bool IsFull() const { return position == end; }
    constexpr void Reset() { position = start; }

    unsigned char* position;
    unsigned char* end;
    unsigned char* start;
};

// A range being consumed: `position` to `end` is left. The bytes are not owned.
class ConstBuffer {
public:
    explicit constexpr ConstBuffer(ConstData data)
        : position(data.begin), end(data.end), start(data.begin) {}

    constexpr ConstData Left() const { return ConstData(position, end); }
    constexpr bool IsEmpty() const { return position == end; }

    unsigned char const* position;
    unsigned char const* end;
    unsigned char const* start;
};

// Copies bytes until the source is empty or the target is full, and advances both positions. The
// ranges may overlap. Returns `target`.
Buffer& operator<<(Buffer& target, ConstBuffer& source);

// A Buffer with its bytes inside the object. Not copyable, because it points into itself.
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
