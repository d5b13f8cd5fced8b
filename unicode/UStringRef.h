// A view of text in a known encoding, and the casts from and to untyped text.
//
// A view owns nothing and is passed by value: the caller keeps the units alive for as long as it is
// used. Nothing here looks at the units: a view of UTF-8 can hold any bytes, and only transcoding
// finds out (see Transcode.h).
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "data/ConstData.h"
#include "unicode/Encodings.h"

template <TextEncoding E>
class UStringRef {
public:
    using Unit = typename E::Unit;

    constexpr UStringRef() = default;

    // REQUIRES: if `terminated` is set, a NUL unit stands at `last`.
    constexpr UStringRef(Unit const* first, Unit const* last, bool terminated = false)
        : begin(first), end(last), nullTerminated(terminated) {}

    // In units.
    constexpr std::size_t Length() const { return static_cast<std::size_t>(end - begin); }
    constexpr bool IsEmpty() const { return begin == end; }

    Unit const* begin = nullptr; // The text, half open.
    Unit const* end = nullptr;
    bool nullTerminated = false; // A NUL unit is known to stand at `end`.
};

// A pointer cast under a name that can be searched for. It casts no constness away.
template <class To, class From>
requires std::is_pointer_v<To> && std::is_pointer_v<From> To Reinterpret(From pointer) {
    return reinterpret_cast<To>(pointer);
}

// Takes a text of the C library at its word that it is in the locale's encoding. A null pointer
// gives an empty view that is not marked as terminated.
template <std::same_as<UStringRef<Local8Bit>> To, std::same_as<char> From = char>
To EncodingCast(From const* text) {
    if (text == nullptr)
        return To();
    return To(text, text + std::strlen(text), true);
}

// The same units as plain bytes. For an AutoUString, see AutoUString.h.
template <std::same_as<ConstData> To, ByteEncoding E>
To EncodingCast(UStringRef<E> text) {
    return To(text.begin, text.end);
}
