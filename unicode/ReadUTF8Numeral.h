// Numerals in UTF-8, read as ReadAsciiNumeral.h reads ASCII.
#pragma once

#include "unicode/Encodings.h"
#include "unicode/UStringRef.h"

// Throw NotANumeral for a bad text, NumeralTooLarge for a value that is too large.
unsigned long long ReadUTF8DecimalNumeral64(UStringRef<UTF8> text);
unsigned int ReadUTF8DecimalNumeral(UStringRef<UTF8> text);
