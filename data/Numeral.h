// An integer rendered in any base, inside the object.
#pragma once

#include <cstring>

#include "data/ConstData.h"
#include "simd/FormatDigits.h"

class USAsciiString;

// Built, padded and converted within one expression or block. It points into itself, so it is used
// in place and not copied; what a conversion yields lives as long as the object. Nothing here
// allocates.
//
// A negative value is rendered as '-' and the digits of its absolute value, so that no base has a
// look of two's complement: Numeral(-1, 16) reads "-1". A positive value shows no sign.
class Numeral {
public:
    // REQUIRES: `base` is 2 to 36. It is not tested. (There is no form for `long`: a cast to
    // `long long` tells what is meant.)
    Numeral(signed char value, unsigned int base) : Numeral(static_cast<int>(value), base) {}
    Numeral(short value, unsigned int base) : Numeral(static_cast<int>(value), base) {}
    Numeral(int value, unsigned int base) : sign(Sign(value)), signWanted(value < 0) {
        unsigned int const bits = static_cast<unsigned int>(value);
        Render(signWanted ? 0 - bits : bits, base);
    }
    Numeral(long long value, unsigned int base) : sign(Sign(value)), signWanted(value < 0) {
        unsigned long long const bits = static_cast<unsigned long long>(value);
        Render(signWanted ? 0 - bits : bits, base);
    }
    Numeral(unsigned char value, unsigned int base)
        : Numeral(static_cast<unsigned int>(value), base) {}
    Numeral(unsigned short value, unsigned int base)
        : Numeral(static_cast<unsigned int>(value), base) {}
    Numeral(unsigned int value, unsigned int base) : sign(Sign(value)), signWanted(false) {
        Render(value, base);
    }
    Numeral(unsigned long value, unsigned int base) : sign(Sign(value)), signWanted(false) {
        Render(static_cast<unsigned long long>(value), base);
    }
    Numeral(unsigned long long value, unsigned int base) : sign(Sign(value)), signWanted(false) {
        Render(value, base);
    }

    Numeral(Numeral const&) = delete;
    Numeral& operator=(Numeral const&) = delete;

    // '-' for a negative value, '+' for a positive one, a space for zero.
    static char Sign(int value) { return Sign(static_cast<long long>(value)); }
    static char Sign(unsigned int value) { return value == 0 ? ' ' : '+'; }
    static char Sign(unsigned long value) { return value == 0 ? ' ' : '+'; }
    static char Sign(long long value) { return value < 0 ? '-' : value == 0 ? ' ' : '+'; }
    static char Sign(unsigned long long value) { return value == 0 ? ' ' : '+'; }

    // One digit, lower-case: 10 is 'a' and 35 is 'z'.
    static char Digit(unsigned int value) {
        return static_cast<char>(value + (value < 10 ? 0x30 : 0x57));
    }

    // Put the digits of the value in front of those that are there, at least one. The first works
    // in 32 bits, the second in 64. REQUIRES: `buffer` has room for them.
    void MakeDigits(unsigned int value, unsigned int base);
    void MakeDigits64(unsigned long long value, unsigned int base);

    // Adds zeros in front of the digits until there are `count` of them. The sign does not count,
    // and stays in front: -5 padded to 3 reads "-005". REQUIRES: `count` is at most 64.
    void PadTo(unsigned int count);

    // The text, with the sign if it is wanted. Neither conversion moves `digits`, so they can be
    // repeated, also on a constant object, and padding may follow.
    operator ConstData() const { return ConstData(PutSign(), End()); }

    // The same text behind a byte with its length, the sign included (a Pascal string).
    operator unsigned char const*() const;

    // The same text, marked as terminated by a NUL. Defined in unicode/USAsciiString.cpp.
    operator USAsciiString() const;

private:
    static constexpr unsigned int bufferSize = 66; // 64 binary digits, a sign and a length byte.

    char* End() const { return buffer + bufferSize; }

    // Yields the start of the text: the sign in front of the digits, if it is wanted.
    char* PutSign() const {
        if (!signWanted)
            return digits;
        digits[-1] = sign;
        return digits - 1;
    }

    // The digits of a new object. The shortest of decimal numerals cost less than a call.
    void Render(unsigned int value, unsigned int base) {
        if (base == 10)
            RenderDecimal(value);
        else
            MakeDigits(value, base);
    }
    void Render(unsigned long long value, unsigned int base) {
        if (base == 10)
            RenderDecimal(value);
        else
            MakeDigits64(value, base);
    }
    void RenderDecimal(unsigned long long value) {
        if (value >= 10000)
            return RenderLongDecimal(value);
        auto const narrow = static_cast<unsigned int>(value);
        std::memcpy(End() - 4, &Simd::digitPairs[narrow / 100 * 2], 2);
        std::memcpy(End() - 2, &Simd::digitPairs[narrow % 100 * 2], 2);
        digits = End() - 1 - (narrow >= 10) - (narrow >= 100) - (narrow >= 1000);
    }
    void RenderLongDecimal(unsigned long long value);

    char* digits = buffer + bufferSize; // The first digit; the last one ends the buffer.
    char sign;
    bool signWanted;
    // Not cleared: only what stands behind `digits` is read. The last byte is for the NUL of a
    // USAsciiString.
    mutable char buffer[bufferSize + 1];
};
