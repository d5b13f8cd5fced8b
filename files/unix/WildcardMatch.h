// Patterns over the names of files.
#pragma once

#include "data/ConstData.h"

namespace UnixPlatform {

// Whether the pattern, a NUL-terminated text, matches all of the name. "*" stands for any run of
// bytes, the empty one too, "?" for any one byte, and every other byte for itself.
//
// Deliberate: a "*" of the pattern that meets a "*" of the name stands for just that one byte. So
// "*" matches "ab" and "*", but not "*a".
//
// The time is that of the lengths multiplied, at worst, whatever the pattern. A name of up to 255
// bytes costs no allocation.
bool MatchWildcard(ConstData name, char const* pattern);

} // namespace UnixPlatform
