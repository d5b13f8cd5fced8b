// The white space of Ascii::WhiteSpace() taken off the ends of a range.
//
// A byte of 0x80 or above is never white space: it ends the trimming. Of a range with nothing else
// than white space, and of an empty one, an empty range at the END of the input is left.
#pragma once

#include "data/ConstData.h"

ConstData TrimLeadingAsciiWhitespace(ConstData text);
ConstData TrimAsciiWhitespace(ConstData text);
