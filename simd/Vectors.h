// Vectors of 16 bytes in SSE2, with the operations that kernels use.
//
// The number in a name is the width of the lanes: 8, 16 or 32 bits. The first lane is the lowest,
// so a loaded vector has the first code unit of the text in its first lane. Comments list the first
// lane first.
#pragma once

#include "simd/Cpu.h"

#if SIMD_X86

#include <emmintrin.h>

#include "simd/Words.h"

namespace Simd::Vectors {

using Vector = __m128i;

struct TwoVectors {
    Vector first, second;
};

inline Vector Zero() { return _mm_setzero_si128(); }
inline Vector All8(unsigned value) { return _mm_set1_epi8(static_cast<char>(value)); }
inline Vector All16(unsigned value) { return _mm_set1_epi16(static_cast<short>(value)); }
inline Vector All32(unsigned value) { return _mm_set1_epi32(static_cast<int>(value)); }

// Load and store whole vectors and halves, and load quarters, at any address. The rest of a loaded
// vector is zero.
inline Vector Load(void const* from) noexcept {
    return _mm_loadu_si128(static_cast<Vector const*>(from));
}
inline Vector LoadHalf(void const* from) {
    return _mm_loadl_epi64(static_cast<Vector const*>(from));
}
inline Vector LoadQuarter(void const* from) { return _mm_cvtsi32_si128(LoadWord<int>(from)); }
inline void Store(void* to, Vector value) { _mm_storeu_si128(static_cast<Vector*>(to), value); }
inline void StoreHalf(void* to, Vector value) { _mm_storel_epi64(static_cast<Vector*>(to), value); }

inline Vector And(Vector a, Vector b) { return _mm_and_si128(a, b); }
// Returns `a` & ~`b`, unlike the instruction, which complements its first operand.
inline Vector AndNot(Vector a, Vector b) { return _mm_andnot_si128(b, a); }
inline Vector Or(Vector a, Vector b) noexcept { return _mm_or_si128(a, b); }
inline Vector Or(Vector a, Vector b, Vector c) { return Or(Or(a, b), c); }
inline Vector Or(Vector a, Vector b, Vector c, Vector d) { return Or(Or(a, b), Or(c, d)); }
inline Vector Xor(Vector a, Vector b) { return _mm_xor_si128(a, b); }
inline Vector Not(Vector found) { return Xor(found, All8(0xFF)); }

// Returns the lanes of `ifFound` where `found` is all ones, and of `otherwise` where it is zero.
inline Vector Select(Vector found, Vector ifFound, Vector otherwise) {
    return Or(And(ifFound, found), AndNot(otherwise, found));
}

// Returns all ones in the lanes whose bits under `mask` are `value`, zero in the others.
inline Vector Is8(Vector lanes, unsigned mask, unsigned value) {
    return _mm_cmpeq_epi8(And(lanes, All8(mask)), All8(value));
}
inline Vector Is16(Vector lanes, unsigned mask, unsigned value) {
    return _mm_cmpeq_epi16(And(lanes, All16(mask)), All16(value));
}
inline Vector Is32(Vector lanes, unsigned mask, unsigned value) {
    return _mm_cmpeq_epi32(And(lanes, All32(mask)), All32(value));
}

// Returns all ones in the lanes that are at least `value`, unsigned.
inline Vector AtLeast8(Vector lanes, unsigned value) {
    return _mm_cmpeq_epi8(_mm_max_epu8(lanes, All8(value)), lanes);
}

// Return the top bit of each lane, which is set if the lane is all ones. Bit 0 is the first lane.
inline unsigned MaskOf8(Vector found) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(found));
}
inline unsigned MaskOf16(TwoVectors found) noexcept {
    return MaskOf8(_mm_packs_epi16(found.first, found.second));
}
inline unsigned MaskOf32(Vector found) {
    return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(found)));
}

// Return the bits under `mask`, shifted to the left.
inline Vector Left16(Vector lanes, unsigned mask, int count) {
    return _mm_slli_epi16(And(lanes, All16(mask)), count);
}
inline Vector Left32(Vector lanes, unsigned mask, int count) {
    return _mm_slli_epi32(And(lanes, All32(mask)), count);
}

// Shift to the right, then return the bits under `mask`.
inline Vector Right16(Vector lanes, int count, unsigned mask) {
    return And(_mm_srli_epi16(lanes, count), All16(mask));
}
inline Vector Right32(Vector lanes, int count, unsigned mask) {
    return And(_mm_srli_epi32(lanes, count), All32(mask));
}

// Return lanes twice as wide, whose halves are the lanes of `lower` and `upper`: Join8 of A B ..
// and C D .. is CA DB .. in lanes of 16 bits.
inline TwoVectors Join8(Vector lower, Vector upper) {
    return {_mm_unpacklo_epi8(lower, upper), _mm_unpackhi_epi8(lower, upper)};
}
inline TwoVectors Join16(Vector lower, Vector upper) {
    return {_mm_unpacklo_epi16(lower, upper), _mm_unpackhi_epi16(lower, upper)};
}
inline TwoVectors Widen8(Vector lanes) { return Join8(lanes, Zero()); }
inline TwoVectors Widen16(Vector lanes) { return Join16(lanes, Zero()); }

// Return lanes half as wide, with the lower halves: 0041 00E9 .. becomes 41 E9 ... Narrow16
// saturates instead: lanes of 0x100 and more become FF or 00.
inline Vector Narrow16(TwoVectors lanes) { return _mm_packus_epi16(lanes.first, lanes.second); }
inline Vector Narrow32(Vector first, Vector second) {
    // The instruction saturates signed values, so each lower half is sign-extended first: 0001ABCD
    // becomes ABCD0000, then FFFFABCD, which is stored as ABCD.
    return _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(first, 16), 16),
                           _mm_srai_epi32(_mm_slli_epi32(second, 16), 16));
}

// Returns the lanes of two vectors, all ones or zero, in lanes of 16 bits.
inline Vector NarrowFound32(Vector first, Vector second) { return _mm_packs_epi32(first, second); }

inline Vector Add16(Vector lanes, unsigned value) { return _mm_add_epi16(lanes, All16(value)); }
inline Vector Subtract16(Vector lanes, unsigned value) {
    return _mm_sub_epi16(lanes, All16(value));
}
inline Vector Add32(Vector lanes, unsigned value) { return _mm_add_epi32(lanes, All32(value)); }
inline Vector Subtract32(Vector lanes, unsigned value) {
    return _mm_sub_epi32(lanes, All32(value));
}

} // namespace Simd::Vectors

#endif
