// Which bytes the current locale takes for letters.
#pragma once

// Whether tolower and toupper change the letters A to Z and a to z and no other byte: so in the
// locale of C, and in most of those with UTF-8 (not in the Turkish one, where "i" has no upper case
// of one byte). There the operations of `Ascii` give what the C library's give, in less time.
bool LettersAreAscii();
