#include "data/MakeAsciiNumeral.h"

#include <algorithm>
#include <bit>

#include "data/DecimalDigits.h"

namespace {

constexpr std::uint64_t tenTo8 = 100000000;

void Store(unsigned char* to, std::uint64_t word) {
    std::memcpy(to, &word, sizeof(word));
}

void StoreEightDigits(unsigned char* to, std::uint64_t value) {
    Store(to, DecimalDigits::EightDigits(static_cast<std::uint32_t>(value)) | DecimalDigits::zeros);
}

// The next three write the digits of a value without leading zeros, from `to` on, and yield their
// number. They may write up to eight bytes whatever the number, which every holder has room for.

// REQUIRES: `value` is below 10,000.
unsigned PutUpToFourDigits(unsigned char* to, std::uint32_t value) {
    using DecimalDigits::pairs;
    std::uint16_t high;
    std::uint16_t low;
    std::memcpy(&high, &pairs[value / 100 * 2], 2);
    std::memcpy(&low, &pairs[value % 100 * 2], 2);
    std::uint32_t const word = high | static_cast<std::uint32_t>(low) << 16;
    unsigned const leading =
        std::min(static_cast<unsigned>(std::countr_zero(word & 0x0F0F0F0F)) / 8, 3u);
    std::uint32_t const shifted = word >> leading * 8;
    std::memcpy(to, &shifted, sizeof(shifted));
    return 4 - leading;
}

// REQUIRES: `value` is from 1 to 99,999,999.
unsigned PutUpToEightDigits(unsigned char* to, std::uint64_t value) {
    std::uint64_t const digits = DecimalDigits::EightDigits(static_cast<std::uint32_t>(value));
    unsigned const leading = static_cast<unsigned>(std::countr_zero(digits)) / 8;
    Store(to, (digits | DecimalDigits::zeros) >> leading * 8);
    return 8 - leading;
}

unsigned PutDecimal(unsigned char* to, std::uint64_t value) {
    if (value < 10000)
        return PutUpToFourDigits(to, static_cast<std::uint32_t>(value));
    if (value < tenTo8)
        return PutUpToEightDigits(to, value);
    std::uint64_t const high = value / tenTo8;
    unsigned count;
    if (high < tenTo8) {
        count = PutUpToEightDigits(to, high);
    } else {
        count = PutUpToFourDigits(to, static_cast<std::uint32_t>(high / tenTo8)) + 8;
        StoreEightDigits(to + count - 8, high % tenTo8);
    }
    StoreEightDigits(to + count, value % tenTo8);
    return count + 8;
}

// All the digits that a value can have, with leading zeros: enough for every padding that fits.
struct AllDecimalDigits {
    explicit AllDecimalDigits(std::uint64_t value) {
        StoreEightDigits(text, value / tenTo8 / tenTo8);
        StoreEightDigits(text + 8, value / tenTo8 % tenTo8);
        StoreEightDigits(text + 16, value % tenTo8);
    }

    unsigned char text[24];
};

unsigned CountDigits(unsigned char const* text, unsigned length) {
    unsigned leading = 0;
    while (leading < length && text[leading] == '0')
        ++leading;
    return length - leading;
}

constexpr unsigned maximumDecimalDigits = 20;

unsigned PutPaddedDecimal(unsigned char* to, unsigned room, std::uint64_t value, unsigned padding) {
    AllDecimalDigits const all(value);
    unsigned const count = std::max(CountDigits(all.text, sizeof(all.text)), padding);
    if (count > room)
        throw ConstDataCapacityExceeded();
    std::memcpy(to, all.text + sizeof(all.text) - count, count);
    return count;
}

template <std::size_t capacity>
ConstDataWithCapacity<capacity> MakeDecimal(std::uint64_t magnitude, bool negative,
                                            unsigned padding) {
    ConstDataWithCapacity<capacity> result;
    unsigned const signLength = negative;
    result.bytes[0] = '-';
    unsigned char* const to = result.bytes + signLength;
    if (padding <= 1 && magnitude + padding != 0) [[likely]]
        result.length = signLength + PutDecimal(to, magnitude);
    else
        result.length =
            signLength +
            PutPaddedDecimal(to, std::min<unsigned>(maximumDecimalDigits, capacity - signLength),
                             magnitude, padding);
    result.bytes[result.length] = 0;
    return result;
}

template <std::size_t capacity>
ConstDataWithCapacity<capacity> MakeSignedDecimal(long long value, unsigned padding) {
    auto const bits = static_cast<std::uint64_t>(value);
    return MakeDecimal<capacity>(value < 0 ? 0 - bits : bits, value < 0, padding);
}

// The characters of the eight hexadecimal digits of a value, the first one lowest: each digit
// moves to a byte of its own, and those above 9 go on to the letters.
std::uint64_t EightHexDigits(std::uint32_t value) {
    std::uint64_t digits = value;
    digits = (digits << 16 | digits) & 0x0000FFFF0000FFFF;
    digits = (digits << 8 | digits) & 0x00FF00FF00FF00FF;
    digits = (digits << 4 | digits) & 0x0F0F0F0F0F0F0F0F;
    std::uint64_t const letters = (digits + 0x0606060606060606) >> 4 & 0x0101010101010101;
    return __builtin_bswap64(digits + DecimalDigits::zeros + letters * ('a' - '0' - 10));
}

template <std::size_t capacity>
ConstDataWithCapacity<capacity> MakeHex(std::uint64_t value, unsigned padding) {
    ConstDataWithCapacity<capacity> result;
    unsigned const count =
        std::max((static_cast<unsigned>(std::bit_width(value)) + 3) / 4, padding);
    if (count > capacity)
        throw ConstDataCapacityExceeded();
    unsigned char* const to = result.bytes;
    std::uint64_t const low = EightHexDigits(static_cast<std::uint32_t>(value));
    if (count > 8) {
        Store(to, EightHexDigits(static_cast<std::uint32_t>(value >> 32)) >> (16 - count) * 8);
        Store(to + count - 8, low);
    } else if (count != 0) {
        Store(to, low >> (8 - count) * 8);
    }
    result.length = count;
    to[count] = 0;
    return result;
}

} // namespace

ConstDataWithCapacity<20> MakeAsciiDecimalNumeral64(unsigned long long value,
                                                    unsigned int padding) {
    return MakeDecimal<20>(value, false, padding);
}

ConstDataWithCapacity<10> MakeAsciiDecimalNumeral(unsigned int value, unsigned int padding) {
    return MakeDecimal<10>(value, false, padding);
}

ConstDataWithCapacity<21> MakeAsciiSignedDecimalNumeral64(long long value, unsigned int padding) {
    return MakeSignedDecimal<21>(value, padding);
}

ConstDataWithCapacity<11> MakeAsciiSignedDecimalNumeral(int value, unsigned int padding) {
    return MakeSignedDecimal<11>(value, padding);
}

ConstDataWithCapacity<16> MakeAsciiHexNumeral64(unsigned long long value, unsigned int padding) {
    return MakeHex<16>(value, padding);
}

ConstDataWithCapacity<8> MakeAsciiHexNumeral(unsigned int value, unsigned int padding) {
    return MakeHex<8>(value, padding);
}
