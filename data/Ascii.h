// Byte classes and case rules that know no locale: the same byte is in the same class everywhere.
//
// Bytes 0x80 to 0xFF are opaque. They are no letters, and case mapping leaves them alone, so the
// same operations pass over UTF-8 text unharmed.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "data/AsciiSet.h"
#include "data/ConstData.h"

class Buffer;
class ConstBuffer;
class Data;

namespace Ascii {

// The objects behind the sets below; use those.
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

// Each yields one constant object, there from before `main` to the end.

constexpr AsciiSet const* Printable() { return &Sets::printable; }     // Deliberate: not the space.
constexpr AsciiSet const* Unprintable() { return &Sets::unprintable; } // All but Printable.
constexpr AsciiSet const* PlainText() { return &Sets::plainText; }     // Printable and the space.
constexpr AsciiSet const* Control() { return &Sets::control; }
constexpr AsciiSet const* Low() { return &Sets::low; }
constexpr AsciiSet const* High() { return &Sets::high; }

// Deliberate: tab, line feed, carriage return and space only, not the vertical tab nor the form
// feed. The linear one: tab and space.
constexpr AsciiSet const* WhiteSpace() { return &Sets::whiteSpace; }
constexpr AsciiSet const* LinearWhiteSpace() { return &Sets::linearWhiteSpace; }

// A trailing underscore: with the underscore.
constexpr AsciiSet const* Alphabetic() { return &Sets::alphabetic; }
constexpr AsciiSet const* Alphabetic_() { return &Sets::alphabetic_; }
constexpr AsciiSet const* Numeric() { return &Sets::numeric; }
constexpr AsciiSet const* Alphanumeric() { return &Sets::alphanumeric; }
constexpr AsciiSet const* Alphanumeric_() { return &Sets::alphanumeric_; }
constexpr AsciiSet const* UppercaseAlphabet() { return &Sets::uppercaseAlphabet; }
constexpr AsciiSet const* LowercaseAlphabet() { return &Sets::lowercaseAlphabet; }
constexpr AsciiSet const* HexDigits() { return &Sets::hexDigits; }     // Of either case.
constexpr AsciiSet const* Punctuation() { return &Sets::punctuation; } // With the underscore.

// Every byte to itself, but for the letters of the other case.
using CaseTable = std::array<unsigned char, 256>;
extern CaseTable const uppercaseTable;
extern CaseTable const lowercaseTable;

// Whether the two tables hold what the rule says, entry by entry.
bool CaseTablesAreCorrect();

// The digit of a value, lower-case. The value is not tested: 16 gives 'g'.
constexpr unsigned char HexDigit(unsigned int value) {
    return static_cast<unsigned char>(value + (value > 9 ? 0x57u : 0x30u));
}

// The value of a digit of either case. REQUIRES, for a sensible value:
// HexDigits()->Contains(digit); it is not tested here, and 'g' gives 16.
constexpr unsigned int HexDigitValue(unsigned char digit) {
    return digit > '9' ? (digit | 0x20u) - 0x57u : digit - 0x30u;
}

// The mapped bytes as a new string.
std::string RaiseCase(ConstData source);
std::string LowerCase(ConstData source);

// Writes the mapped bytes to the start of the target and leaves the rest of it alone. Throws
// DataOverflow if the target is too short, and leaves it full then. The target may be the source
// itself.
void RaiseCase(ConstData source, Data target);
void LowerCase(ConstData source, Data target);

// Consumes and writes, moving both positions, until either side is spent. A full target is a normal
// end.
void RaiseCase(ConstBuffer& source, Buffer& target);
void LowerCase(ConstBuffer& source, Buffer& target);

// Whether the mapping would change nothing: a byte that is no letter has both cases, and an empty
// range too.
bool IsLowercase(ConstData text);
bool IsUppercase(ConstData text);

bool EqualIgnoringCase(ConstData left, ConstData right);

// Orders the mapped texts: the difference of the first unequal mapped bytes, first minus second;
// without one, 1 if the second range is shorter, -1 if the first is, 0 if none. The two orders
// differ: the underscore sorts below 'a' in the first and above 'A' in the second.
std::int32_t CompareLowercase(ConstData left, ConstData right);
std::int32_t CompareUppercase(ConstData left, ConstData right);

// The same order on NUL-terminated texts, but for texts one of which begins with the other.
//
// Deliberate: there the result is the next byte of the first minus that of the second, unmapped, as
// signed 8-bit values, one of them being the NUL. So the empty text sorts behind "\xE9", by 23.
std::int32_t CompareLowercase(char const* left, char const* right);

} // namespace Ascii
