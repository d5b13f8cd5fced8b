#include "data/CaseMapping.h"

#include <cstdint>

#include <emmintrin.h>

namespace CaseMapping {

namespace {

constexpr std::size_t blockSize = 16;

// Comparisons are signed, so that the letters are moved to the bottom of the signed bytes.
template <unsigned char mapping>
inline __m128i MapBlock(__m128i bytes) {
    __m128i const moved = _mm_sub_epi8(bytes, _mm_set1_epi8(static_cast<char>(mapping - 0x80)));
    __m128i const letters = _mm_cmpgt_epi8(_mm_set1_epi8(26 - 0x80), moved);
    return _mm_xor_si128(bytes, _mm_and_si128(letters, _mm_set1_epi8(caseBit)));
}

// Everything is read before anything is written: a processor that takes a block to be read for one
// that is being written, since their addresses have the same end, would wait each time.
template <unsigned char mapping, std::size_t count>
inline void MapBlocks(unsigned char const* source, unsigned char* target) {
    __m128i mapped[count];
    for (std::size_t i = 0; i < count; ++i)
        mapped[i] = MapBlock<mapping>(
            _mm_loadu_si128(reinterpret_cast<__m128i const*>(source + i * blockSize)));
    for (std::size_t i = 0; i < count; ++i)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i * blockSize), mapped[i]);
}

// REQUIRES: AreApartOrTheSame, and a block at least.
template <unsigned char mapping>
inline void MapAll(unsigned char const* source, unsigned char* target, std::size_t length) {
    std::size_t i = 0;
    for (; length - i >= 4 * blockSize; i += 4 * blockSize)
        MapBlocks<mapping, 4>(source + i, target + i);
    for (; length - i >= blockSize; i += blockSize)
        MapBlocks<mapping, 1>(source + i, target + i);
    // What this one has in common with the block before it is mapped twice if the texts are the
    // same, which changes nothing.
    if (i != length)
        MapBlocks<mapping, 1>(source + length - blockSize, target + length - blockSize);
}

// Whether no byte is in both texts, or each one at the same place of both.
bool AreApartOrTheSame(unsigned char const* source, unsigned char const* target,
                       std::size_t length) {
    std::uintptr_t const distance =
        reinterpret_cast<std::uintptr_t>(target) - reinterpret_cast<std::uintptr_t>(source);
    // cppcheck-suppress knownConditionTrueFalse ; unsigned, so 0 - distance wraps
    return distance == 0 || (distance >= length && 0 - distance >= length);
}

} // namespace

void MapByBytes(unsigned char const* source, unsigned char* target, std::size_t length,
                unsigned char mapping) {
    for (std::size_t i = 0; i < length; ++i)
        target[i] = Map(source[i], mapping);
}

void MapRun(unsigned char const* source, unsigned char* target, std::size_t length,
            unsigned char mapping) {
    if (length < blockSize || !AreApartOrTheSame(source, target, length))
        return MapByBytes(source, target, length, mapping);
    if (mapping == raising)
        MapAll<raising>(source, target, length);
    else
        MapAll<lowering>(source, target, length);
}

} // namespace CaseMapping
