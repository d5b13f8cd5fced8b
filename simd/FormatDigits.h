// Formats integers as digits, several digits at a time.
//
// A word of digits has the first digit in its lowest byte. So storing the word writes the digits in
// order, and shifting the word to the right removes leading zeros.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "simd/Cpu.h"
#include "simd/Words.h"

#if SIMD_X86
#include <emmintrin.h>
#endif

namespace Simd {

// The texts of the values 0 to 99, two bytes each: "00" to "99".
inline constexpr std::array<char, 200> digitPairs = [] {
    std::array<char, 200> made{};
    for (unsigned value = 0; value < 100; ++value) {
        made[2 * value] = static_cast<char>('0' + value / 10);
        made[2 * value + 1] = static_cast<char>('0' + value % 10);
    }
    return made;
}();

// The exclusive limit for values of StoreSixteenDigits.
inline constexpr std::uint64_t tenTo16 = 10000000000000000;

namespace Detail {

inline constexpr std::uint32_t tenTo8 = 100000000;

// Eight '0' characters. An OR with eight digits results in their characters.
inline constexpr std::uint64_t asciiZeros = InAllBytes('0');

// Returns the number of leading zeros. REQUIRES: not all digits are zero. (The code sets the top
// bit, which no digit has, so the compiler knows that the word is not 0.)
constexpr unsigned CountLeadingZeros(std::uint64_t digits) {
    return static_cast<unsigned>(std::countr_zero(digits | std::uint64_t{1} << 63)) / 8;
}

} // namespace Detail

// Returns the eight digits of a value below 100,000,000, one in each byte, as numbers.
constexpr std::uint64_t EightDigitsScalar(std::uint32_t value) {
    std::uint64_t digits = 0;
    for (int i = 0; i < 8; ++i, value /= 10)
        digits = digits << 8 | value % 10;
    return digits;
}

// Splits the value in halves three times, each time in all lanes of the word at once.
// Multiplications replace the divisions of a lane: x * 10486 >> 20 is x / 100 for x < 10,000, and x
// * 103 >> 10 is x / 10 for x < 100. One multiplication puts the quotient into the lower half of
// its lane and the remainder into the upper half: (x - 10 * q << 8) + q is (x << 8) - 2559 * q.
//
// For 12345678 the lanes, lowest first, are: 1234 5678, then 12 34 56 78, then 1 2 3 4 5 6 7 8.
constexpr std::uint64_t EightDigits(std::uint32_t value) {
    auto const join = [](std::uint64_t lanes, std::uint64_t quotients, unsigned bits,
                         std::uint64_t divisor) {
        return (lanes << bits) - quotients * ((divisor << bits) - 1);
    };
    std::uint64_t const fours = join(value, value / 10000, 32, 10000);
    std::uint64_t const twos = join(fours, (fours * 10486 >> 20) & 0x0000007F0000007F, 16, 100);
    return join(twos, (twos * 103 >> 10) & 0x000F000F000F000F, 8, 10);
}

// Stores the sixteen digits of a value below 10,000,000,000,000,000, as characters.
inline void StoreSixteenDigitsScalar(void* to, std::uint64_t value) {
    char text[16];
    for (int i = 15; i >= 0; --i, value /= 10)
        text[i] = static_cast<char>('0' + value % 10);
    std::memcpy(to, text, sizeof(text));
}

#if SIMD_X86

// Sixteen digits, by the method of EightDigits on two words at a time. This is twice as fast as one
// word after the other. REQUIRES: the value is below tenTo16.
//
// For 1234567887654321 the lanes, lowest first, are: 12345678 87654321, then 1234 5678 8765 4321,
// then 12 34 56 78 87 65 43 21, then one digit each.
class SixteenDigits {
public:
    explicit SixteenDigits(std::uint64_t value) {
        auto const lanes16 = [](short factor) noexcept {
            return _mm_set1_epi16(factor);
        };
        auto const lanes32 = [](unsigned factor) noexcept {
            return _mm_set1_epi32(static_cast<int>(factor));
        };
        __m128i const eights = _mm_set_epi64x(static_cast<long long>(value % Detail::tenTo8),
                                              static_cast<long long>(value / Detail::tenTo8));

        // GCOVR_EXCL_BR_START: the calls never throw
        // x * 3518437209 >> 45 is x / 10,000 for x < 2^32.
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
        // GCOVR_EXCL_BR_STOP
    }

