// Owned text in a known encoding, with a NUL unit behind it.
#pragma once

#include <concepts>
#include <cstddef>
#include <utility>

#include "unicode/Encodings.h"
#include "unicode/Owned.h"
#include "unicode/UStringRef.h"

// A string of one owner: it is moved and not copied. What has been moved from is empty.
//
// There are two forms of the empty string: one of null pointers, without an allocation, and a
// buffer that holds only the NUL. Wherever Begin() is not null, a NUL unit stands at End().
template <TextEncoding E>
class AutoUString {
public:
    using Unit = typename E::Unit;

    // The empty string of null pointers.
    AutoUString() = default;

    // Takes the buffer over. The text is all units but the last, which is the NUL. An Owned that is
    // empty, or that holds an array of no units, gives the string of null pointers.
    // REQUIRES: the caller has written the NUL.
    explicit AutoUString(OwnedArray<Unit> buffer);

    AutoUString(AutoUString&& other) noexcept
        : begin(std::exchange(other.begin, nullptr)), end(std::exchange(other.end, nullptr)) {}
    AutoUString& operator=(AutoUString&& other) noexcept;
    ~AutoUString();

    Unit const* Begin() const { return begin; }
    Unit const* End() const { return end; }

    // In units, without the NUL.
    std::size_t Length() const { return static_cast<std::size_t>(end - begin); }
    bool IsEmpty() const { return begin == end; }

    // A view, marked as terminated unless the string is that of null pointers. It lives as long as
    // the string.
    operator UStringRef<E>() const { return UStringRef<E>(begin, end, begin != nullptr); }

private:
    Unit* begin = nullptr;
    Unit* end = nullptr; // Behind the last unit: where the NUL stands.
};

// A copy of the units with a NUL unit behind them. An empty range, null or not, gives the string of
// null pointers, without an allocation. Throws std::bad_alloc.
template <UnicodeEncoding E>
AutoUString<E> MakeUString(typename E::Unit const* begin, typename E::Unit const* end, E const&);

// Takes over a buffer that was filled for or by a C interface, without a copy; `buffer`, as the
// caller has it, is empty behind the move. The count in it includes the NUL.
//
// Deliberate: of a buffer of one unit this makes the allocated form of the empty string.
// REQUIRES: the caller has written the NUL as the last unit.
template <CEncoding E>
AutoUString<E> SeizeUString(OwnedArray<typename E::Unit> buffer, E const&);

// The same units as plain bytes. They live as long as the string.
template <std::same_as<ConstData> To, ByteEncoding E>
To EncodingCast(AutoUString<E> const& text) {
    return EncodingCast<To, E>(UStringRef<E>(text));
}
