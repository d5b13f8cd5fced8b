// Case in the current locale: which bytes are letters, and case-insensitive search.
#pragma once

#include <cstddef>

// True if tolower and toupper change the letters A to Z and a to z and no other byte. If so, the
// operations of data/Ascii.h are equivalent to those of the C library, and faster. True in the C
// locale and in most UTF-8 locales, but not in Turkish ones, where the upper case of "i" is not one
// byte.
bool LettersAreAscii();

// Returns the first match of `pattern` in `text`, compared as by strncasecmp, or null; `text`
// itself for an empty pattern. `text` may hold embedded NULs. REQUIRES: no NUL in `pattern`.
char const* FindCaseInsensitive(char const* text, std::size_t length, char const* pattern,
                                std::size_t patternLength);
