// Formats an integer in any base from 2 to 36, without allocation.
#pragma once

#include <cstring>

#include "data/ConstData.h"
#include "simd/FormatDigits.h"

class USAsciiString;

// The text is inside the object, so the result of a conversion is valid until digits are inserted
// or the object is destroyed. Not copyable, because the object points into itself.
//
// Sign-magnitude in every base: Numeral(-1, 16) is "-1". Only negative values have a sign.
class Numeral {
public:
    // REQUIRES: `base` is 2 to 36. (There is no overload for `long`; cast to `long long`.)
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

    // Returns '-' for a negative value, '+' for a positive one, a space for zero.
    static char Sign(int value) { return Sign(static_cast<long long>(value)); }
    static char Sign(unsigned int value) { return value == 0 ? ' ' : '+'; }
    static char Sign(unsigned long value) { return value == 0 ? ' ' : '+'; }
    static char Sign(long long value) { return value < 0 ? '-' : value == 0 ? ' ' : '+'; }
    static char Sign(unsigned long long value) { return value == 0 ? ' ' : '+'; }

    // Returns one digit in lower case: 'a' for 10, 'z' for 35.
    static char Digit(unsigned int value) {
        return static_cast<char>(value + (value < 10 ? 0x30 : 0x57));
    }

    // Insert the digits of `value`, at least one, in front of the existing digits. REQUIRES: `base`
    // is 2 to 36, and the total number of digits is within the limits of PadTo.
    void MakeDigits(unsigned int value, unsigned int base);
    void MakeDigits64(unsigned long long value, unsigned int base);

    // Inserts leading zeros until there are `count` digits. The sign does not count: -5 padded to 3
    // is "-005". REQUIRES: `count` is at most 65, and at most 64 for a negative value.
    void PadTo(unsigned int count);

    // Return the text, with the sign of a negative value. Conversions can be repeated, and padding
    // may follow. Not thread-safe, because they write to the object, even to a constant one.
    operator ConstData() const { return ConstData(PutSign(), End()); }

    // Returns a Pascal string: a byte with the length, then the text.
    operator unsigned char const*() const;

    // Returns the text, marked as NUL-terminated. Defined in unicode/EncodedNumerals.cpp.
    operator USAsciiString() const;

private:
    static constexpr unsigned int bufferSize = 66; // 64 binary digits, a sign and a length byte.

    char* End() const { return buffer + bufferSize; }

    // Writes the sign of a negative value in front of the digits. Returns the start of the text.
    char* PutSign() const {
        if (!signWanted)
            return digits;
        digits[-1] = sign;
        return digits - 1;
    }

    // Format the digits of a new object. Inline, because a short decimal costs less than a call.
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

    char* digits = buffer + bufferSize; // The first digit. The last one is before End().
    char sign;
    bool signWanted;
    // Not initialized: only bytes that were written are read. The last byte is for the NUL of a
    // USAsciiString.
    mutable char buffer[bufferSize + 1];
};
