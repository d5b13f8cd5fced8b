// A NUL-terminated string for C interfaces, copied only if needed.
#pragma once

#include <concepts>
#include <cstdint>
#include <utility>

#include "unicode/Encodings.h"
#include "unicode/Owned.h"
#include "unicode/UStringRef.h"

// The code units that C interfaces take.
template <class T>
concept CUnit = std::same_as<T, char> || std::same_as<T, unsigned int>;

// Borrows or owns its text. Null only after a move.
template <CUnit Unit>
class AutoNullTerminated {
public:
    // Borrows. REQUIRES: `text` is NUL-terminated.
    explicit AutoNullTerminated(Unit const* text) : pointer(text) {}

    // Owns. REQUIRES: the last code unit of `text` is a NUL.
    explicit AutoNullTerminated(OwnedArray<Unit> text)
        : pointer(text.Pointer()), count(text.Disposer().count) {
        static_cast<void>(text.Release());
    }

    AutoNullTerminated(AutoNullTerminated&& other) noexcept
        : pointer(std::exchange(other.pointer, nullptr)), count(std::exchange(other.count, 0)) {}
    AutoNullTerminated& operator=(AutoNullTerminated&& other) noexcept;
    ~AutoNullTerminated();

    Unit const* Pointer() const { return pointer; }

    // The number of code units allocated, including the NUL; 0 if the text is borrowed.
    std::uint64_t Count() const { return count; }

    // Returns an empty string in static storage, always the same one.
    static Unit const* EmptyString();

private:
    Unit const* pointer = nullptr;
    std::uint64_t count = 0;
};

// Returns the text with a NUL: borrowed if it is marked as terminated, EmptyString() if it is
// empty, otherwise an owned copy. A borrowed result is valid as long as the code units of `text`.
// Throws std::bad_alloc.
template <CEncoding E>
AutoNullTerminated<typename E::Unit> MakeNullTerminatedString(UStringRef<E> text);
