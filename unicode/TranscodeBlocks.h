// Sequences of one kind, many at a time: what makes texts fast that have runs of them.
//
// For TranscodeRuns.h, which has the plain form beside which the tests lay these. Each form
// here takes sequences from the first one on, up to one that is not of its kind. It may read units
// behind those that it takes, and write some behind those that are good: how many is said with
// each.
#pragma once

#include "unicode/Vectors.h"

#if defined(__SSE2__)

#include <bit>
#include <concepts>
#include <cstdint>

#include "unicode/Encodings.h"

namespace TranscodeBlocks {

using namespace Vectors;

// What a form has taken, in units of the source and of the target.
struct Taken {
    int read, written;
    bool isWhole = false; // Whether that is as much as the form can take.
};

// The sequences in front of the first bit of `others`, which are `count` if there is none. That
// case has a branch of its own, so that the next block does not wait for the bits of this one.
template <int count, int sourceUnits, int targetUnits>
Taken TakenBefore(unsigned others) {
    if (others == 0) [[likely]]
        return {count * sourceUnits, count * targetUnits, true};
    int const taken = std::countr_zero(others);
    return {taken * sourceUnits, taken * targetUnits};
}

// ---- Units that are the same in both encodings: ASCII, or without UTF-8 the basic plane

inline TwoVectors LoadUnits(unsigned char const* from) { return Widen8(Load(from)); }
inline TwoVectors LoadUnits(unsigned short const* from) { return {Load(from), Load(from + 8)}; }
inline TwoVectors LoadUnits(unsigned int const* from) {
    return {Narrow32(Load(from), Load(from + 4)), Narrow32(Load(from + 8), Load(from + 12))};
}

inline void StoreUnits(unsigned char* to, TwoVectors units) { Store(to, Narrow16(units)); }
inline void StoreUnits(unsigned short* to, TwoVectors units) {
    Store(to, units.first);
    Store(to + 8, units.second);
}
inline void StoreUnits(unsigned int* to, TwoVectors units) {
    TwoVectors const first = Widen16(units.first), second = Widen16(units.second);
    Store(to, first.first);
    Store(to + 4, first.second);
    Store(to + 8, second.first);
    Store(to + 12, second.second);
}

// Which of 8 units do not fit 16 bits.
inline Vector AreWide(unsigned int const* from) {
    return Not(NarrowFound32(Is32(Load(from), 0xFFFF0000, 0), Is32(Load(from + 4), 0xFFFF0000, 0)));
}

// One bit for each of 16 units that is not the same.
template <class Target, class Source>
unsigned Differing(typename Source::Unit const* from, TwoVectors units) {
    if constexpr (std::same_as<Source, UTF8>)
        return Bits8(Load(from)); // The highest bit of each byte.
    TwoVectors found;
    if constexpr (std::same_as<Target, UTF8>)
        found = {Not(Is16(units.first, 0xFF80, 0)), Not(Is16(units.second, 0xFF80, 0))};
    else
        found = {Is16(units.first, 0xF800, 0xD800), Is16(units.second, 0xF800, 0xD800)};
    if constexpr (std::same_as<Source, UTF32>)
        found = {Or(found.first, AreWide(from)), Or(found.second, AreWide(from + 8))};
    return Bits16(found);
}

// Whether 16 units are the same.
template <class Target, class Source>
bool AreSame(typename Source::Unit const* from) {
    return Differing<Target, Source>(from, LoadUnits(from)) == 0;
}

// Up to 16 units. Reads and writes 16. Yields one bit for each that is not the same.
template <class Target, class Source>
unsigned CopyUnits(typename Source::Unit const* from, typename Target::Unit* to) {
    TwoVectors const units = LoadUnits(from);
    StoreUnits(to, units);
    return Differing<Target, Source>(from, units);
}

// ---- Characters above the basic plane, in four bytes of each encoding

// Four values, and one bit for each that is none of such a character.
struct FourValues {
    Vector values;
    unsigned others;
};

inline FourValues LoadSupplementary(unsigned char const* from) {
    Vector const bytes = Load(from); // The lead byte is the lowest.
    return {Or(Left32(bytes, 0x07, 18), Left32(bytes, 0x3F00, 4), Right32(bytes, 10, 0xFC0),
               Right32(bytes, 24, 0x3F)),
            Bits32(Is32(bytes, 0xC0C0C0F8, 0x808080F0)) ^ 0xF};
}
inline FourValues LoadSupplementary(unsigned short const* from) {
    Vector const pairs = Load(from); // The high surrogate is the low half.
    Vector const offsets = Or(Left32(pairs, 0x3FF, 10), Right32(pairs, 16, 0x3FF));
    return {Add32(offsets, 0x10000), Bits32(Is32(pairs, 0xFC00FC00, 0xDC00D800)) ^ 0xF};
}
inline FourValues LoadSupplementary(unsigned int const* from) {
    Vector const values = Load(from);
    return {values, Bits32(Is32(Subtract32(values, 0x10000), 0xFFF00000, 0)) ^ 0xF};
}

inline void StoreSupplementary(unsigned char* to, Vector values) {
    Vector const bytes = Or(Right32(values, 18, 0x07), Right32(values, 4, 0x3F00),
                            Left32(values, 0xFC0, 10), Left32(values, 0x3F, 24));
    Store(to, Or(bytes, All32(0x808080F0)));
}
inline void StoreSupplementary(unsigned short* to, Vector values) {
    Vector const high = Right32(Subtract32(values, 0x10000), 10, 0xFFFF);
    Store(to, Or(high, Left32(values, 0x3FF, 16), All32(0xDC00D800)));
}
inline void StoreSupplementary(unsigned int* to, Vector values) { Store(to, values); }

// Up to 4 characters. Reads and writes 16 bytes.
template <class Target, class Source>
Taken TakeSupplementary(typename Source::Unit const* from, typename Target::Unit* to) {
    constexpr int sourceUnits = 4 / sizeof(*from), targetUnits = 4 / sizeof(*to);
    auto const [values, others] = LoadSupplementary(from);
    StoreSupplementary(to, values);
    return TakenBefore<4, sourceUnits, targetUnits>(others);
}

// ---- From UTF-8

// Up to 4 sequences of three bytes. To UTF-16 an encoded surrogate is none. Reads 13 bytes and
// writes 4 units.
template <class Unit>
Taken DecodeTriples(unsigned char const* from, Unit* to) {
    Vector const low = _mm_unpacklo_epi32(LoadQuarter(from), LoadQuarter(from + 3));
    Vector const high = _mm_unpacklo_epi32(LoadQuarter(from + 6), LoadQuarter(from + 9));
    Vector const bytes =
        _mm_unpacklo_epi64(low, high); // One sequence, and a byte too much, in each.
    Vector const values =
        Or(Left32(bytes, 0x0F, 12), Right32(bytes, 2, 0xFC0), Right32(bytes, 16, 0x3F));
    Vector found = Is32(bytes, 0x00C0C0F0, 0x008080E0);
    if constexpr (sizeof(Unit) == 2) {
        found = AndNot(found, Is32(values, 0xF800, 0xD800));
        StoreHalf(to, Narrow32(values, values));
    } else {
        Store(to, values);
    }
    return TakenBefore<4, 3, 1>(Bits32(found) ^ 0xF);
}

} // namespace TranscodeBlocks

#endif
