#include "data/Numeral.h"

#include <bit>
#include <cstring>

#include "simd/FormatDigits.h"

static_assert(sizeof(Numeral) == 80, "a pointer, the sign, its flag, 66 bytes and a NUL");

namespace {

template <typename U>
char* PutDecimalDigits(char* digits, U value) {
    while (value >= 100) {
        digits -= 2;
        std::memcpy(digits, &Simd::digitPairs[static_cast<unsigned>(value % 100) * 2], 2);
        value /= 100;
    }
    if (value < 10) {
        *--digits = static_cast<char>('0' + value);
        return digits;
    }
    digits -= 2;
    std::memcpy(digits, &Simd::digitPairs[static_cast<unsigned>(value) * 2], 2);
    return digits;
}

// For bases that are powers of two.
template <typename U>
char* PutBinaryDigits(char* digits, U value, unsigned base) {
    int const bits = std::countr_zero(base);
    do {
        *--digits = Numeral::Digit(static_cast<unsigned>(value) & (base - 1));
        value >>= bits;
    } while (value != 0);
    return digits;
}

template <typename U>
char* PutDigits(char* digits, U value, unsigned base) {
    if (base == 10)
        return PutDecimalDigits(digits, value);
    if (std::has_single_bit(base))
        return PutBinaryDigits(digits, value, base);
    do {
        *--digits = Numeral::Digit(static_cast<unsigned>(value % base));
        value /= base;
    } while (value != 0);
    return digits;
}

} // namespace

void Numeral::MakeDigits(unsigned int value, unsigned int base) {
    digits = PutDigits(digits, value, base);
}

void Numeral::MakeDigits64(unsigned long long value, unsigned int base) {
    digits = PutDigits(digits, value, base);
}

void Numeral::PadTo(unsigned int count) {
    auto const present = static_cast<unsigned int>(End() - digits);
    if (present >= count)
        return;
    digits -= count - present;
    std::memset(digits, '0', count - present);
}

void Numeral::RenderLongDecimal(unsigned long long value) {
    digits = Simd::FormatDecimalBefore(End(), value);
}

Numeral::operator unsigned char const*() const {
    char* const text = PutSign();
    auto* const lengthByte = reinterpret_cast<unsigned char*>(text - 1);
    *lengthByte = static_cast<unsigned char>(End() - text);
    return lengthByte;
}
