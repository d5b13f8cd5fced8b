// Parses integers: functions that return a code, return a default, or throw.
//
// The whole text is the numeral: no whitespace, prefix or separator. Unsigned numerals are digits
// only; signed ones may start with '-' or '+'. Any number of leading zeros is allowed. The
// functions do not allocate, set `errno` or depend on the locale.
//
// The first error from left to right is reported. If a value times the base does not fit into 64
// bits, the next byte makes the text too large, even an invalid one. So "18446744073709551615x" is
// too large, but "1844674407370955161x" is invalid. The range of a narrower or signed type is
// checked last: for `unsigned int`, "4294967296x" is invalid.
#pragma once

#include "data/ConstData.h"
#include "data/DebuggableException.h"

class NotANumeral : public DebuggableException {};
class NumeralTooLarge : public DebuggableException {};

enum NumeralReadResult {
    NumeralReadOK,
    NumeralReadInvalid,  // The text has an invalid byte or no digit.
    NumeralReadTooLarge, // The value does not fit the result type.
};

// On failure, `value` is unchanged, except by the unsigned 64-bit functions.
//
// Deliberate: the unsigned 64-bit functions accumulate the result in `value`. So they store the
// value of the digits before the error, unless the text is empty. This value is already multiplied
// by the base if the product fits into 64 bits: "12x" stores 120.
NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, unsigned long long& value);
NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, unsigned int& value);
NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, long long& value);
NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, int& value);

// The digits may have either case.
NumeralReadResult TryReadAsciiHexNumeral(ConstData text, unsigned long long& value);
NumeralReadResult TryReadAsciiHexNumeral(ConstData text, unsigned int& value);

// Return `defaultValue` for invalid text and for values that do not fit the result type.
unsigned long long ReadAsciiDecimalNumeral64WithDefault(ConstData text,
                                                        unsigned long long defaultValue);
unsigned int ReadAsciiDecimalNumeral32WithDefault(ConstData text, unsigned int defaultValue);
long long ReadAsciiSignedDecimalNumeral64WithDefault(ConstData text, long long defaultValue);
int ReadAsciiSignedDecimalNumeral32WithDefault(ConstData text, int defaultValue);

// Throw NotANumeral for invalid text, and NumeralTooLarge for values that do not fit the result
// type.
unsigned long long ReadAsciiDecimalNumeral64(ConstData text);
unsigned int ReadAsciiDecimalNumeral(ConstData text);
long long ReadAsciiSignedDecimalNumeral64(ConstData text);
int ReadAsciiSignedDecimalNumeral(ConstData text);
unsigned long long ReadAsciiHexNumeral64(ConstData text);
unsigned int ReadAsciiHexNumeral(ConstData text);
