// The number of columns that text takes on a terminal.
#pragma once

#include <cstddef>
#include <string_view>

#include <locale.h>

// As long as an object lives, the thread uses the locale of the environment for DisplayWidth, or
// C.UTF-8 if that locale does not use UTF-8. The locale of the process stays as it is.
class WidthLocale {
public:
    WidthLocale();
    ~WidthLocale();
    WidthLocale(WidthLocale const&) = delete;
    WidthLocale& operator=(WidthLocale const&) = delete;

private:
    locale_t own;
    locale_t former = nullptr;
};

// Returns the columns of UTF-8 without control characters, as wcwidth(3) counts them: 0 for a
// combining character, 2 for a wide one. A character that the locale does not know counts 1, and so
// does each byte that is not UTF-8.
//
// REQUIRES: a WidthLocale of this thread.
std::size_t DisplayWidth(std::string_view text);

// Returns the length in bytes of the longest prefix of whole characters that takes at most `width`
// columns, with at least one character. Combining characters stay with the one before.
//
// REQUIRES: the text is not empty, and a WidthLocale of this thread.
std::size_t PrefixWithin(std::string_view text, std::size_t width);