    // Returns the first eight digits as a word of numbers.
    std::uint64_t First() const { return static_cast<std::uint64_t>(_mm_cvtsi128_si64(digits)); }

    // Store the characters of all sixteen digits, or of the last eight.
    void Store(void* to) const { _mm_storeu_si128(static_cast<__m128i*>(to), Characters()); }
    void StoreLast(void* to) const {
        __m128i const characters = Characters();
        _mm_storel_epi64(static_cast<__m128i*>(to), _mm_unpackhi_epi64(characters, characters));
    }

private:
    __m128i Characters() const { return _mm_or_si128(digits, _mm_set1_epi8('0')); }

    __m128i digits;
};

inline void StoreSixteenDigits(void* to, std::uint64_t value) { SixteenDigits(value).Store(to); }

#else

inline void StoreSixteenDigits(void* to, std::uint64_t value) {
    StoreSixteenDigitsScalar(to, value);
}

#endif

// ---- Decimal text without leading zeros; "0" for zero
//
// The functions write the digits to `to` and return their number; FormatDecimalBefore differs. They
// may also overwrite bytes after the digits:
// - for a value below 10,000, bytes within the first four bytes of `to`
// - for any other value, bytes within the first eight bytes of `to`

inline unsigned FormatDecimalScalar(unsigned char* to, std::uint64_t value) {
    unsigned count = 1;
    for (std::uint64_t rest = value / 10; rest != 0; rest /= 10)
        ++count;
    for (unsigned i = count; i != 0; value /= 10)
        to[--i] = static_cast<unsigned char>('0' + value % 10);
    return count;
}

#if SIMD_X86

// Three and four digits are a word of two pairs: 123 is "0123", shifted to "123". REQUIRES: `value`
// is below 10,000, and there is room for four bytes.
inline unsigned FormatDecimalUpTo4(unsigned char* to, std::uint32_t value) {
    if (value < 100) {
        unsigned const leading = value < 10;
        std::memcpy(to, &digitPairs[value * 2 + leading], 2);
        return 2 - leading;
    }
    auto const high = LoadWord<std::uint16_t>(&digitPairs[value / 100 * 2]);
    auto const low = LoadWord<std::uint16_t>(&digitPairs[value % 100 * 2]);
    unsigned const leading = value < 1000;
    StoreWord(to, (high | std::uint32_t{low} << 16) >> leading * 8);
    return 4 - leading;
}

namespace Detail {

// Stores eight digits without leading zeros, and returns the number of digits stored. Writes eight
// bytes: "12345" and three NULs for 0 0 0 1 2 3 4 5.
// REQUIRES: not all digits are zero.
inline unsigned StoreWithoutLeadingZeros(unsigned char* to, std::uint64_t digits) {
    unsigned const leading = CountLeadingZeros(digits);
    StoreWord(to, (digits | asciiZeros) >> leading * 8);
    return 8 - leading;
}

} // namespace Detail

// REQUIRES: `Value` is std::uint32_t and there is room for ten bytes, or `Value` is std::uint64_t
// and there is room for twenty bytes.
template <class Value>
inline unsigned FormatDecimal(unsigned char* to, Value value) {
    using namespace Detail;
    if (value < 10000)
        return FormatDecimalUpTo4(to, static_cast<std::uint32_t>(value));
    if (value < tenTo8)
        return StoreWithoutLeadingZeros(to, EightDigits(static_cast<std::uint32_t>(value)));
    if constexpr (sizeof(Value) == sizeof(std::uint32_t)) {
        unsigned const count = FormatDecimalUpTo4(to, value / tenTo8);
        StoreWord(to + count, EightDigits(value % tenTo8) | asciiZeros);
        return count + 8;
    } else if (value < tenTo16) {
        SixteenDigits const digits(value);
        unsigned const count = StoreWithoutLeadingZeros(to, digits.First());
        digits.StoreLast(to + count);
        return count + 8;
    } else {
        unsigned const count = FormatDecimalUpTo4(to, static_cast<std::uint32_t>(value / tenTo16));
        StoreSixteenDigits(to + count, value % tenTo16);
        return count + 16;
    }
}

// Writes the same text before `end`, and returns a pointer to its first character. May overwrite
// all 24 bytes before `end`. REQUIRES: `value` is at least 10,000.
inline char* FormatDecimalBefore(char* end, std::uint64_t value) {
    using namespace Detail;
    if (value < tenTo8) {
        std::uint64_t const word = EightDigits(static_cast<std::uint32_t>(value));
        StoreWord(end - 8, word | asciiZeros);
        return end - 8 + CountLeadingZeros(word);
    }
    SixteenDigits const sixteen(value % tenTo16);
    sixteen.Store(end - 16);
    if (value < tenTo16)
        return end - 16 + CountLeadingZeros(sixteen.First());
    std::uint64_t const word = EightDigits(static_cast<std::uint32_t>(value / tenTo16));
    StoreWord(end - 24, word | asciiZeros);
    return end - 24 + CountLeadingZeros(word);
}

#else

inline unsigned FormatDecimalUpTo4(unsigned char* to, std::uint32_t value) {
    return FormatDecimalScalar(to, value);
}

template <class Value>
inline unsigned FormatDecimal(unsigned char* to, Value value) {
    return FormatDecimalScalar(to, value);
}

inline char* FormatDecimalBefore(char* end, std::uint64_t value) {
    unsigned char text[20];
    unsigned const count = FormatDecimalScalar(text, value);
    std::memcpy(end - count, text, count);
    return end - count;
}

#endif

// ---- Hexadecimal text

// Returns eight lower-case hexadecimal digits as a word of characters. Each digit moves to its own
// byte, and digits above 9 are mapped to letters. For 0x12AB34CD the lanes, lowest first, are: 34CD
// 12AB, then CD 34 AB 12, then D C 4 3 B A 2 1; the last step reverses the bytes.
constexpr std::uint64_t EightHexDigits(std::uint32_t value) {
    std::uint64_t digits = value;
    digits = (digits << 16 | digits) & 0x0000FFFF0000FFFF;
    digits = (digits << 8 | digits) & 0x00FF00FF00FF00FF;
    digits = (digits << 4 | digits) & 0x0F0F0F0F0F0F0F0F;
    std::uint64_t const letters = (digits + InAllBytes(6)) >> 4 & InAllBytes(1);
    return __builtin_bswap64(digits + Detail::asciiZeros + letters * ('a' - '0' - 10));
}

// Writes the last `count` hexadecimal digits of the value, with leading zeros, in lower case.
// FormatHex may overwrite eight bytes even if `count` is less. REQUIRES: `count` is at most 16.
inline void FormatHexScalar(unsigned char* to, std::uint64_t value, unsigned count) {
    for (unsigned i = count; i != 0; value >>= 4)
        to[--i] = static_cast<unsigned char>("0123456789abcdef"[value & 0xF]);
}

#if SIMD_X86

inline void FormatHex(unsigned char* to, std::uint64_t value, unsigned count) {
    std::uint64_t const low = EightHexDigits(static_cast<std::uint32_t>(value));
    if (count > 8) {
        std::uint64_t const high = EightHexDigits(static_cast<std::uint32_t>(value >> 32));
        StoreWord(to, high >> (16 - count) * 8);
        StoreWord(to + count - 8, low);
    } else if (count != 0) {
        StoreWord(to, low >> (8 - count) * 8);
    }
}

#else

inline void FormatHex(unsigned char* to, std::uint64_t value, unsigned count) {
    FormatHexScalar(to, value, count);
}

#endif

} // namespace Simd
