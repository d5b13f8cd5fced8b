// Ranges of bytes that are being filled or consumed.
//
// `start` and `end` are fixed, `position` moves from `start` to `end` and never past it. Setting
// `position` back to `start` makes the buffer new. Nothing here owns its bytes.
#pragma once

#include "data/ConstData.h"
#include "data/Data.h"

// A writable range being filled: from `start` to `position` is written, from `position` to `end` is
// room.
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

// A read-only range being consumed: from `position` to `end` is left.
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

// Copies as many bytes as both sides allow and moves both positions by that count. Yields `target`.
Buffer& operator<<(Buffer& target, ConstBuffer& source);
