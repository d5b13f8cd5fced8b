// Searching text without regard to case, as the current locale has it.
#pragma once

#include <cstddef>

// The first place where strncasecmp finds `pattern` in the `length` bytes of `text`, or null. An
// empty pattern is found at once. The text may hold NULs.
// REQUIRES: no NUL among the `patternLength` bytes of `pattern`.
char const* CaseBlindSearch(char const* text, std::size_t length, char const* pattern,
                            std::size_t patternLength);

// The same by its definition: strncasecmp at each place in turn.
char const* PlainCaseBlindSearch(char const* text, std::size_t length, char const* pattern,
                                 std::size_t patternLength);
