// Numerals in typed text: the ASCII text of a Numeral, and parsing of UTF-8.
#pragma once

#include "unicode/Encodings.h"
#include "unicode/UStringRef.h"

// A view of ASCII text. Only conversions of a Numeral return it; data/Numeral.h states how long the
// text is valid.
class USAsciiString {
public:
    char const* begin = nullptr; // The text, half-open.
    char const* end = nullptr;
    bool nullTerminated = false; // A NUL is known to be at `end`.
};

// Parse decimal numerals like ReadAsciiNumeral.h. Throw NotANumeral for invalid text,
// NumeralTooLarge for values that are too large.
unsigned long long ReadUTF8DecimalNumeral64(UStringRef<UTF8> text);
unsigned int ReadUTF8DecimalNumeral(UStringRef<UTF8> text);
