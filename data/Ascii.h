// ASCII byte classes, case mapping, case-insensitive comparison and trimming, independent of the
// locale.
//
// Bytes 0x80 to 0xFF are not letters, and case mapping leaves them unchanged. So no operation
// changes a byte of a non-ASCII character in UTF-8.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "data/ConstData.h"

class Buffer;
class ConstBuffer;
class Data;

// A set of byte values: 256 bits, so Contains is one load and one bit test.
struct AsciiSet {
    // Returns the set of the bytes from `first` to `last`, both included.
    static constexpr AsciiSet Span(unsigned char first, unsigned char last) {
        AsciiSet set{};
        for (unsigned byte = first; byte <= last; ++byte)
            set.words[byte / 32] |= 1u << byte % 32;
        return set;
    }

    static constexpr AsciiSet Only(unsigned char byte) { return Span(byte, byte); }

    constexpr bool Contains(unsigned char byte) const {
        return (words[byte / 32] >> byte % 32 & 1u) != 0;
    }

    constexpr bool operator[](unsigned char byte) const { return Contains(byte); }

    constexpr AsciiSet operator|(AsciiSet const& other) const {
        AsciiSet set{};
        for (unsigned i = 0; i < 8; ++i)
            set.words[i] = words[i] | other.words[i];
        return set;
    }

    constexpr AsciiSet operator~() const {
        AsciiSet set{};
        for (unsigned i = 0; i < 8; ++i)
            set.words[i] = ~words[i];
        return set;
    }

    // Byte c is a member if bit c % 32 of word c / 32 is set.
    unsigned int words[8];
};

