// A pointer that is sure to be NUL-terminated, for C interfaces: a copy only where it must be.
#pragma once

#include <concepts>
#include <cstdint>
#include <utility>

#include "unicode/Encodings.h"
#include "unicode/Owned.h"
#include "unicode/UStringRef.h"

// The units of the encodings in which C interfaces take their texts.
template <class T>
concept CUnit = std::same_as<T, char> || std::same_as<T, unsigned int>;

// A terminated text that is borrowed or owned. Never null, but when it has been moved from.
template <CUnit Unit>
class AutoNullTerminated {
public:
    // Borrows. REQUIRES: `text` ends in a NUL.
    explicit AutoNullTerminated(Unit const* text) : pointer(text) {}

    // Owns. REQUIRES: `text` holds at least one unit and ends in a NUL.
    explicit AutoNullTerminated(OwnedArray<Unit> text)
        : pointer(text.Pointer()), count(text.Disposer().count) {
        static_cast<void>(text.Release());
    }

    AutoNullTerminated(AutoNullTerminated&& other) noexcept
        : pointer(std::exchange(other.pointer, nullptr)), count(std::exchange(other.count, 0)) {}
    AutoNullTerminated& operator=(AutoNullTerminated&& other) noexcept;
    ~AutoNullTerminated();

    Unit const* Pointer() const { return pointer; }

    // The units allocated, with the NUL; 0 if the pointer is not owned.
    std::uint64_t Count() const { return count; }

    // The terminated text of no units, shared by all results that are empty. Static storage.
    static Unit const* EmptyString();

private:
    Unit const* pointer = nullptr;
    std::uint64_t count = 0;
};

// The text with its NUL: `text.begin` itself if it is marked as terminated, so nothing is copied
// and the result lives as long as the text; EmptyString() if it is empty; otherwise an owned copy.
// Throws std::bad_alloc.
template <CEncoding E>
AutoNullTerminated<typename E::Unit> MakeNullTerminatedString(UStringRef<E> text);
