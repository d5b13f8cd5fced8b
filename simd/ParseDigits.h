// Parses text that consists of digits only, eight characters at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "simd/Cpu.h"
#include "simd/Words.h"

#if SIMD_X86
#include <emmintrin.h>
#endif

namespace Simd {

namespace Detail {

// The value of a hexadecimal digit of either case; 16 for any other byte.
inline constexpr std::array<unsigned char, 256> hexDigitValues = [] {
    std::array<unsigned char, 256> made{};
    made.fill(16);
    for (unsigned char value = 0; value < 16; ++value) {
        made[static_cast<unsigned>(value < 10 ? '0' + value : 'a' + value - 10)] = value;
        made[static_cast<unsigned>(value < 10 ? '0' + value : 'A' + value - 10)] = value;
    }
    return made;
}();

// Returns the value of a digit; `base` or more for any other byte.
template <unsigned base>
constexpr unsigned DigitValue(unsigned char byte) {
    static_assert(base == 10 || base == 16);
    if constexpr (base == 10)
        return static_cast<unsigned>(byte) - '0';
    else
        return hexDigitValues[byte];
}

} // namespace Detail

// Parses a text of 1 to 24 digits in base 10 or 16 into `value`; letters may have either case.
// Returns false, and leaves `value` unspecified, for any other text, and if the value does not fit
// into 64 bits.
template <unsigned base>
bool ParseDigitsScalar(unsigned char const* text, std::size_t length, std::uint64_t& value) {
    value = 0;
    for (std::size_t i = 0; i < length; ++i) {
        unsigned const digit = Detail::DigitValue<base>(text[i]);
        constexpr std::uint64_t maximum = std::numeric_limits<std::uint64_t>::max();
        if (digit >= base || value > maximum / base || value * base > maximum - digit)
            return false;
        value = value * base + digit;
    }
    return length != 0 && length <= 24;
}

#if SIMD_X86

namespace Detail {

// Two values of eight digits each.
struct Halves {
    std::uint64_t first;
    std::uint64_t last;
};

// Eight characters in a word, the first one in the lowest byte, each XORed with '0'. The digit 0 is
// then a byte of 0, so leading zeros need no extra work.
//
// NonDigitMask returns a word in which at least one byte has its top bit set if any character is
// not a digit. Otherwise, no byte has its top bit set. ParseDigitsUnchecked returns the value,
// which is unspecified if any character is not a digit.
template <unsigned base>
struct DigitWord;

template <>
struct DigitWord<10> {
    // Adding 0x76 carries a byte of 10 or more into its top bit. A byte of 0x8A or more also
    // carries into the next byte. That does not matter, because `word` has the top bit of such a
    // byte set.
    static std::uint64_t NonDigitMask(std::uint64_t word) {
        return (word + InAllBytes(0x76)) | word;
    }

    // Combines adjacent digits into pairs. Each of two multiplications then applies two weights.
    // For the digits 1 2 3 4 5 6 7 8, every other byte of `pairs` has 12 34 56 78. The upper 32
    // bits of `first` are 12 * 1000000 + 56 * 100, and those of `second` 34 * 10000 + 78.
    static std::uint64_t ParseDigitsUnchecked(std::uint64_t word) {
        std::uint64_t const pairs = word * 10 + (word >> 8);
        constexpr std::uint64_t everyOtherPair = 0x000000FF000000FF;
        std::uint64_t const first = (pairs & everyOtherPair) * (100 + (1000000ULL << 32));
        std::uint64_t const second = (pairs >> 16 & everyOtherPair) * (1 + (10000ULL << 32));
        return (first + second) >> 32;
    }

