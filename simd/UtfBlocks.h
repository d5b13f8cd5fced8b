// Transcodes several sequences of one kind at a time, with SSE2.
//
// A function that transcodes up to 4 sequences stops before the first one of another kind. It may
// read code units after these sequences, and write code units after its output. Its comment states
// the numbers.
#pragma once

#include "simd/Vectors.h"

#if SIMD_X86

#include <bit>
#include <cstdint>
#include <type_traits>

namespace Simd::UtfBlocks {

using namespace Vectors;

// The numbers of code units that a function has read and written.
struct BlockProgress {
    int read, written;
    bool isWhole = false; // as many as the function can transcode at once
};

// Returns the progress for the sequences before the first set bit of `others`, or for `count` of
// them if no bit is set. The second case has its own branch, so the next block does not depend on
// this mask.
template <int count, int sourceUnits, int targetUnits>
BlockProgress ProgressBefore(unsigned others) {
    if (others == 0) [[likely]]
        return {count * sourceUnits, count * targetUnits, true};
    int const whole = std::countr_zero(others);
    return {whole * sourceUnits, whole * targetUnits};
}

// ---- Code units with equal values in both encodings: ASCII; between UTF-16 and UTF-32, the BMP
// without surrogates

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

// Returns all ones for each of 8 code units that does not fit into 16 bits.
inline Vector AreWide(unsigned int const* from) noexcept {
    return Not(NarrowFound32(Is32(Load(from), 0xFFFF0000, 0), Is32(Load(from + 4), 0xFFFF0000, 0)));
}

// Returns one bit for each of 16 code units, set unless its value is equal in both encodings.
template <class To, class From>
unsigned Differing(From const* from, TwoVectors units) {
    if constexpr (std::is_same_v<From, unsigned char>)
        return MaskOf8(Load(from)); // the top bit of each byte
    TwoVectors found;
    if constexpr (std::is_same_v<To, unsigned char>)
        found = {Not(Is16(units.first, 0xFF80, 0)), Not(Is16(units.second, 0xFF80, 0))};
    else
        found = {Is16(units.first, 0xF800, 0xD800), Is16(units.second, 0xF800, 0xD800)};
    if constexpr (std::is_same_v<From, unsigned int>)
        found = {Or(found.first, AreWide(from)), Or(found.second, AreWide(from + 8))};
    return MaskOf16(found);
}

// True if 16 code units have equal values in both encodings.
template <class To, class From>
bool AreEqual(From const* from) {
    return Differing<To, From>(from, LoadUnits(from)) == 0;
}

// Copies 16 code units. Returns the same bits as Differing.
template <class To, class From>
unsigned CopyUnits(From const* from, To* to) {
    TwoVectors const units = LoadUnits(from);
    StoreUnits(to, units);
    return Differing<To, From>(from, units);
}

// ---- Supplementary code points, which take four bytes in each encoding

// Four code points, and one bit for each, set if it is not supplementary.
struct FourValues {
    Vector values;
    unsigned others;
};

inline FourValues LoadSupplementary(unsigned char const* from) {
    // F0 9F 98 80 in memory is the lane 80989FF0: the lead byte is the lowest. The bits of the lane
    // move to 0 << 18, 1F << 12, 18 << 6 and 0, which is 1F600.
    Vector const bytes = Load(from);
    return {Or(Left32(bytes, 0x07, 18), Left32(bytes, 0x3F00, 4), Right32(bytes, 10, 0xFC0),
               Right32(bytes, 24, 0x3F)),
            MaskOf32(Is32(bytes, 0xC0C0C0F8, 0x808080F0)) ^ 0xF};
}
inline FourValues LoadSupplementary(unsigned short const* from) {
    // D83D DE00 in memory is the lane DE00D83D: 3D << 10 and 200 are F600; adding 10000 results in
    // 1F600.
    Vector const pairs = Load(from);
    Vector const offsets = Or(Left32(pairs, 0x3FF, 10), Right32(pairs, 16, 0x3FF));
    return {Add32(offsets, 0x10000), MaskOf32(Is32(pairs, 0xFC00FC00, 0xDC00D800)) ^ 0xF};
}
inline FourValues LoadSupplementary(unsigned int const* from) {
    Vector const values = Load(from);
    return {values, MaskOf32(Is32(Subtract32(values, 0x10000), 0xFFF00000, 0)) ^ 0xF};
}

inline void StoreSupplementary(unsigned char* to, Vector values) {
    // 1F600 results in 0, 1F, 18 and 0 in the bytes of the lane 80989FF0, lowest first.
    Vector const bytes = Or(Right32(values, 18, 0x07), Right32(values, 4, 0x3F00),
                            Left32(values, 0xFC0, 10), Left32(values, 0x3F, 24));
    Store(to, Or(bytes, All32(0x808080F0)));
}
inline void StoreSupplementary(unsigned short* to, Vector values) {
    // 1F600 results in D800 | 3D below and DC00 | 200 above: the lane DE00D83D.
    Vector const high = Right32(Subtract32(values, 0x10000), 10, 0xFFFF);
    Store(to, Or(high, Left32(values, 0x3FF, 16), All32(0xDC00D800)));
}
inline void StoreSupplementary(unsigned int* to, Vector values) { Store(to, values); }

// Transcodes up to 4 code points. Reads and writes 16 bytes.
template <class To, class From>
BlockProgress TranscodeSupplementary(From const* from, To* to) {
    constexpr int sourceUnits = 4 / sizeof(*from), targetUnits = 4 / sizeof(*to);
    auto const [values, others] = LoadSupplementary(from);
    StoreSupplementary(to, values);
    return ProgressBefore<4, sourceUnits, targetUnits>(others);
}

// ---- From UTF-8

// Decodes up to 4 sequences of three bytes, for UTF-16 only those before an encoded surrogate.
// Reads 13 bytes and writes 4 code units.
//
// Each lane of 32 bits has one sequence and the byte after it: E2 82 AC xx is the lane xxAC82E2,
// whose bits move to 2 << 12, 02 << 6 and 2C, which is 20AC.
template <class Unit>
BlockProgress DecodeTriples(unsigned char const* from, Unit* to) {
    Vector const low = _mm_unpacklo_epi32(LoadQuarter(from), LoadQuarter(from + 3));
    Vector const high = _mm_unpacklo_epi32(LoadQuarter(from + 6), LoadQuarter(from + 9));
    Vector const bytes = _mm_unpacklo_epi64(low, high);
    Vector const values =
        Or(Left32(bytes, 0x0F, 12), Right32(bytes, 2, 0xFC0), Right32(bytes, 16, 0x3F));
    Vector found = Is32(bytes, 0x00C0C0F0, 0x008080E0);
    if constexpr (sizeof(Unit) == 2) {
        found = AndNot(found, Is32(values, 0xF800, 0xD800));
        StoreHalf(to, Narrow32(values, values));
    } else {
        Store(to, values);
    }
    return ProgressBefore<4, 3, 1>(MaskOf32(found) ^ 0xF);
}

} // namespace Simd::UtfBlocks

#endif
