// Decimal and hexadecimal text in small fixed holders.
//
// Each maker takes the least number of digits to produce, and fills up with zeros in front. A sign
// is no digit: -5 with `padding` 3 is "-005".
//
// Deliberate: zero has no digits of its own. With `padding` 0 its text is empty; who wants "0" asks
// for 1.
//
// Each holder has just room for the longest value; a larger `padding` throws
// ConstDataCapacityExceeded. Nothing here allocates.
#pragma once

#include "data/ConstDataWithCapacity.h"
#include "data/DecimalDigits.h"

// What the decimal makers have in common.
namespace DecimalMaking {

// With at least one digit, and with any padding.
template <std::size_t capacity>
ConstDataWithCapacity<capacity> MakeUnpadded(std::uint64_t magnitude, bool negative);
template <std::size_t capacity>
ConstDataWithCapacity<capacity> MakePadded(std::uint64_t magnitude, bool negative,
                                           unsigned padding);

template <std::size_t capacity>
inline ConstDataWithCapacity<capacity> MakeShort(std::uint32_t magnitude, bool negative) {
    ConstDataWithCapacity<capacity> result;
    result.bytes[0] = '-';
    unsigned const sign = negative;
    result.length = sign + DecimalDigits::PutUpToFour(result.bytes + sign, magnitude);
    result.bytes[result.length] = 0;
    return result;
}

// Most numerals are short, and making them costs less than a call: so these are made on the spot.
template <std::size_t capacity>
inline ConstDataWithCapacity<capacity> Make(std::uint64_t magnitude, bool negative,
                                            unsigned padding) {
    if (padding != 1)
        return MakePadded<capacity>(magnitude, negative, padding);
    return magnitude < 10000 ? MakeShort<capacity>(static_cast<std::uint32_t>(magnitude), negative)
                             : MakeUnpadded<capacity>(magnitude, negative);
}

template <std::size_t capacity>
inline ConstDataWithCapacity<capacity> MakeSigned(long long value, unsigned padding) {
    auto const bits = static_cast<std::uint64_t>(value);
    return Make<capacity>(value < 0 ? 0 - bits : bits, value < 0, padding);
}

} // namespace DecimalMaking

inline ConstDataWithCapacity<20> MakeAsciiDecimalNumeral64(unsigned long long value,
                                                           unsigned int padding) {
    return DecimalMaking::Make<20>(value, false, padding);
}

inline ConstDataWithCapacity<10> MakeAsciiDecimalNumeral(unsigned int value, unsigned int padding) {
    return DecimalMaking::Make<10>(value, false, padding);
}

// With '-' in front of a negative value. The 20 digits of the unsigned maker are the most that the
// first takes, so that `padding` 21 throws, whatever the sign.
inline ConstDataWithCapacity<21> MakeAsciiSignedDecimalNumeral64(long long value,
                                                                 unsigned int padding) {
    return DecimalMaking::MakeSigned<21>(value, padding);
}

inline ConstDataWithCapacity<11> MakeAsciiSignedDecimalNumeral(int value, unsigned int padding) {
    return DecimalMaking::MakeSigned<11>(value, padding);
}

// Lower-case.
ConstDataWithCapacity<16> MakeAsciiHexNumeral64(unsigned long long value, unsigned int padding);
ConstDataWithCapacity<8> MakeAsciiHexNumeral(unsigned int value, unsigned int padding);
