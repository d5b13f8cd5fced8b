#include "simd/AsciiCase.h"

#include <bit>
#include <cstdint>
#include <initializer_list>

#include "simd/Cpu.h"
#include "simd/Vectors.h"
#include "simd/Words.h"

#if SIMD_X86
#include <immintrin.h>
#endif

namespace Simd {

namespace {

// Two bytes match if they are equal, or if they differ only in the case bit and the left one is a
// letter. The vector code applies this to all bytes at once.
constexpr unsigned char caseBit = 0x20;

constexpr bool AreEqual(unsigned char left, unsigned char right) {
    bool const isLetter = static_cast<unsigned char>((left | caseBit) - 'a') < 26;
    return left == right || (isLetter && (left ^ right) == caseBit);
}

} // namespace

std::size_t CommonPrefixScalar(unsigned char const* left, unsigned char const* right,
                               std::size_t length) {
    std::size_t i = 0;
    while (i < length && AreEqual(left[i], right[i]))
        ++i;
    return i;
}

#if SIMD_X86

namespace {

constexpr std::size_t wordSize = sizeof(std::uint64_t);

// Returns zero if all bytes match; otherwise the lowest set bit is in the first byte that does not
// match. For "aB-" and "Ab_" the letters are 80 80 00 and the differences 20 20 72, so 00 00 72
// remains.
std::uint64_t DifferenceOfWords(std::uint64_t left, std::uint64_t right) {
    // Sets the top bit of each byte that is a letter. No sum carries into the next byte, because
    // `lower` has no top bits.
    std::uint64_t const lower = (left | InAllBytes(caseBit)) & InAllBytes(0x7F);
    std::uint64_t const letters = (lower + InAllBytes(0x80 - 'a')) &
                                  ~(lower + InAllBytes(0x80 - 'z' - 1)) & ~left & InAllBytes(0x80);
    return (left ^ right) & ~(letters >> 2);
}

// Returns 0xFF for each of 16 bytes that is a letter, otherwise 0. The comparison is signed, so the
// letters are moved to the bottom of the range: 'a' and 'A' to -128, 'z' and 'Z' to -103, '@' to
// 127.
Vectors::Vector LettersOf16(Vectors::Vector bytes) {
    using namespace Vectors;
    Vector const moved = _mm_sub_epi8(Or(bytes, All8(caseBit)), All8('a' - 0x80));
    return _mm_cmpgt_epi8(All8(26 - 0x80), moved);
}

// Returns one bit for each of 16 pairs of bytes, set if the two bytes do not match. "aB-" and "Ab_"
// have the differences 20 20 72, of which the letters allow 20 20 00, so the third bit is set.
unsigned DifferenceOf16(unsigned char const* left, unsigned char const* right) {
    using namespace Vectors;
    Vector const a = Load(left);
    Vector const difference = Xor(a, Load(right));
    Vector const allowed = And(difference, And(LettersOf16(a), All8(caseBit)));
    return MaskOf8(_mm_cmpeq_epi8(difference, allowed)) ^ 0xFFFF;
}

// Returns the bits in which 32 bytes differ, without the case bits of letters: 00 00 72 for "aB-"
// and "Ab_".
SIMD_TARGET_AVX2 inline __m256i UnequalOf32(unsigned char const* left, unsigned char const* right) {
    __m256i const a = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(left));
    __m256i const b = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(right));
    __m256i const bit = _mm256_set1_epi8(caseBit);
    __m256i const moved = _mm256_sub_epi8(_mm256_or_si256(a, bit), _mm256_set1_epi8('a' - 0x80));
    __m256i const letters = _mm256_cmpgt_epi8(_mm256_set1_epi8(26 - 0x80), moved);
    return _mm256_andnot_si256(_mm256_and_si256(letters, bit), _mm256_xor_si256(a, b));
}

SIMD_TARGET_AVX2 inline unsigned DifferenceOf32(unsigned char const* left,
                                                unsigned char const* right) {
    __m256i const equal = _mm256_cmpeq_epi8(UnequalOf32(left, right), _mm256_setzero_si256());
    return ~static_cast<unsigned>(_mm256_movemask_epi8(equal));
}

// Compares four vectors with one branch.
SIMD_TARGET_AVX2 inline bool AreEqual128(unsigned char const* left, unsigned char const* right) {
    __m256i unequal = UnequalOf32(left, right);
    for (int i = 32; i < 128; i += 32)
        unequal = _mm256_or_si256(unequal, UnequalOf32(left + i, right + i));
    return _mm256_testz_si256(unequal, unequal) != 0;
}

// Compares 32 to 64 bytes as two vectors, which may overlap.
SIMD_TARGET_AVX2 inline bool AreEqual32To64(unsigned char const* left, unsigned char const* right,
                                            std::size_t length) {
    __m256i const unequal = _mm256_or_si256(UnequalOf32(left, right),
                                            UnequalOf32(left + length - 32, right + length - 32));
    return _mm256_testz_si256(unequal, unequal) != 0;
}

// Compares texts of at most two words. The second word may overlap the first one.
std::size_t CommonPrefixByWords(unsigned char const* left, unsigned char const* right,
                                std::size_t length) {
    if (length < wordSize)
        return CommonPrefixScalar(left, right, length);
    for (std::size_t i : {std::size_t{0}, length - wordSize})
        if (std::uint64_t const difference = DifferenceOfWords(LoadWord<std::uint64_t>(left + i),
                                                               LoadWord<std::uint64_t>(right + i)))
            return i + static_cast<unsigned>(std::countr_zero(difference)) / 8;
    return length;
}

} // namespace

// The next two functions compare the bytes after the last full vector together with bytes before
// them, which are known to match.

std::size_t CommonPrefixSse2(unsigned char const* left, unsigned char const* right,
                             std::size_t length) {
    constexpr std::size_t block = 16;
    if (length < block)
        return CommonPrefixByWords(left, right, length);
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

SIMD_TARGET_AVX2 std::size_t CommonPrefixAvx2(unsigned char const* left, unsigned char const* right,
                                              std::size_t length) {
    constexpr std::size_t block = 32;
    if (length < block)
        return CommonPrefixSse2(left, right, length);
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

std::size_t CommonPrefix(unsigned char const* left, unsigned char const* right,
                         std::size_t length) {
    if (length >= 32 && Uses(Level::avx2))
        return CommonPrefixAvx2(left, right, length);
    return CommonPrefixSse2(left, right, length);
}

#else

std::size_t CommonPrefix(unsigned char const* left, unsigned char const* right,
                         std::size_t length) {
    return CommonPrefixScalar(left, right, length);
}

#endif

} // namespace Simd
