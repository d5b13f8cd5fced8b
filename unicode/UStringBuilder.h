// The last stage of a transcoding: collects code units.
#pragma once

#include <cstdint>

#include "data/ArrayOf.h"
#include "unicode/Encodings.h"
#include "unicode/Owned.h"
#include "unicode/UTextReceiver.h"

// Start clears the text and allocates the initial capacity, which may be 0. If the text exceeds the
// capacity, the capacity doubles, or becomes the size needed if that is more.
//
// Error handling: std::bad_alloc passes through Start and Receive; the text is then unchanged.
template <UnicodeEncoding E>
class UStringBuilder : UTextReceiver<E> {
public:
    using Unit = typename E::Unit;

    explicit UStringBuilder(std::uint64_t unitsAtStart) : initialCapacity(unitsAtStart) {}

    // Not copyable, because other stages point to it.
    UStringBuilder(UStringBuilder const&) = delete;
    UStringBuilder& operator=(UStringBuilder const&) = delete;

    // Returns the receiver of this stage.
    UTextReceiver<E>& operator()() { return *this; }

    // Returns the text received since Start, not NUL-terminated. Valid until the next call of the
    // receiver.
    ConstArrayOf<Unit> Text() const {
        return ConstArrayOf<Unit>(storage.Pointer(), static_cast<Unit const*>(position));
    }

    // In code units; 0 before Start.
    std::uint64_t Capacity() const { return capacity; }

private:
    void Start(E) override;

    // The length of a chunk is taken modulo 2^32.
    void Receive(ConstArrayOf<Unit> units) override;

    void Grow(std::uint64_t held, std::uint64_t needed);

    std::uint64_t initialCapacity;
    std::uint64_t capacity = 0;
    OwnedArray<Unit> storage;
    Unit* position = nullptr; // The end of the text.
};
