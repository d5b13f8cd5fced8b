// A view of text in a known encoding, and casts from and to untyped text.
//
// A view owns nothing and is passed by value: the caller keeps the code units alive while the view
// is used. Nothing here validates: a view of UTF-8 can hold any bytes (see Transcode.h).
#pragma once

#include <concepts>
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

    // REQUIRES: if `terminated` is set, a NUL is at `last`.
    constexpr UStringRef(Unit const* first, Unit const* last, bool terminated = false)
        : begin(first), end(last), nullTerminated(terminated) {}

    // In code units.
    constexpr std::size_t Length() const { return static_cast<std::size_t>(end - begin); }
    constexpr bool IsEmpty() const { return begin == end; }

    Unit const* begin = nullptr; // The text, half-open.
    Unit const* end = nullptr;
    bool nullTerminated = false; // A NUL is known to be at `end`.
};

// A pointer cast that is easy to search for. Does not cast away const.
template <class To, class From>
requires std::is_pointer_v<To> && std::is_pointer_v<From> To Reinterpret(From pointer) {
    return reinterpret_cast<To>(pointer);
}

// Returns a view of a NUL-terminated string in the locale's encoding. For a null pointer, returns
// an empty view that is not marked as terminated.
template <std::same_as<UStringRef<Local8Bit>> To, std::same_as<char> From = char>
To EncodingCast(From const* text) {
    if (text == nullptr)
        return To();
    return To(text, text + std::strlen(text), true);
}

// Returns the code units as bytes. AutoUString.h has the same for an AutoUString.
template <std::same_as<ConstData> To, ByteEncoding E>
To EncodingCast(UStringRef<E> text) {
    return To(text.begin, text.end);
}
