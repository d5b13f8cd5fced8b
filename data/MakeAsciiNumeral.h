// Integers to decimal and hexadecimal text, without allocation.
//
// `padding` is the minimum number of digits; missing digits are leading zeros. The sign does not
// count: -5 with `padding` 3 is "-005".
//
// Deliberate: zero has no digits, because only digits without leading zeros count. With `padding` 0
// its text is empty, with 1 it is "0".
//
// Each result has room for the longest value. If `padding` does not fit, the functions throw
// ConstDataCapacityExceeded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "data/ConstData.h"
#include "simd/FormatDigits.h"

// Implementation of the decimal functions. `Integer` is the type of the value.
namespace DecimalMaking {

template <class Integer>
inline constexpr std::size_t maxDigits = sizeof(Integer) == 8 ? 20 : 10;

template <class Integer>
using Holder = ConstDataWithCapacity<maxDigits<Integer> + (std::is_signed_v<Integer> ? 1 : 0)>;

template <class Integer>
using Magnitude = std::conditional_t<sizeof(Integer) == 8, std::uint64_t, std::uint32_t>;

// Format a value with `padding` 1, and with any other padding.
template <class Integer>
Holder<Integer> MakeUnpadded(Magnitude<Integer> magnitude, bool negative);
template <class Integer>
Holder<Integer> MakePadded(Magnitude<Integer> magnitude, bool negative, unsigned padding);

template <class Integer>
inline Holder<Integer> MakeShort(std::uint32_t magnitude, bool negative) {
    Holder<Integer> result;
    result.bytes[0] = '-';
    unsigned const sign = negative;
    result.length = sign + Simd::FormatDecimalUpTo4(result.bytes + sign, magnitude);
    result.bytes[result.length] = 0;
    return result;
}

// Inline, because most numerals are short and formatting one costs less than a call.
template <class Integer>
inline Holder<Integer> Make(Integer value, unsigned padding) {
    bool const negative = value < 0;
    auto const bits = static_cast<Magnitude<Integer>>(value);
    Magnitude<Integer> const magnitude = negative ? 0 - bits : bits;
    if (padding != 1)
        return MakePadded<Integer>(magnitude, negative, padding);
    return magnitude < 10000 ? MakeShort<Integer>(static_cast<std::uint32_t>(magnitude), negative)
                             : MakeUnpadded<Integer>(magnitude, negative);
}

} // namespace DecimalMaking

inline ConstDataWithCapacity<20> MakeAsciiDecimalNumeral64(unsigned long long value,
                                                           unsigned int padding) {
    return DecimalMaking::Make(value, padding);
}

inline ConstDataWithCapacity<10> MakeAsciiDecimalNumeral(unsigned int value, unsigned int padding) {
    return DecimalMaking::Make(value, padding);
}

// Negative values start with '-'. MakeAsciiSignedDecimalNumeral64 accepts a `padding` of at most
// 20, although a value that is not negative would have room for 21 digits.
inline ConstDataWithCapacity<21> MakeAsciiSignedDecimalNumeral64(long long value,
                                                                 unsigned int padding) {
    return DecimalMaking::Make(value, padding);
}

inline ConstDataWithCapacity<11> MakeAsciiSignedDecimalNumeral(int value, unsigned int padding) {
    return DecimalMaking::Make(value, padding);
}

// The digits are in lower case.
ConstDataWithCapacity<16> MakeAsciiHexNumeral64(unsigned long long value, unsigned int padding);
ConstDataWithCapacity<8> MakeAsciiHexNumeral(unsigned int value, unsigned int padding);
