// Sequences of one kind, many at a time: what makes texts fast that have runs of them.
//
// For TranscodeRuns.h only, which has the plain form beside which the tests lay these. Each form
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
};

// The sequences in front of the first bit of `others`, which are `count` if there is none. That
// case has a branch of its own, so that the next block does not wait for the bits of this one.
template <int count, int sourceUnits, int targetUnits>
Taken TakenBefore(unsigned others) {
    if (others == 0) [[likely]]
        return {count * sourceUnits, count * targetUnits};
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

inline void StoreEight(unsigned short* to, Vector values) { Store(to, values); }
inline void StoreEight(unsigned int* to, Vector values) {
    Store(to, Widen16(values).first);
    Store(to + 4, Widen16(values).second);
}

// 8 sequences of two bytes, untested.
template <class Unit>
void DecodePairs(unsigned char const* from, Unit* to) {
    Vector const bytes = Load(from);
    StoreEight(to, Or(Left16(bytes, 0x1F, 6), Right16(bytes, 8, 0x3F)));
}

// Sequences of one and two bytes, mixed, in up to 16 bytes for each of `vectors`. Reads and writes
// 16 units more.
//
// Takes a run of ASCII and a run of two bytes in turn. How long they are stands in the bits of the
// whole block, so that a run need not wait until the bytes behind the one before are loaded.
template <int vectors, class Unit>
Taken DecodeShort(unsigned char const* from, Unit* to) {
    std::uint64_t leads = 0, trails = 0, longer = 0;
    for (int place = 0; place < 16 * vectors; place += 16) {
        Vector const bytes = Load(from + place);
        leads |= std::uint64_t{Bits8(Is8(bytes, 0xE0, 0xC0))} << place;
        trails |= std::uint64_t{Bits8(Is8(bytes, 0xC0, 0x80))} << place;
        longer |= std::uint64_t{Bits8(Is8(bytes, 0xE0, 0xE0))} << place;
    }
    // Where a trailing byte is missing or too much, or a longer sequence begins. The last byte of
    // the block is left to the next one, and so is a lead byte in front of any of these.
    constexpr std::uint64_t last = std::uint64_t{1} << (16 * vectors - 1);
    int end = std::countr_zero((trails ^ leads << 1) | longer | last);
    end -= static_cast<int>(leads << 1 >> end & 1);
    std::uint64_t const stop = std::uint64_t{1} << end;
    leads &= stop - 1;
    Unit* target = to;
    for (int read = 0; read < end;) {
        StoreUnits(target, LoadUnits(from + read));
        int const ascii = std::countr_zero((leads | stop) >> read | 1u << 16);
        read += ascii;
        target += ascii;
        DecodePairs(from + read, target);
        int const paired = std::countr_zero((~(leads >> read) & 0x5555) | 1u << 16);
        read += paired;
        target += paired / 2;
    }
    return {end, static_cast<int>(target - to)};
}

// ---- To UTF-8

inline Vector LoadEight(unsigned short const* from) { return Load(from); }
inline Vector LoadEight(unsigned int const* from) { return Narrow32(Load(from), Load(from + 4)); }
inline Vector LoadFour(unsigned short const* from) { return Widen16(LoadHalf(from)).first; }
inline Vector LoadFour(unsigned int const* from) { return Load(from); }

// 8 units in two bytes each, and 4 in three bytes each, untested. The latter write 13 bytes.
template <class Unit>
void EncodePairs(Unit const* from, unsigned char* to) {
    Vector const units = LoadEight(from);
    Store(to, Or(Right16(units, 6, 0x1F), Left16(units, 0x3F, 8), All16(0x80C0)));
}
template <class Unit>
void EncodeTriples(Unit const* from, unsigned char* to) {
    Vector const units = LoadFour(from);
    Vector sequences = Or(Right32(units, 12, 0x0F), Left32(Right32(units, 6, 0x3F), 0x3F, 8),
                          Left32(units, 0x3F, 16), All32(0x8080E0));
    for (int offset = 0; offset < 12; offset += 3) {
        StoreQuarter(to + offset, sequences);
        sequences = DropFirst32(sequences);
    }
}

// One bit for each of 16 units.
struct Kinds {
    unsigned ascii, twoBytes, notBasic; // What is none of these becomes three bytes.
};

template <class Unit>
Kinds KindsOf(Unit const* from, TwoVectors units) {
    Kinds kinds;
    kinds.ascii = Bits16({Is16(units.first, 0xFF80, 0), Is16(units.second, 0xFF80, 0)});
    kinds.twoBytes =
        Bits16({Is16(units.first, 0xF800, 0), Is16(units.second, 0xF800, 0)}) & ~kinds.ascii;
    kinds.notBasic =
        Bits16({Is16(units.first, 0xF800, 0xD800), Is16(units.second, 0xF800, 0xD800)});
    if constexpr (sizeof(Unit) == 4)
        kinds.notBasic |= Bits16({AreWide(from), AreWide(from + 8)});
    return kinds;
}

// Up to 16 characters of the basic plane, mixed, one run of a kind after the other. Reads 32 units
// and writes 64.
template <class Unit>
Taken EncodeBasic(Unit const* from, unsigned char* to) {
    Kinds const kinds = KindsOf(from, LoadUnits(from));
    int const end = std::countr_zero(kinds.notBasic | 1u << 16);
    unsigned const stop = 1u << end;
    unsigned const ascii = kinds.ascii & (stop - 1), twoBytes = kinds.twoBytes & (stop - 1);
    unsigned char* target = to;
    for (int read = 0, count; read < end; read += count) {
        if ((ascii >> read & 1) != 0) {
            StoreUnits(target, LoadUnits(from + read));
            count = std::countr_zero(~(ascii >> read));
            target += count;
        } else if ((twoBytes >> read & 1) != 0) {
            EncodePairs(from + read, target);
            count = std::countr_zero(~(twoBytes >> read) | 1u << 8);
            target += 2 * count;
        } else {
            EncodeTriples(from + read, target);
            count = std::countr_zero((ascii | twoBytes | stop) >> read | 1u << 4);
            target += 3 * count;
        }
    }
    int const written = static_cast<int>(target - to);
    if (kinds.notBasic == 0) [[likely]]
        return {16, written}; // See TakenBefore.
    return {end, written};
}

} // namespace TranscodeBlocks

#endif
