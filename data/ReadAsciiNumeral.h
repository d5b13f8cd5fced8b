// Integers from ASCII text: readers that return a code, a default, or throw.
//
// The whole text must be the numeral: no white space, no prefix, no separator. The unsigned readers
// take digits only; the signed ones one '-' or '+' in front. Leading zeros are free, in any number.
// No reader allocates, touches `errno` or knows a locale.
//
// The first error in reading order wins. Before each byte it is asked whether the value so far can
// take one more digit: from above a tenth of the top of 64 bits on (a sixteenth in hexadecimal) it
// cannot, and the text is too large even if the next byte is no digit. So "18446744073709551615x"
// is too large, and "1844674407370955161x" is invalid.
#pragma once

#include "data/ConstData.h"
#include "data/DebuggableException.h"

class NotANumeral : public DebuggableException {};
class NumeralTooLarge : public DebuggableException {};

enum NumeralReadResult {
    NumeralReadOK,
    NumeralReadInvalid,  // An empty text, or a byte that may not stand there.
    NumeralReadTooLarge, // The value does not fit the type of the result.
};

// On failure `value` stays as it was, but for the unsigned 64-bit readers.
//
// Deliberate: those leave in it the value that they had reached (untouched by an empty text). A
// byte that is no digit, and a last digit that does not fit, come to light when the value has been
// multiplied already to make room: of "12x" the value left is 120.
NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, unsigned long long& value);
NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, unsigned int& value);
NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, long long& value);
NumeralReadResult TryReadAsciiDecimalNumeral(ConstData text, int& value);

// Digits of either case.
NumeralReadResult TryReadAsciiHexNumeral(ConstData text, unsigned long long& value);
NumeralReadResult TryReadAsciiHexNumeral(ConstData text, unsigned int& value);

// A bad text and a value that is too large both give the default.
unsigned long long ReadAsciiDecimalNumeral64WithDefault(ConstData text,
                                                        unsigned long long defaultValue);
unsigned int ReadAsciiDecimalNumeral32WithDefault(ConstData text, unsigned int defaultValue);
long long ReadAsciiSignedDecimalNumeral64WithDefault(ConstData text, long long defaultValue);
int ReadAsciiSignedDecimalNumeral32WithDefault(ConstData text, int defaultValue);

// Throw NotANumeral for a bad text, NumeralTooLarge for a value that is too large.
unsigned long long ReadAsciiDecimalNumeral64(ConstData text);
unsigned int ReadAsciiDecimalNumeral(ConstData text);
long long ReadAsciiSignedDecimalNumeral64(ConstData text);
int ReadAsciiSignedDecimalNumeral(ConstData text);
unsigned long long ReadAsciiHexNumeral64(ConstData text);
unsigned int ReadAsciiHexNumeral(ConstData text);
