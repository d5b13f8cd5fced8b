// Case in the current locale: which bytes are letters, and case-insensitive search.
#pragma once

#include <cstddef>

// True if tolower and toupper change the letters A to Z and a to z and no other byte: in the C
// locale and in most UTF-8 locales, but not in the Turkish one, where "i" has no upper case of one
// byte. The operations of data/Ascii.h are then equivalent to the C library's, and faster.
bool LettersAreAscii();

// Returns the first position where strncasecmp finds `pattern` in `text`, or null; `text` itself
// for an empty pattern. `text` may hold embedded NULs. REQUIRES: no NUL in `pattern`.
char const* FindCaseInsensitive(char const* text, std::size_t length, char const* pattern,
                                std::size_t patternLength);
