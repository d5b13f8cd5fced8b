// Case-insensitive search in the current locale.
#pragma once

#include <cstddef>

// Returns the first place where strncasecmp finds `pattern` in the `length` bytes of `text`, or
// null. An empty pattern is found at the start. The text may hold NULs.
// REQUIRES: no NUL among the `patternLength` bytes of `pattern`.
char const* FindCaseInsensitive(char const* text, std::size_t length, char const* pattern,
                                std::size_t patternLength);
