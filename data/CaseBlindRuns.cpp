#include "data/CaseBlindRuns.h"

#include <immintrin.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "data/ProcessorFeatures.h"

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

// No bit of a byte is set if it is equal to the one beside it.
[[gnu::target("avx2")]] inline __m256i UnequalOf32(unsigned char const* left,
                                                   unsigned char const* right) {
    __m256i const a = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(left));
    __m256i const b = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(right));
    __m256i const bit = _mm256_set1_epi8(caseBit);
    __m256i const moved = _mm256_sub_epi8(_mm256_or_si256(a, bit), _mm256_set1_epi8('a' - 0x80));
    __m256i const letters = _mm256_cmpgt_epi8(_mm256_set1_epi8(26 - 0x80), moved);
    return _mm256_andnot_si256(_mm256_and_si256(letters, bit), _mm256_xor_si256(a, b));
}

[[gnu::target("avx2")]] inline unsigned DifferenceOf32(unsigned char const* left,
                                                       unsigned char const* right) {
    __m256i const equal = _mm256_cmpeq_epi8(UnequalOf32(left, right), _mm256_setzero_si256());
    return ~static_cast<unsigned>(_mm256_movemask_epi8(equal));
}

// One answer, and so one branch, for four blocks.
[[gnu::target("avx2")]] inline bool AreEqual128(unsigned char const* left,
                                                unsigned char const* right) {
    __m256i unequal = UnequalOf32(left, right);
    for (int i = 32; i < 128; i += 32)
        unequal = _mm256_or_si256(unequal, UnequalOf32(left + i, right + i));
    return _mm256_testz_si256(unequal, unequal) != 0;
}

// The same for 32 to 64 bytes: two blocks, which may overlap.
[[gnu::target("avx2")]] inline bool AreEqual32To64(unsigned char const* left,
                                                   unsigned char const* right, std::size_t length) {
    __m256i const unequal = _mm256_or_si256(UnequalOf32(left, right),
                                            UnequalOf32(left + length - 32, right + length - 32));
    return _mm256_testz_si256(unequal, unequal) != 0;
}

// Not CanCompareBy32 itself: that others could put theirs in its place keeps it from being inlined.
bool HasAvx2() { return ProcessorFeatures::avx2.IsThere(); }

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
    std::size_t i = 0;
    for (; length - i >= block; i += block)
        if (unsigned const difference = DifferenceOf16(left + i, right + i))
            return i + static_cast<unsigned>(std::countr_zero(difference));
    if (i == length)
        return length;
    std::size_t const last = length - block;
    unsigned const difference = DifferenceOf16(left + last, right + last);
    return difference == 0 ? length : last + static_cast<unsigned>(std::countr_zero(difference));
}

[[gnu::target("avx2")]] std::size_t
CommonLengthBy32(unsigned char const* left, unsigned char const* right, std::size_t length) {
    constexpr std::size_t block = 32;
    if (length < block)
        return CommonLengthBy16(left, right, length);
    if (length <= 2 * block && AreEqual32To64(left, right, length))
        return length;
    std::size_t i = 0;
    while (length - i >= 4 * block && AreEqual128(left + i, right + i))
        i += 4 * block;
    for (; length - i >= block; i += block)
        if (unsigned const difference = DifferenceOf32(left + i, right + i))
            return i + static_cast<unsigned>(std::countr_zero(difference));
    if (i == length)
        return length;
    std::size_t const last = length - block;
    unsigned const difference = DifferenceOf32(left + last, right + last);
    return difference == 0 ? length : last + static_cast<unsigned>(std::countr_zero(difference));
}

bool CanCompareBy32() { return HasAvx2(); }

std::size_t CommonLength(unsigned char const* left, unsigned char const* right,
                         std::size_t length) {
    if (length >= 32 && HasAvx2())
        return CommonLengthBy32(left, right, length);
    return CommonLengthBy16(left, right, length);
}

} // namespace CaseBlindRuns
