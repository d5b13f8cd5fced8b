// Formats the numbers of the documents.
#pragma once

#include "strings/StringPL.h"

// Returns the decimal numeral without leading zeros, and with a minus sign if the value is
// negative.
StringPL FormatToStringPL(int value);
StringPL FormatToStringPL(unsigned int value);
