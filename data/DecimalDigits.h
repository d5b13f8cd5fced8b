// Decimal digits several at a time: what the makers of numerals are built from.
//
// Digits come as words, the first one in the lowest byte, so that a word stored is a text, and to
// shift a word to the right drops leading zeros.
#pragma once

#include <emmintrin.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace DecimalDigits {

static_assert(std::endian::native == std::endian::little, "a word stored is a text");

// The characters of the values 0 to 99, two each: "00" to "99".
inline constexpr std::array<char, 200> pairs = [] {
    std::array<char, 200> made{};
    for (unsigned value = 0; value < 100; ++value) {
        made[2 * value] = static_cast<char>('0' + value / 10);
        made[2 * value + 1] = static_cast<char>('0' + value % 10);
    }
    return made;
}();

// Eight '0' characters; or-ed to eight digits, it makes them characters.
inline constexpr std::uint64_t zeros = 0x3030303030303030;

// The number of leading zeros. REQUIRES: not all digits are zero.
constexpr unsigned CountLeadingZeros(std::uint64_t digits) {
    // Not std::countr_zero, whose answer for 0 would cost a branch.
    return static_cast<unsigned>(__builtin_ctzll(digits)) / 8;
}

// The eight digits of a value below 100,000,000, as values of bytes.
//
// The value is split in halves, three times, each time in all lanes of the word at once. The
// factors stand for the division of a lane: x * 10486 >> 20 is x / 100 for x < 10,000, and
// x * 103 >> 10 is x / 10 for x < 100. A quotient goes to the lower half of its lane, and what is
// left to the upper one, in one multiplication: (x - 10 * q << 8) + q is (x << 8) - 2559 * q.
constexpr std::uint64_t EightDigits(std::uint32_t value) {
    auto const join = [](std::uint64_t lanes, std::uint64_t quotients, unsigned bits,
                         std::uint64_t divisor) {
        return (lanes << bits) - quotients * ((divisor << bits) - 1);
    };
    std::uint64_t const fours = join(value, value / 10000, 32, 10000);
    std::uint64_t const twos = join(fours, (fours * 10486 >> 20) & 0x0000007F0000007F, 16, 100);
    return join(twos, (twos * 103 >> 10) & 0x000F000F000F000F, 8, 10);
}

// The same of a value below 10,000,000,000,000,000: EightDigits on two words at a time, in the
// vector instructions that every x86-64 has. Twice as fast as to do the two one after the other.
class SixteenDigits {
public:
    explicit SixteenDigits(std::uint64_t value) {
        auto const lanes16 = [](short factor) {
            return _mm_set1_epi16(factor);
        };
        auto const lanes32 = [](unsigned factor) {
            return _mm_set1_epi32(static_cast<int>(factor));
        };
        __m128i const eights = _mm_set_epi64x(static_cast<long long>(value % 100000000),
                                              static_cast<long long>(value / 100000000));

        // x * 3518437209 >> 45 is x / 10,000 for 32 bits.
        __m128i quotients = _mm_srli_epi64(_mm_mul_epu32(eights, lanes32(3518437209)), 45);
        __m128i rests = _mm_sub_epi32(eights, _mm_mul_epu32(quotients, lanes32(10000)));
        __m128i const fours = _mm_or_si128(quotients, _mm_slli_epi64(rests, 32));

        // x * 5243 >> 19 is x / 100 for x < 10,000.
        quotients = _mm_srli_epi16(_mm_mulhi_epu16(fours, lanes16(5243)), 3);
        rests = _mm_sub_epi32(fours, _mm_madd_epi16(quotients, lanes32(100)));
        __m128i const twos = _mm_or_si128(quotients, _mm_slli_epi32(rests, 16));

        // x * 6554 >> 16 is x / 10 for x < 100.
        quotients = _mm_mulhi_epu16(twos, lanes16(6554));
        rests = _mm_sub_epi16(twos, _mm_mullo_epi16(quotients, lanes16(10)));
        digits = _mm_or_si128(quotients, _mm_slli_epi16(rests, 8));
    }

    // The first eight, as a word.
    std::uint64_t First() const { return static_cast<std::uint64_t>(_mm_cvtsi128_si64(digits)); }

    // Write the characters of all sixteen, or of the last eight.
    void Put(void* to) const { _mm_storeu_si128(static_cast<__m128i*>(to), Characters()); }
    void PutLast(void* to) const {
        __m128i const characters = Characters();
        _mm_storel_epi64(static_cast<__m128i*>(to), _mm_unpackhi_epi64(characters, characters));
    }

private:
    __m128i Characters() const { return _mm_or_si128(digits, _mm_set1_epi8('0')); }

    __m128i digits;
};

// Writes the digits of a value below 10,000 without leading zeros (but one digit for zero), and
// yields their number. Up to four bytes are written, whatever the number.
inline unsigned PutUpToFour(unsigned char* to, std::uint32_t value) {
    if (value < 100) {
        unsigned const leading = value < 10;
        std::memcpy(to, &pairs[value * 2 + leading], 2);
        return 2 - leading;
    }
    std::uint16_t high;
    std::uint16_t low;
    std::memcpy(&high, &pairs[value / 100 * 2], sizeof(high));
    std::memcpy(&low, &pairs[value % 100 * 2], sizeof(low));
    unsigned const leading = value < 1000;
    std::uint32_t const word = (high | static_cast<std::uint32_t>(low) << 16) >> leading * 8;
    std::memcpy(to, &word, sizeof(word));
    return 4 - leading;
}

} // namespace DecimalDigits
