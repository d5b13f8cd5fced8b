// A text in several pieces: views in a row, read from first to last.
//
// It saves the concatenated copy. Neither the array of views nor the bytes are owned; the array
// usually lies on the caller's stack:
//
//     ConstData const pieces[] = {"<", name, ">"};
//     receiver.Receive(ConstDataRopeReference(pieces));
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

// The array behind a rope: `ConstDataRope{a, b}` holds two views, of anything that a ConstData can
// be made from. It owns the views, but not the bytes.
template <std::size_t count>
struct ConstDataRope {
    constexpr operator ConstDataRopeReference() const { return ConstDataRopeReference(pieces); }

    ConstData pieces[count];
};

template <class... Pieces>
ConstDataRope(Pieces const&...) -> ConstDataRope<sizeof...(Pieces)>;

// The sum of the lengths of the pieces.
std::uint64_t TotalLength(ConstDataRopeReference rope);

// Copy the pieces in order as far as the target reaches. Deliberate: what does not fit is cut in
// silence. Who must not lose bytes sizes the target by TotalLength.
// The first form yields the rest of the target, behind the last byte written; the second moves
// `position` and yields `target`.
Data operator<<(Data target, ConstDataRopeReference rope);
Buffer& operator<<(Buffer& target, ConstDataRopeReference rope);

// All pieces in one string.
std::string MakeString(ConstDataRopeReference rope);
