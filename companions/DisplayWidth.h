// The number of columns that text takes on a terminal.
#pragma once

#include <cstddef>
#include <string_view>

#include <locale.h>

// Sets LC_CTYPE of the calling thread to that of the environment, or to C.UTF-8 if the former does
// not use UTF-8. The other categories become "C". The destructor restores the previous locale. The
// locale of the process does not change. Has no effect if the locale cannot be created.
class WidthLocale {
public:
    WidthLocale();
    ~WidthLocale();
    WidthLocale(WidthLocale const&) = delete;
    WidthLocale& operator=(WidthLocale const&) = delete;

private:
    locale_t own;
    locale_t former;
};

// Returns the number of columns of UTF-8 text as wcwidth(3) counts them: 0 for a combining
// character, 2 for a wide one. A code point unknown to the locale counts as 1, and so does each
// byte of an ill-formed sequence.
//
// REQUIRES: this thread has a WidthLocale; `text` has no control characters.
std::size_t DisplayWidth(std::string_view text);

// Returns the length in bytes of the longest prefix that takes at most `width` columns, but of at
// least one character. Combining characters are not separated from their base character, unless the
// base character is wider than `width`.
//
// REQUIRES: this thread has a WidthLocale; `text` is not empty.
std::size_t PrefixWithin(std::string_view text, std::size_t width);
