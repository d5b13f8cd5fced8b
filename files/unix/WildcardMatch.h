// Wildcard patterns for file names.
#pragma once

#include "data/ConstData.h"

namespace UnixPlatform {

// True if the NUL-terminated pattern matches the whole name. "*" matches any number of bytes, even
// none, "?" any one byte, and every other byte itself.
//
// Deliberate: equal bytes match each other before wildcards apply. A "*" of the pattern that is
// compared with a "*" of the name therefore matches only that byte. So "*" matches "ab" and "*",
// but not "*a".
//
// The time is at most proportional to the product of the lengths, for every pattern. A name of up
// to 255 bytes needs no allocation.
bool MatchWildcard(ConstData name, char const* pattern);

} // namespace UnixPlatform
