// Decimal digits several at a time: what the makers of numerals are built from.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

namespace DecimalDigits {

static_assert(std::endian::native == std::endian::little,
              "the first digit stands in the lowest byte of a word");

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

// The eight digits of a value below 100,000,000, as values of bytes, the first one lowest.
//
// The value is split in halves, three times, each time in all lanes of the word at once. The
// factors stand for the division of a lane: x * 10486 >> 20 is x / 100 for x < 10,000, and
// x * 103 >> 10 is x / 10 for x < 100.
constexpr std::uint64_t EightDigits(std::uint32_t value) {
    std::uint64_t const fours = value / 10000 | static_cast<std::uint64_t>(value % 10000) << 32;
    std::uint64_t const hundreds = (fours * 10486 >> 20) & 0x0000007F0000007F;
    std::uint64_t const twos = (fours - 100 * hundreds) << 16 | hundreds;
    std::uint64_t const tens = (twos * 103 >> 10) & 0x000F000F000F000F;
    return (twos - 10 * tens) << 8 | tens;
}

} // namespace DecimalDigits
