// Case-insensitive search, with a table that maps bytes to lower case.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Simd {

// A byte and the only other byte that the table maps to the same value. If there is no other byte,
// both members are equal. A byte with more than two variants cannot be represented.
struct CaseVariants {
    char one;
    char other;
};

// Returns the first match of `pattern` in `text`, or null. Bytes match if `lower`, a table of 256
// values, maps them to the same value. The text may have embedded NULs. `first` and `last` are the
// variants of the first and the last byte of the pattern. They are passed by reference, because
// packing them into registers costs a short search a tenth of its time.
// REQUIRES: 1 <= patternLength <= length.
char const* FindCaseInsensitive(char const* text, std::size_t length, char const* pattern,
                                std::size_t patternLength, std::int32_t const* lower,
                                CaseVariants const& first, CaseVariants const& last);

// The same, position by position.
char const* FindCaseInsensitiveScalar(char const* text, std::size_t length, char const* pattern,
                                      std::size_t patternLength, std::int32_t const* lower);

} // namespace Simd
