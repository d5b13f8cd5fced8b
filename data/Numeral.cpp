#include "data/Numeral.h"

#include <bit>
#include <cstring>

#include "data/DecimalDigits.h"

static_assert(sizeof(Numeral) == 80, "a pointer, the sign, its flag, 66 bytes and a NUL");

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

// Whole words of digits, written up to the end. What leading zeros they have stands in front of
// `digits`, where all is free.
void Numeral::RenderLongDecimal(unsigned long long value) {
    constexpr unsigned long long tenTo16 = 10000000000000000;
    auto const store = [this](int fromEnd, std::uint64_t word) {
        word |= DecimalDigits::zeros;
        std::memcpy(End() - fromEnd, &word, sizeof(word));
    };
    if (value < 100000000) {
        std::uint64_t const word = DecimalDigits::EightDigits(static_cast<std::uint32_t>(value));
        store(8, word);
        digits = End() - 8 + DecimalDigits::CountLeadingZeros(word);
        return;
    }
    DecimalDigits::SixteenDigits const sixteen(value % tenTo16);
    sixteen.Put(End() - 16);
    if (value < tenTo16) {
        digits = End() - 16 + DecimalDigits::CountLeadingZeros(sixteen.First());
        return;
    }
    auto const top = static_cast<std::uint32_t>(value / tenTo16);
    std::uint64_t const word = DecimalDigits::EightDigits(top);
    store(24, word);
    digits = End() - 24 + DecimalDigits::CountLeadingZeros(word);
}

Numeral::operator unsigned char const*() const {
    char* const text = PutSign();
    auto* const lengthByte = reinterpret_cast<unsigned char*>(text - 1);
    *lengthByte = static_cast<unsigned char>(End() - text);
    return lengthByte;
}
