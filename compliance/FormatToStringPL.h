// The numbers of both documents as text.
#pragma once

#include "strings/StringPL.h"

// The decimal numeral of the value: a minus sign in front of a negative one, no other sign, no
// leading zeros. Throws DataOverflow if it would not fit in 63 characters, which no value does.
StringPL FormatToStringPL(int value);
StringPL FormatToStringPL(unsigned int value);
