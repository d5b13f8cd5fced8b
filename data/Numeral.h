// An integer rendered in any base, inside the object.
#pragma once

#include "data/ConstData.h"

// Built, padded and converted within one expression or block. It points into itself, so it is used
// in place and not copied; what a conversion yields lives as long as the object. Nothing here
// allocates.
//
// A negative value is rendered as '-' and the digits of its absolute value, so that no base has a
// look of two's complement: Numeral(-1, 16) reads "-1". A positive value shows no sign.
class Numeral {
public:
    // REQUIRES: `base` is 2 to 36. It is not tested.
    Numeral(signed char value, unsigned int base) : Numeral(static_cast<int>(value), base) {}
    Numeral(short value, unsigned int base) : Numeral(static_cast<int>(value), base) {}
    Numeral(int value, unsigned int base);
    Numeral(long long value, unsigned int base);
    Numeral(unsigned char value, unsigned int base)
        : Numeral(static_cast<unsigned int>(value), base) {}
    Numeral(unsigned short value, unsigned int base)
        : Numeral(static_cast<unsigned int>(value), base) {}
    Numeral(unsigned int value, unsigned int base);
    Numeral(unsigned long value, unsigned int base);
    Numeral(unsigned long long value, unsigned int base);

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
    operator ConstData() const;

    // The same text behind a byte with its length, the sign included (a Pascal string).
    operator unsigned char const*() const;

private:
    static constexpr unsigned int bufferSize = 66; // 64 binary digits, a sign and a length byte.

    char const* End() const { return buffer + bufferSize; }
    char* PutSign() const;

    char* digits = buffer + bufferSize; // The first digit; the last one ends the buffer.
    char sign;
    bool signWanted;
    mutable char buffer[bufferSize]; // Not cleared: only what stands behind `digits` is read.
};
