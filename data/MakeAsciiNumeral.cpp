#include "data/MakeAsciiNumeral.h"

#include <algorithm>
#include <bit>

namespace {

using namespace DecimalDigits;

constexpr std::uint32_t tenTo8 = 100000000;
constexpr std::uint64_t tenTo16 = 10000000000000000;

void Store(unsigned char* to, std::uint64_t word) { std::memcpy(to, &word, sizeof(word)); }

// Writes a word of eight digits without its leading zeros, and yields how many are left. Eight
// bytes are written, whatever the number. REQUIRES: not all are zero.
unsigned PutWithoutLeadingZeros(unsigned char* to, std::uint64_t digits) {
    unsigned const leading = CountLeadingZeros(digits);
    Store(to, (digits | zeros) >> leading * 8);
    return 8 - leading;
}

constexpr unsigned maximumDecimalDigits = 20;

// Writes the digits of a value and yields their number. No more than eight bytes are written if
// they are fewer, and every holder has room for these. REQUIRES: the holder has room for the value.
template <std::size_t capacity>
inline unsigned PutDecimal(unsigned char* to, std::uint64_t value) {
    if (value < 10000)
        return PutUpToFour(to, static_cast<std::uint32_t>(value));
    if (value < tenTo8)
        return PutWithoutLeadingZeros(to, EightDigits(static_cast<std::uint32_t>(value)));
    if constexpr (capacity < maximumDecimalDigits) {
        auto const narrow = static_cast<std::uint32_t>(value);
        unsigned const count = PutUpToFour(to, narrow / tenTo8);
        Store(to + count, EightDigits(narrow % tenTo8) | zeros);
        return count + 8;
    } else if (value < tenTo16) {
        SixteenDigits const digits(value);
        unsigned const count = PutWithoutLeadingZeros(to, digits.First());
        digits.PutLast(to + count);
        return count + 8;
    } else {
        unsigned const count = PutUpToFour(to, static_cast<std::uint32_t>(value / tenTo16));
        SixteenDigits(value % tenTo16).Put(to + count);
        return count + 16;
    }
}

// All the digits that a value can have, with leading zeros: enough for every padding that fits.
struct AllDecimalDigits {
    explicit AllDecimalDigits(std::uint64_t value) {
        SixteenDigits(value / tenTo16).Put(text);
        SixteenDigits(value % tenTo16).Put(text + 16);
    }

    unsigned Count() const {
        return static_cast<unsigned>(
            std::end(text) - std::find_if(std::begin(text), std::end(text),
                                          [](unsigned char digit) { return digit != '0'; }));
    }

    unsigned char text[32];
};

// The characters of the eight hexadecimal digits of a value: each digit moves to a byte of its own,
// and those above 9 go on to the letters.
std::uint64_t EightHexDigits(std::uint32_t value) {
    std::uint64_t digits = value;
    digits = (digits << 16 | digits) & 0x0000FFFF0000FFFF;
    digits = (digits << 8 | digits) & 0x00FF00FF00FF00FF;
    digits = (digits << 4 | digits) & 0x0F0F0F0F0F0F0F0F;
    std::uint64_t const letters = (digits + 0x0606060606060606) >> 4 & 0x0101010101010101;
    return __builtin_bswap64(digits + zeros + letters * ('a' - '0' - 10));
}

template <std::size_t capacity>
inline ConstDataWithCapacity<capacity> MakeHex(std::uint64_t value, unsigned padding) {
    unsigned const count =
        std::max((static_cast<unsigned>(std::bit_width(value)) + 3) / 4, padding);
    if (count > capacity)
        throw ConstDataCapacityExceeded();
    ConstDataWithCapacity<capacity> result;
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

namespace DecimalMaking {

template <std::size_t capacity>
ConstDataWithCapacity<capacity> MakeUnpadded(std::uint64_t magnitude, bool negative) {
    // Only the holders of signed values have an odd place, the one of the sign.
    if constexpr (capacity % 2 == 0)
        negative = false;
    ConstDataWithCapacity<capacity> result;
    result.bytes[0] = '-';
    unsigned const sign = negative;
    result.length = sign + PutDecimal<capacity>(result.bytes + sign, magnitude);
    result.bytes[result.length] = 0;
    return result;
}

// Zero without digits, and all that is filled up with zeros.
template <std::size_t capacity>
ConstDataWithCapacity<capacity> MakePadded(std::uint64_t magnitude, bool negative,
                                           unsigned padding) {
    if (padding == 0 && magnitude != 0)
        return MakeUnpadded<capacity>(magnitude, negative);
    AllDecimalDigits const all(magnitude);
    unsigned const count = std::max(all.Count(), padding);
    if (count > std::min<std::size_t>(maximumDecimalDigits, capacity - negative))
        throw ConstDataCapacityExceeded();
    ConstDataWithCapacity<capacity> result;
    result.bytes[0] = '-';
    result.length = negative + count;
    std::memcpy(result.bytes + negative, std::end(all.text) - count, count);
    result.bytes[result.length] = 0;
    return result;
}

template ConstDataWithCapacity<20> MakeUnpadded<20>(std::uint64_t, bool);
template ConstDataWithCapacity<10> MakeUnpadded<10>(std::uint64_t, bool);
template ConstDataWithCapacity<21> MakeUnpadded<21>(std::uint64_t, bool);
template ConstDataWithCapacity<11> MakeUnpadded<11>(std::uint64_t, bool);

template ConstDataWithCapacity<20> MakePadded<20>(std::uint64_t, bool, unsigned);
template ConstDataWithCapacity<10> MakePadded<10>(std::uint64_t, bool, unsigned);
template ConstDataWithCapacity<21> MakePadded<21>(std::uint64_t, bool, unsigned);
template ConstDataWithCapacity<11> MakePadded<11>(std::uint64_t, bool, unsigned);

} // namespace DecimalMaking

ConstDataWithCapacity<16> MakeAsciiHexNumeral64(unsigned long long value, unsigned int padding) {
    return MakeHex<16>(value, padding);
}

ConstDataWithCapacity<8> MakeAsciiHexNumeral(unsigned int value, unsigned int padding) {
    return MakeHex<8>(value, padding);
}
