// Copies up to 16 bytes. If SIMD_X86 is 1, the copy needs no call and no loop.
#pragma once

#include <cstddef>
#include <cstdint>

#include "simd/Cpu.h"
#include "simd/Words.h"

namespace Simd {

// Copies `length` bytes; the two ranges may overlap. REQUIRES: length <= 16.
inline void CopyUpTo16Scalar(char* to, char const* from, std::size_t length) {
    char copied[16];
    for (std::size_t i = 0; i < length; ++i)
        copied[i] = from[i];
    for (std::size_t i = 0; i < length; ++i)
        to[i] = copied[i];
}

#if SIMD_X86

namespace Detail {

// Copies the first and the last bytes as one word each. The words overlap if `length` is less than
// two words: for "abcde" they are "abcd" and "bcde".
template <class Word>
void CopyEnds(char* to, char const* from, std::size_t length) {
    auto const first = LoadWord<Word>(from);
    auto const last = LoadWord<Word>(from + length - sizeof(Word));
    StoreWord(to, first);
    StoreWord(to + length - sizeof(Word), last);
}

} // namespace Detail

inline void CopyUpTo16(char* to, char const* from, std::size_t length) {
    if (length >= 8)
        Detail::CopyEnds<std::uint64_t>(to, from, length);
    else if (length >= 4)
        Detail::CopyEnds<std::uint32_t>(to, from, length);
    else if (length >= 2)
        Detail::CopyEnds<std::uint16_t>(to, from, length);
    else if (length == 1)
        *to = *from;
}

#else

inline void CopyUpTo16(char* to, char const* from, std::size_t length) {
    CopyUpTo16Scalar(to, from, length);
}

#endif

} // namespace Simd
