#include "simd/Crc32.h"

#include <algorithm>

#include "simd/Cpu.h"

#if SIMD_X86
#include <immintrin.h>
#endif

namespace Simd {

namespace {

constexpr std::uint32_t polynomial = 0x04C11DB7;

// Returns `value` times x^bits, modulo the polynomial.
constexpr std::uint32_t Shift(std::uint32_t value, int bits) {
    for (int bit = 0; bit < bits; ++bit)
        value = (value << 1) ^ ((value >> 31) != 0 ? polynomial : 0);
    return value;
}

// slices[n][byte] is the contribution of `byte` to the register after n more bytes.
using Slices = std::array<std::array<std::uint32_t, 256>, 16>;

constexpr Slices MakeSlices() {
    Slices slices{};
    for (std::uint32_t byte = 0; byte < 256; ++byte)
        slices[0][byte] = Shift(byte << 24, 8);
    for (std::size_t n = 1; n < slices.size(); ++n)
        for (std::size_t byte = 0; byte < 256; ++byte) {
            std::uint32_t const before = slices[n - 1][byte];
            slices[n][byte] = (before << 8) ^ slices[0][before >> 24];
        }
    return slices;
}

constexpr Slices slices = MakeSlices();

std::uint32_t LoadBigEndian(unsigned char const* bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
           std::uint32_t{bytes[2]} << 8 | std::uint32_t{bytes[3]};
}

// Returns the contribution of four bytes after `following` more bytes.
std::uint32_t SliceOf(std::uint32_t word, std::size_t following) {
    return slices[following + 3][word >> 24] ^ slices[following + 2][word >> 16 & 0xFF] ^
           slices[following + 1][word >> 8 & 0xFF] ^ slices[following][word & 0xFF];
}

std::uint32_t AdvanceBy16(std::uint32_t value, unsigned char const* bytes) {
    return SliceOf(value ^ LoadBigEndian(bytes), 12) ^ SliceOf(LoadBigEndian(bytes + 4), 8) ^
           SliceOf(LoadBigEndian(bytes + 8), 4) ^ SliceOf(LoadBigEndian(bytes + 12), 0);
}

} // namespace

constinit std::array<std::uint32_t, 256> const& crc32Table = slices[0];

std::uint32_t Crc32Scalar(std::uint32_t value, unsigned char const* bytes, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i)
        value = (value << 8) ^ slices[0][bytes[i] ^ (value >> 24)];
    return value;
}

std::uint32_t Crc32Sliced(std::uint32_t value, unsigned char const* bytes, std::size_t length) {
    for (; length >= 16; bytes += 16, length -= 16)
        value = AdvanceBy16(value, bytes);
    return Crc32Scalar(value, bytes, length);
}

#if SIMD_X86

namespace {

// Loads a block as a polynomial: its first byte becomes the highest coefficients. The bytes 00 01
// ... 0F in memory result in the lanes 0F 0E ... 00, lowest first.
SIMD_TARGET_SSSE3 inline __m128i LoadBlock(unsigned char const* bytes) {
    __m128i const reversal = _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<__m128i const*>(bytes)), reversal);
}

// Returns `block` times x^bits plus `next`, where `powers` is Powers<bits>(). The result has 128
// bits and is congruent to the exact sum modulo the polynomial. In lanes of 64 bits, the block A B
// is A + B * x^64, so the product is A * x^bits + B * x^(bits + 64).
SIMD_TARGET_SSSE3 inline __m128i Fold(__m128i block, __m128i powers, __m128i next) {
    __m128i const high = _mm_clmulepi64_si128(block, powers, 0x11);
    __m128i const low = _mm_clmulepi64_si128(block, powers, 0x00);
    return _mm_xor_si128(_mm_xor_si128(high, low), next);
}

// Returns x^bits in the lower half and x^(bits + 64) in the upper half, modulo the polynomial.
template <int bits>
SIMD_TARGET_SSSE3 inline __m128i Powers() {
    constexpr std::uint32_t low = Shift(1, bits);
    constexpr std::uint32_t high = Shift(low, 64);
    return _mm_set_epi64x(high, low);
}

// Returns the register after all whole blocks of 64 bytes. REQUIRES: `length` is at least 64.
SIMD_TARGET_SSSE3 std::uint32_t FoldBlocks(std::uint32_t value, unsigned char const* bytes,
                                           std::size_t length) {
    __m128i const stride = Powers<512>();
    __m128i lanes[4];
    for (int lane = 0; lane < 4; ++lane)
        lanes[lane] = LoadBlock(bytes + 16 * lane);
    // Adds the register to the first four bytes, which are in the highest lane of 32 bits.
    lanes[0] = _mm_xor_si128(lanes[0], _mm_set_epi32(static_cast<int>(value), 0, 0, 0));
    for (std::size_t done = 64; length - done >= 64; done += 64)
        for (int lane = 0; lane < 4; ++lane)
            lanes[lane] = Fold(lanes[lane], stride, LoadBlock(bytes + done + 16 * lane));
    __m128i const step = Powers<128>();
    __m128i block = lanes[0];
    for (int lane = 1; lane < 4; ++lane)
        block = Fold(block, step, lanes[lane]);
    unsigned char rest[16];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rest), block);
    std::reverse(rest, rest + 16);
    return AdvanceBy16(0, rest);
}

} // namespace

std::uint32_t Crc32Folded(std::uint32_t value, unsigned char const* bytes, std::size_t length) {
    std::size_t const rest = length % 64;
    if (length >= 64)
        value = FoldBlocks(value, bytes, length);
    return Crc32Sliced(value, bytes + (length - rest), rest);
}

std::uint32_t Crc32(std::uint32_t value, unsigned char const* bytes, std::size_t length) {
    if (length >= 64 && Uses(Level::ssse3))
        return Crc32Folded(value, bytes, length);
    return Crc32Sliced(value, bytes, length);
}

#else

std::uint32_t Crc32(std::uint32_t value, unsigned char const* bytes, std::size_t length) {
    return Crc32Scalar(value, bytes, length);
}

#endif

} // namespace Simd