namespace Ascii {

// The sets that the functions below return.
namespace Sets {

inline constexpr AsciiSet printable = AsciiSet::Span(0x21, 0x7E);
inline constexpr AsciiSet unprintable = ~printable;
inline constexpr AsciiSet plainText = AsciiSet::Span(0x20, 0x7E);
inline constexpr AsciiSet control = AsciiSet::Span(0x00, 0x1F) | AsciiSet::Only(0x7F);
inline constexpr AsciiSet low = AsciiSet::Span(0x00, 0x7F);
inline constexpr AsciiSet high = AsciiSet::Span(0x80, 0xFF);
inline constexpr AsciiSet linearWhiteSpace = AsciiSet::Only('\t') | AsciiSet::Only(' ');
inline constexpr AsciiSet whiteSpace =
    linearWhiteSpace | AsciiSet::Only('\n') | AsciiSet::Only('\r');
inline constexpr AsciiSet uppercaseAlphabet = AsciiSet::Span('A', 'Z');
inline constexpr AsciiSet lowercaseAlphabet = AsciiSet::Span('a', 'z');
inline constexpr AsciiSet alphabetic = uppercaseAlphabet | lowercaseAlphabet;
inline constexpr AsciiSet alphabetic_ = alphabetic | AsciiSet::Only('_');
inline constexpr AsciiSet numeric = AsciiSet::Span('0', '9');
inline constexpr AsciiSet alphanumeric = alphabetic | numeric;
inline constexpr AsciiSet alphanumeric_ = alphanumeric | AsciiSet::Only('_');
inline constexpr AsciiSet hexDigits = numeric | AsciiSet::Span('A', 'F') | AsciiSet::Span('a', 'f');
inline constexpr AsciiSet punctuation = AsciiSet::Span(0x21, 0x2F) | AsciiSet::Span(0x3A, 0x40) |
                                        AsciiSet::Span(0x5B, 0x60) | AsciiSet::Span(0x7B, 0x7E);

} // namespace Sets

// Each returns a pointer to one constant object in static storage.

constexpr AsciiSet const* Printable() { return &Sets::printable; }     // Without the space.
constexpr AsciiSet const* Unprintable() { return &Sets::unprintable; } // All other bytes.
constexpr AsciiSet const* PlainText() { return &Sets::plainText; }     // With the space.
constexpr AsciiSet const* Control() { return &Sets::control; }
constexpr AsciiSet const* Low() { return &Sets::low; }
constexpr AsciiSet const* High() { return &Sets::high; }

// Tab, line feed, carriage return and space. Linear whitespace is tab and space.
//
// Deliberate: without vertical tab and form feed, as in XML 1.0 and unlike isspace.
constexpr AsciiSet const* WhiteSpace() { return &Sets::whiteSpace; }
constexpr AsciiSet const* LinearWhiteSpace() { return &Sets::linearWhiteSpace; }

// A set whose name ends with an underscore also has the underscore.
constexpr AsciiSet const* Alphabetic() { return &Sets::alphabetic; }
constexpr AsciiSet const* Alphabetic_() { return &Sets::alphabetic_; }
constexpr AsciiSet const* Numeric() { return &Sets::numeric; }
constexpr AsciiSet const* Alphanumeric() { return &Sets::alphanumeric; }
constexpr AsciiSet const* Alphanumeric_() { return &Sets::alphanumeric_; }
constexpr AsciiSet const* UppercaseAlphabet() { return &Sets::uppercaseAlphabet; }
constexpr AsciiSet const* LowercaseAlphabet() { return &Sets::lowercaseAlphabet; }
constexpr AsciiSet const* HexDigits() { return &Sets::hexDigits; }     // Either case.
constexpr AsciiSet const* Punctuation() { return &Sets::punctuation; } // With the underscore.

// Map the letters of one case to the other, and every other byte to itself.
using CaseTable = std::array<unsigned char, 256>;
extern CaseTable const uppercaseTable;
extern CaseTable const lowercaseTable;

// True if every entry of both tables is correct.
bool CaseTablesAreCorrect();

// Returns the lower-case digit of a value. The value is not checked: HexDigit(16) is 'g'.
constexpr unsigned char HexDigit(unsigned int value) {
    return static_cast<unsigned char>(value + (value > 9 ? 0x57u : 0x30u));
}

// Returns the value of a hexadecimal digit of either case. The digit is not checked:
// HexDigitValue('g') is 16.
constexpr unsigned int HexDigitValue(unsigned char digit) {
    return digit > '9' ? (digit | 0x20u) - 0x57u : digit - 0x30u;
}

// Return the mapped bytes.
std::string RaiseCase(ConstData source);
std::string LowerCase(ConstData source);

// Write the mapped bytes to the start of the target, which may be the source itself. Throw
// DataOverflow if the target is too short; it is full then.
void RaiseCase(ConstData source, Data target);
void LowerCase(ConstData source, Data target);

// Map bytes until the source is empty or the target is full, and advance both positions.
void RaiseCase(ConstBuffer& source, Buffer& target);
void LowerCase(ConstBuffer& source, Buffer& target);

// IsLowercase returns true if LowerCase would change no byte, and IsUppercase if RaiseCase would
// change none. So an empty range and text without letters are both lower-case and upper-case.
bool IsLowercase(ConstData text);
bool IsUppercase(ConstData text);

// True if the lengths and the mapped bytes are equal.
bool EqualIgnoringCase(ConstData left, ConstData right);

// Return the difference of the first unequal mapped bytes, `left` minus `right`. If there are none
// in the common length: -1 if `left` is shorter, 1 if it is longer, 0 if the lengths are equal.
//
// The two orders differ: for CompareLowercase, the underscore is less than every letter; for
// CompareUppercase, it is greater.
std::int32_t CompareLowercase(ConstData left, ConstData right);
std::int32_t CompareUppercase(ConstData left, ConstData right);

// The same for NUL-terminated strings, except where one string is a prefix of the other.
//
// Deliberate: for a prefix, the result is the difference of the next bytes, unmapped, as signed
// 8-bit values; one of them is the NUL. So "" compared with "\xE9" returns 23. Kept for
// compatibility.
std::int32_t CompareLowercase(char const* left, char const* right);

} // namespace Ascii

// Remove the bytes of Ascii::WhiteSpace() from the start, or from both ends. A range of whitespace
// alone becomes an empty range at the end of the input.
ConstData TrimLeadingAsciiWhitespace(ConstData text);
ConstData TrimAsciiWhitespace(ConstData text);
