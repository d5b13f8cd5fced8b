#include "data/CaseBlindRuns.h"

#include <immintrin.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace CaseBlindRuns {

namespace {

// Two bytes count as equal if they are, or if they differ in no more than the bit that tells the
// cases apart and the left one is a letter. The blocks below do this in all bytes at a time.
constexpr unsigned char caseBit = 0x20;

constexpr bool AreEqual(unsigned char left, unsigned char right) {
    bool const isLetter = static_cast<unsigned char>((left | caseBit) - 'a') < 26;
    return left == right || (isLetter && (left ^ right) == caseBit);
}

constexpr std::size_t wordSize = sizeof(std::uint64_t);

constexpr std::uint64_t InAllBytes(unsigned char byte) {
    return std::uint64_t{0x0101010101010101} * byte;
}

std::uint64_t LoadWord(unsigned char const* from) {
    std::uint64_t word;
    std::memcpy(&word, from, sizeof(word));
    return word;
}

// Nothing but zeros if all bytes are equal; otherwise the first bit set is in the first byte that
// is not.
std::uint64_t DifferenceOfWords(std::uint64_t left, std::uint64_t right) {
    // The top bit of each byte tells whether the rest of it, which cannot carry, is a letter.
    std::uint64_t const lower = (left | InAllBytes(caseBit)) & InAllBytes(0x7F);
    std::uint64_t const letters = (lower + InAllBytes(0x80 - 'a')) &
                                  ~(lower + InAllBytes(0x80 - 'z' - 1)) & ~left & InAllBytes(0x80);
    return (left ^ right) & ~(letters >> 2);
}

// A bit for each of 16 bytes, set if they are not equal.
unsigned DifferenceOf16(unsigned char const* left, unsigned char const* right) {
    __m128i const a = _mm_loadu_si128(reinterpret_cast<__m128i const*>(left));
    __m128i const b = _mm_loadu_si128(reinterpret_cast<__m128i const*>(right));
    __m128i const bit = _mm_set1_epi8(caseBit);
    // Comparisons are signed, so that the letters are moved to the bottom of the signed bytes.
    __m128i const moved = _mm_sub_epi8(_mm_or_si128(a, bit), _mm_set1_epi8('a' - 0x80));
    __m128i const letters = _mm_cmpgt_epi8(_mm_set1_epi8(26 - 0x80), moved);
    __m128i const difference = _mm_xor_si128(a, b);
    __m128i const allowed = _mm_and_si128(difference, _mm_and_si128(letters, bit));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(difference, allowed))) ^ 0xFFFF;
}

[[gnu::target("avx2")]] unsigned DifferenceOf32(unsigned char const* left,
                                                unsigned char const* right) {
    __m256i const a = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(left));
    __m256i const b = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(right));
    __m256i const bit = _mm256_set1_epi8(caseBit);
    __m256i const moved = _mm256_sub_epi8(_mm256_or_si256(a, bit), _mm256_set1_epi8('a' - 0x80));
    __m256i const letters = _mm256_cmpgt_epi8(_mm256_set1_epi8(26 - 0x80), moved);
    __m256i const difference = _mm256_xor_si256(a, b);
    __m256i const allowed = _mm256_and_si256(difference, _mm256_and_si256(letters, bit));
    return ~static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(difference, allowed)));
}

// For texts shorter than two words.
std::size_t CommonLengthByWords(unsigned char const* left, unsigned char const* right,
                                std::size_t length) {
    if (length < wordSize)
        return CommonLengthByBytes(left, right, length);
    for (std::size_t i : {std::size_t{0}, length - wordSize})
        if (std::uint64_t const difference =
                DifferenceOfWords(LoadWord(left + i), LoadWord(right + i)))
            return i + static_cast<unsigned>(std::countr_zero(difference)) / 8;
    return length;
}

} // namespace

std::size_t CommonLengthByBytes(unsigned char const* left, unsigned char const* right,
                                std::size_t length) {
    std::size_t i = 0;
    while (i < length && AreEqual(left[i], right[i]))
        ++i;
    return i;
}

// In the forms below, what is left behind the last full block is compared together with bytes
// before it, which are known to be equal.

std::size_t CommonLengthBy16(unsigned char const* left, unsigned char const* right,
                             std::size_t length) {
    constexpr std::size_t block = 16;
    if (length < block)
        return CommonLengthByWords(left, right, length);
    for (std::size_t i = 0; i <= length - block; i += block)
        if (unsigned const difference = DifferenceOf16(left + i, right + i))
            return i + static_cast<unsigned>(std::countr_zero(difference));
    std::size_t const last = length - block;
    unsigned const difference = DifferenceOf16(left + last, right + last);
    return difference == 0 ? length : last + static_cast<unsigned>(std::countr_zero(difference));
}

[[gnu::target("avx2")]] std::size_t
CommonLengthBy32(unsigned char const* left, unsigned char const* right, std::size_t length) {
    constexpr std::size_t block = 32;
    if (length < block)
        return CommonLengthBy16(left, right, length);
    for (std::size_t i = 0; i <= length - block; i += block)
        if (unsigned const difference = DifferenceOf32(left + i, right + i))
            return i + static_cast<unsigned>(std::countr_zero(difference));
    std::size_t const last = length - block;
    unsigned const difference = DifferenceOf32(left + last, right + last);
    return difference == 0 ? length : last + static_cast<unsigned>(std::countr_zero(difference));
}

bool CanCompareBy32() { return __builtin_cpu_supports("avx2") != 0; }

std::size_t CommonLength(unsigned char const* left, unsigned char const* right,
                         std::size_t length) {
    if (length >= 64 && CanCompareBy32())
        return CommonLengthBy32(left, right, length);
    return CommonLengthBy16(left, right, length);
}

} // namespace CaseBlindRuns
