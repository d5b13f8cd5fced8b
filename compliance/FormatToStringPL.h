// Formats the numbers of the documents.
#pragma once

#include "strings/StringPL.h"

// Returns the decimal numeral without leading zeros, and with a minus sign if the value is
// negative. Throws DataOverflow if it is longer than 63 characters, which never happens.
StringPL FormatToStringPL(int value);
StringPL FormatToStringPL(unsigned int value);
