// Decimal and hexadecimal text in small fixed holders.
//
// Each maker takes the least number of digits to produce, and fills up with zeros in front. A sign
// is no digit: -5 with `padding` 3 is "-005".
//
// Deliberate: zero has no digits of its own. With `padding` 0 its text is empty; who wants "0" asks
// for 1.
//
// Each holder has just room for the longest value; a larger `padding` throws
// ConstDataCapacityExceeded. Nothing here allocates.
#pragma once

#include "data/ConstDataWithCapacity.h"

ConstDataWithCapacity<20> MakeAsciiDecimalNumeral64(unsigned long long value, unsigned int padding);
ConstDataWithCapacity<10> MakeAsciiDecimalNumeral(unsigned int value, unsigned int padding);

// With '-' in front of a negative value. The 20 digits of the unsigned maker are the most that the
// first takes, so that `padding` 21 throws, whatever the sign.
ConstDataWithCapacity<21> MakeAsciiSignedDecimalNumeral64(long long value, unsigned int padding);
ConstDataWithCapacity<11> MakeAsciiSignedDecimalNumeral(int value, unsigned int padding);

// Lower-case.
ConstDataWithCapacity<16> MakeAsciiHexNumeral64(unsigned long long value, unsigned int padding);
ConstDataWithCapacity<8> MakeAsciiHexNumeral(unsigned int value, unsigned int padding);
