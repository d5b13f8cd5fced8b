// A rope: a sequence of views that is read as one text, without a concatenated copy.
//
// A ConstDataRopeReference owns neither the array of views nor the bytes. The array is usually on
// the caller's stack:
//
//     ConstData const parts[] = {"<", name, ">"};
//     receiver.Receive(ConstDataRopeReference(parts));
//     receiver.Receive(ConstDataRope{"<", name, ">"}); // the same in one expression
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "data/ArrayOf.h"
#include "data/ConstData.h"

class Buffer;
class Data;

class ConstDataRopeReference : public ConstArrayOf<ConstData> {
public:
    using ConstArrayOf<ConstData>::ConstArrayOf;
};

// The array of a rope: `ConstDataRope{a, b}` converts each argument to a ConstData. The object owns
// these views, but not the bytes.
template <std::size_t count>
struct ConstDataRope {
    constexpr operator ConstDataRopeReference() const { return ConstDataRopeReference(pieces); }

    ConstData pieces[count];
};

template <class... Pieces>
ConstDataRope(Pieces const&...) -> ConstDataRope<sizeof...(Pieces)>;

// Returns the sum of the lengths of the views.
std::uint64_t TotalLength(ConstDataRopeReference rope);

// Copy the bytes in order until the target is full. The first operator returns the unwritten rest
// of the target; the second one advances the position of the buffer and returns the buffer.
//
// Bytes that do not fit are dropped without an error. TotalLength returns the size needed for all.
Data operator<<(Data target, ConstDataRopeReference rope);
Buffer& operator<<(Buffer& target, ConstDataRopeReference rope);

// Returns all bytes as one string.
std::string MakeString(ConstDataRopeReference rope);
