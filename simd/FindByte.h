// Finds the first byte of a small set, 16 bytes at a time with SSE2.
//
// `wanted` is one to four bytes of type char. Only their number is a template parameter; literals
// become vector constants by inlining.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "simd/Vectors.h"

namespace Simd {

// Returns the first byte of [from, end) that is one of `wanted`, or `end`.
template <class... Bytes>
char const* FindByteScalar(char const* from, char const* end, Bytes... wanted) {
    while (from != end && ((*from != wanted) && ...))
        ++from;
    return from;
}

// Like FindByteScalar, but every byte of 0x80 and above also matches.
template <class... Bytes>
char const* FindByteOrHighScalar(char const* from, char const* end, Bytes... wanted) {
    while (from != end && static_cast<signed char>(*from) >= 0 && ((*from != wanted) && ...))
        ++from;
    return from;
}

// Returns a mask for the first `size` bytes (16, 32, 48 or 64): bit i is set if from[i] is one of
// `wanted`.
template <int size, class... Bytes>
std::uint64_t MatchMaskScalar(char const* from, Bytes... wanted) {
    std::uint64_t mask = 0;
    for (int i = 0; i < size; ++i)
        mask |= std::uint64_t{((from[i] == wanted) || ...)} << i;
    return mask;
}

#if SIMD_X86

namespace Detail {

using namespace Vectors;

// Returns 0xFF in each byte that is one of `wanted`, otherwise 0.
template <class... Bytes>
Vector Matches(Vector bytes, Bytes... wanted) {
    Vector found = Zero();
    ((found = Or(found, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(wanted)))), ...);
    return found;
}

// Returns the first byte of [from, end) whose top bit `mark` sets, or `end`. `findInFew` searches
// fewer than 8 bytes.
//
// The last vector ends at `end`. Its bytes before `from`, if any, are known not to match. 8 to 15
// bytes are searched as one vector of the first and the last 8 bytes: for 11 bytes "abcdefghijk"
// the lanes are "abcdefgh" "defghijk", so lane 9 is the byte 9 - 16 + 11 = 4.
template <class Mark, class FindInFew>
char const* FindMarked(char const* from, char const* end, Mark mark, FindInFew findInFew) {
    if (end - from < 8)
        return findInFew(from, end);
    if (end - from < 16) {
        Vector const ends = _mm_unpacklo_epi64(LoadHalf(from), LoadHalf(end - 8));
        unsigned int const mask = MaskOf8(mark(ends));
        if (mask == 0)
            return end;
        int const lane = std::countr_zero(mask);
        return lane < 8 ? from + lane : end - 16 + lane;
    }
    for (; end - from > 16; from += 16) {
        unsigned int const mask = MaskOf8(mark(Load(from)));
        if (mask != 0)
            return from + std::countr_zero(mask);
    }
    unsigned int const mask = MaskOf8(mark(Load(end - 16)));
    return mask == 0 ? end : end - 16 + std::countr_zero(mask);
}

} // namespace Detail

template <class... Bytes>
char const* FindByte(char const* from, char const* end, Bytes... wanted) {
    return Detail::FindMarked(
        from, end, [=](Detail::Vector bytes) { return Detail::Matches(bytes, wanted...); },
        [=](char const* first, char const* last) {
            return FindByteScalar(first, last, wanted...);
        });
}

template <class... Bytes>
char const* FindByteOrHigh(char const* from, char const* end, Bytes... wanted) {
    return Detail::FindMarked(
        from, end,
        [=](Detail::Vector bytes) { return Detail::Or(bytes, Detail::Matches(bytes, wanted...)); },
        [=](char const* first, char const* last) {
            return FindByteOrHighScalar(first, last, wanted...);
        });
}

template <int size, class... Bytes>
std::uint64_t MatchMask(char const* from, Bytes... wanted) {
    std::uint64_t mask = 0;
    for (int i = 0; i < size; i += 16)
        mask |= std::uint64_t{Detail::MaskOf8(Detail::Matches(Detail::Load(from + i), wanted...))}
                << i;
    return mask;
}

#else

template <class... Bytes>
char const* FindByte(char const* from, char const* end, Bytes... wanted) {
    return FindByteScalar(from, end, wanted...);
}

template <class... Bytes>
char const* FindByteOrHigh(char const* from, char const* end, Bytes... wanted) {
    return FindByteOrHighScalar(from, end, wanted...);
}

template <int size, class... Bytes>
std::uint64_t MatchMask(char const* from, Bytes... wanted) {
    return MatchMaskScalar<size>(from, wanted...);
}

#endif

} // namespace Simd
