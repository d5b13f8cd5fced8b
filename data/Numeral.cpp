#include "data/Numeral.h"

#include <bit>
#include <cstring>

#include "data/DecimalDigits.h"

static_assert(sizeof(Numeral) == 80, "a pointer, the sign, its flag and 66 bytes");

namespace {

template <typename U>
char* PutDecimalDigits(char* digits, U value) {
    while (value >= 100) {
        digits -= 2;
        std::memcpy(digits, &DecimalDigits::pairs[static_cast<unsigned>(value % 100) * 2], 2);
        value /= 100;
    }
    if (value < 10) {
        *--digits = static_cast<char>('0' + value);
        return digits;
    }
    digits -= 2;
    std::memcpy(digits, &DecimalDigits::pairs[static_cast<unsigned>(value) * 2], 2);
    return digits;
}

// For bases that are powers of two, where shifts do.
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

Numeral::Numeral(int value, unsigned int base) : sign(Sign(value)), signWanted(value < 0) {
    unsigned int const bits = static_cast<unsigned int>(value);
    MakeDigits(signWanted ? 0 - bits : bits, base);
}

Numeral::Numeral(long long value, unsigned int base) : sign(Sign(value)), signWanted(value < 0) {
    unsigned long long const bits = static_cast<unsigned long long>(value);
    MakeDigits64(signWanted ? 0 - bits : bits, base);
}

Numeral::Numeral(unsigned int value, unsigned int base) : sign(Sign(value)), signWanted(false) {
    MakeDigits(value, base);
}

Numeral::Numeral(unsigned long value, unsigned int base) : sign(Sign(value)), signWanted(false) {
    MakeDigits64(value, base);
}

Numeral::Numeral(unsigned long long value, unsigned int base)
    : sign(Sign(value)), signWanted(false) {
    MakeDigits64(value, base);
}

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

// Yields the start of the text: the sign in front of the digits, if it is wanted.
char* Numeral::PutSign() const {
    if (!signWanted)
        return digits;
    digits[-1] = sign;
    return digits - 1;
}

Numeral::operator ConstData() const {
    return ConstData(PutSign(), End());
}

Numeral::operator unsigned char const*() const {
    char* const text = PutSign();
    auto* const lengthByte = reinterpret_cast<unsigned char*>(text - 1);
    *lengthByte = static_cast<unsigned char>(End() - text);
    return lengthByte;
}