    // The same for two words. The lanes of 1234567887654321, lowest first: the digits, then 12 34
    // 56 78 87 65 43 21, then 1234 5678 8765 4321, then 12345678 87654321.
    static Halves ParseDigitsUnchecked(std::uint64_t first, std::uint64_t last) {
        __m128i const digits =
            _mm_set_epi64x(static_cast<long long>(last), static_cast<long long>(first));
        __m128i const tens = _mm_and_si128(digits, _mm_set1_epi16(0x00FF));
        __m128i const pairs =
            _mm_add_epi16(_mm_mullo_epi16(tens, _mm_set1_epi16(10)), _mm_srli_epi16(digits, 8));
        __m128i const fours = _mm_madd_epi16(pairs, _mm_set1_epi32(100 + (1 << 16)));
        __m128i const halves =
            _mm_madd_epi16(_mm_packs_epi32(fours, fours), _mm_set1_epi32(10000 + (1 << 16)));
        auto const both = static_cast<std::uint64_t>(_mm_cvtsi128_si64(halves));
        return {both & 0xFFFFFFFF, both >> 32};
    }
};

template <>
struct DigitWord<16> {
    // Sets the top bit of each byte that is at least `bound`. The result is unspecified if `word`
    // has top bits set; NonDigitMask adds these bits itself.
    static std::uint64_t NotBelow(std::uint64_t word, unsigned char bound) {
        return word + InAllBytes(static_cast<unsigned char>(0x80 - bound));
    }

    static std::uint64_t NonDigitMask(std::uint64_t word) {
        // The XOR has inverted the case bit. "9aG" is 09 51 77: the last two are 10 or more, and
        // only 51 is a hexadecimal letter.
        std::uint64_t const upper = word | InAllBytes(0x20);
        std::uint64_t const letters = NotBelow(upper, 'A' ^ '0') & ~NotBelow(upper, 'G' ^ '0');
        std::uint64_t const failed = NotBelow(word, 10) & ~letters;
        return failed | word;
    }

    // Letters have bit 6, and their value is 9 plus their low four bits. For "12ab34CD" the digits
    // 1 2 A B 3 4 C D become 12 AB 34 CD, then 12AB 34CD, then 12AB34CD.
    static std::uint64_t ParseDigitsUnchecked(std::uint64_t word) {
        std::uint64_t const letters = word >> 6 & InAllBytes(1);
        std::uint64_t const digits = (word & InAllBytes(0x0F)) + letters * 9;
        std::uint64_t const pairs = (digits << 4 | digits >> 8) & 0x00FF00FF00FF00FF;
        std::uint64_t const fours = (pairs << 8 | pairs >> 16) & 0x0000FFFF0000FFFF;
        return (fours << 16 | fours >> 32) & 0xFFFFFFFF;
    }

