// An owning, NUL-terminated string in a known encoding.
#pragma once

#include <concepts>
#include <cstddef>
#include <utility>

#include "unicode/Encodings.h"
#include "unicode/Owned.h"
#include "unicode/UStringRef.h"

// Movable, not copyable. A moved-from string is null.
//
// There are two forms of the empty string. The null string has null pointers and no allocation. The
// allocated empty string is a buffer with only the NUL. If Begin() is not null, a NUL is at End().
template <TextEncoding E>
class AutoUString {
public:
    using Unit = typename E::Unit;

    // The null string.
    AutoUString() = default;

    // Takes ownership of the buffer. A buffer without code units makes the null string. REQUIRES:
    // the last code unit, if there is one, is the NUL.
    explicit AutoUString(OwnedArray<Unit> buffer);

    AutoUString(AutoUString&& other) noexcept
        : begin(std::exchange(other.begin, nullptr)), end(std::exchange(other.end, nullptr)) {}
    AutoUString& operator=(AutoUString&& other) noexcept;
    ~AutoUString();

    Unit const* Begin() const { return begin; }
    Unit const* End() const { return end; }

    // In code units, without the NUL.
    std::size_t Length() const { return static_cast<std::size_t>(end - begin); }
    bool IsEmpty() const { return begin == end; }

    // A view, marked as terminated unless the string is null. Valid as long as the string.
    operator UStringRef<E>() const { return UStringRef<E>(begin, end, begin != nullptr); }

private:
    Unit* begin = nullptr;
    Unit* end = nullptr; // At the NUL.
};

// Returns a NUL-terminated copy. An empty range, null or not, makes the null string. Throws
// std::bad_alloc.
template <UnicodeEncoding E>
AutoUString<E> MakeUString(typename E::Unit const* begin, typename E::Unit const* end, E const&);

// Takes ownership of a buffer that a C interface has filled, without a copy. The count of the
// buffer includes the NUL.
//
// A buffer of one code unit makes the allocated empty string. An empty buffer makes the null
// string. REQUIRES: the last code unit, if there is one, is the NUL.
template <CEncoding E>
AutoUString<E> SeizeUString(OwnedArray<typename E::Unit> buffer, E const&);

// Returns the code units as bytes, valid as long as the string.
template <std::same_as<ConstData> To, ByteEncoding E>
To EncodingCast(AutoUString<E> const& text) {
    return EncodingCast<To, E>(UStringRef<E>(text));
}
