// The last stage of a transcoding: collects the units that it receives.
#pragma once

#include <cstdint>

#include "data/ArrayOf.h"
#include "unicode/Encodings.h"
#include "unicode/Owned.h"
#include "unicode/UTextReceiver.h"

// Start drops what was received and allocates room for `initialCapacity` units; a builder is given
// one from which it seldom has to grow. Where it has to, it grows to twice its capacity, or to what
// is needed if that is more. Zero is allowed.
//
// Error handling: std::bad_alloc passes through Start and Receive; what was held is still held.
template <UnicodeEncoding E>
class UStringBuilder : UTextReceiver<E> {
public:
    using Unit = typename E::Unit;

    explicit UStringBuilder(std::uint64_t unitsAtStart) : initialCapacity(unitsAtStart) {}

    // Stages point at each other, so a builder stays where it is.
    UStringBuilder(UStringBuilder const&) = delete;
    UStringBuilder& operator=(UStringBuilder const&) = delete;

    // The receiver to push into.
    UTextReceiver<E>& operator()() { return *this; }

    // What was received since Start, not terminated. Dies with the builder and with the next call
    // of its receiver: MakeUString copies it.
    ConstArrayOf<Unit> Text() const {
        return ConstArrayOf<Unit>(storage.Pointer(), static_cast<Unit const*>(position));
    }

    // In units; 0 until Start.
    std::uint64_t Capacity() const { return capacity; }

private:
    void Start(E) override;

    // Deliberate: the units that come are counted in 32 bits, so of a piece of 2^32 units and more
    // only the remainder is taken.
    void Receive(ConstArrayOf<Unit> units) override;

    void Grow(std::uint64_t held, std::uint64_t needed);

    std::uint64_t initialCapacity;
    std::uint64_t capacity = 0;
    OwnedArray<Unit> storage;
    Unit* position = nullptr; // Behind the last unit received.
};