    static Halves ParseDigitsUnchecked(std::uint64_t first, std::uint64_t last) {
        return {ParseDigitsUnchecked(first), ParseDigitsUnchecked(last)};
    }
};

inline constexpr std::size_t wordLength = sizeof(std::uint64_t);

// The powers of the base with the exponents 0 to 8.
template <unsigned base>
inline constexpr std::array<std::uint64_t, wordLength + 1> powers = [] {
    std::array<std::uint64_t, wordLength + 1> made{};
    std::uint64_t power = 1;
    for (std::uint64_t& element : made) {
        element = power;
        power *= base;
    }
    return made;
}();

inline std::uint64_t LoadDigits(unsigned char const* from) {
    return LoadWord<std::uint64_t>(from) ^ InAllBytes('0');
}

// Returns the last `count` characters before `end` as a word, with zeros in front. With `count` 2,
// 23456789 becomes 0 0 0 0 0 0 8 9.
//
// REQUIRES: `count` is 1 to 8, and there are 8 characters before `end`.
inline std::uint64_t LoadLastDigits(unsigned char const* end, std::size_t count) {
    std::uint64_t const kept = ~std::uint64_t{0} << (wordLength - count) * 8;
    return LoadDigits(end - wordLength) & kept;
}

// Returns 4 to 8 characters as a word, with zeros in front, from two halves that may overlap. For
// "12345" these are 0 0 0 1 2 3 4 0 and 0 0 0 0 2 3 4 5.
inline std::uint64_t LoadFewDigits(unsigned char const* text, std::size_t length) {
    constexpr auto asciiZero4 = static_cast<std::uint32_t>(InAllBytes('0'));
    std::uint32_t const first = LoadWord<std::uint32_t>(text) ^ asciiZero4;
    std::uint32_t const last = LoadWord<std::uint32_t>(text + length - sizeof(last)) ^ asciiZero4;
    return std::uint64_t{last} << 32 | std::uint64_t{first} << (wordLength - length) * 8;
}

inline bool HasTopBits(std::uint64_t word) { return (word & InAllBytes(0x80)) != 0; }

// REQUIRES: 1 to 3 characters.
template <unsigned base>
[[gnu::always_inline]] inline bool ParseUpTo3Digits(unsigned char const* text, std::size_t length,
                                                    std::uint64_t& value) {
    unsigned reached = 0;
    auto const take = [&](std::size_t i) {
        unsigned const digit = DigitValue<base>(text[i]);
        reached = reached * base + digit;
        return digit < base;
    };
    if (!take(0) || (length > 1 && !take(1)) || (length > 2 && !take(2)))
        return false;
    value = reached;
    return true;
}

// REQUIRES: 9 to 16 characters.
template <unsigned base>
[[gnu::always_inline]] inline bool ParseTwoWords(unsigned char const* text, std::size_t length,
                                                 std::uint64_t& value) {
    std::size_t const rest = length - wordLength;
    std::uint64_t const first = LoadDigits(text);
    std::uint64_t const last = LoadLastDigits(text + length, rest);
    using Word = DigitWord<base>;
    Halves const halves = Word::ParseDigitsUnchecked(first, last);
    value = halves.first * powers<base>[rest] + halves.last;
    return !HasTopBits(Word::NonDigitMask(first) | Word::NonDigitMask(last));
}

// REQUIRES: 17 to 24 characters.
template <unsigned base>
[[gnu::always_inline]] inline bool ParseThreeWords(unsigned char const* text, std::size_t length,
                                                   std::uint64_t& value) {
    std::size_t const rest = length - 2 * wordLength;
    std::uint64_t const first = LoadDigits(text);
    std::uint64_t const second = LoadDigits(text + wordLength);
    std::uint64_t const last = LoadLastDigits(text + length, rest);
    using Word = DigitWord<base>;
    Halves const halves = Word::ParseDigitsUnchecked(first, second);
    std::uint64_t const high = halves.first * powers<base>[wordLength] + halves.last;
    std::uint64_t shifted;
    if (HasTopBits(Word::NonDigitMask(first) | Word::NonDigitMask(second) |
                   Word::NonDigitMask(last)) ||
        __builtin_mul_overflow(high, powers<base>[rest], &shifted))
        return false;
    value = shifted + Word::ParseDigitsUnchecked(last);
    return value >= shifted;
}

} // namespace Detail

// Like ParseDigitsScalar. Inlined, because a call makes parsing of numerals a third slower.
template <unsigned base>
[[gnu::always_inline]] inline bool ParseDigits(unsigned char const* text, std::size_t length,
                                               std::uint64_t& value) {
    using namespace Detail;
    if (length < 4)
        return length != 0 && ParseUpTo3Digits<base>(text, length, value);
    if (length > 2 * wordLength)
        return length <= 3 * wordLength && ParseThreeWords<base>(text, length, value);
    if (length > wordLength)
        return ParseTwoWords<base>(text, length, value);
    std::uint64_t const word = LoadFewDigits(text, length);
    value = DigitWord<base>::ParseDigitsUnchecked(word);
    return !HasTopBits(DigitWord<base>::NonDigitMask(word));
}

#else

template <unsigned base>
bool ParseDigits(unsigned char const* text, std::size_t length, std::uint64_t& value) {
    return ParseDigitsScalar<base>(text, length, value);
}

#endif

} // namespace Simd
