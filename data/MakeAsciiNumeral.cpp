#include "data/MakeAsciiNumeral.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

namespace {

// A value as 32 digits, with leading zeros.
struct PaddedDigits {
    explicit PaddedDigits(std::uint64_t value) {
        Simd::StoreSixteenDigits(text, value / Simd::tenTo16);
        Simd::StoreSixteenDigits(text + 16, value % Simd::tenTo16);
    }

    // Returns the number of digits without leading zeros: 0 for the value 0.
    unsigned CountWithoutLeadingZeros() const {
        return static_cast<unsigned>(
            std::end(text) - std::find_if(std::begin(text), std::end(text),
                                          [](unsigned char digit) { return digit != '0'; }));
    }

    unsigned char text[32];
};

template <std::size_t capacity>
inline ConstDataWithCapacity<capacity> MakeHex(std::uint64_t value, unsigned padding) {
    unsigned const count =
        std::max((static_cast<unsigned>(std::bit_width(value)) + 3) / 4, padding);
    if (count > capacity)
        throw ConstDataCapacityExceeded();
    ConstDataWithCapacity<capacity> result;
    Simd::FormatHex(result.bytes, value, count);
    result.length = count;
    result.bytes[count] = 0;
    return result;
}

} // namespace

namespace DecimalMaking {

template <class Integer>
Holder<Integer> MakeUnpadded(Magnitude<Integer> magnitude, bool negative) {
    if constexpr (!std::is_signed_v<Integer>)
        negative = false;
    Holder<Integer> result;
    result.bytes[0] = '-';
    unsigned const sign = negative;
    result.length = sign + Simd::FormatDecimal(result.bytes + sign, magnitude);
    result.bytes[result.length] = 0;
    return result;
}

template <class Integer>
Holder<Integer> MakePadded(Magnitude<Integer> magnitude, bool negative, unsigned padding) {
    if (padding == 0 && magnitude != 0)
        return MakeUnpadded<Integer>(magnitude, negative);
    PaddedDigits const digits(magnitude);
    unsigned const count = std::max(digits.CountWithoutLeadingZeros(), padding);
    constexpr std::size_t capacity = sizeof(Holder<Integer>::bytes) - 1;
    if (count > std::min(maxDigits<unsigned long long>, capacity - negative))
        throw ConstDataCapacityExceeded();
    Holder<Integer> result;
    result.bytes[0] = '-';
    result.length = negative + count;
    std::memcpy(result.bytes + negative, std::end(digits.text) - count, count);
    result.bytes[result.length] = 0;
    return result;
}

template Holder<unsigned long long> MakeUnpadded<unsigned long long>(std::uint64_t, bool);
template Holder<unsigned int> MakeUnpadded<unsigned int>(std::uint32_t, bool);
template Holder<long long> MakeUnpadded<long long>(std::uint64_t, bool);
template Holder<int> MakeUnpadded<int>(std::uint32_t, bool);

template Holder<unsigned long long> MakePadded<unsigned long long>(std::uint64_t, bool, unsigned);
template Holder<unsigned int> MakePadded<unsigned int>(std::uint32_t, bool, unsigned);
template Holder<long long> MakePadded<long long>(std::uint64_t, bool, unsigned);
template Holder<int> MakePadded<int>(std::uint32_t, bool, unsigned);

} // namespace DecimalMaking

ConstDataWithCapacity<16> MakeAsciiHexNumeral64(unsigned long long value, unsigned int padding) {
    return MakeHex<16>(value, padding);
}

ConstDataWithCapacity<8> MakeAsciiHexNumeral(unsigned int value, unsigned int padding) {
    return MakeHex<8>(value, padding);
}
