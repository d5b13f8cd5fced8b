// Case-insensitive search, with the case table of any single-byte locale.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Simd {

// A byte and the only other byte that differs from it in case. Both are equal if there is none.
struct CaseVariants {
    char one;
    char other;
};

// Returns the first position in `text` where `patternLength` bytes equal the pattern after `lower`,
// a table of 256 values, has mapped each byte; null if there is none. `first` and `last` are the
// variants of the pattern's first and last byte in that table. They are passed by reference,
// because packing them into registers costs a short search a tenth of its time. The text may have
// embedded NULs.
// REQUIRES: 1 <= patternLength <= length.
char const* FindCaseInsensitive(char const* text, std::size_t length, char const* pattern,
                                std::size_t patternLength, std::int32_t const* lower,
                                CaseVariants const& first, CaseVariants const& last);

// The same, position by position, without variants.
char const* FindCaseInsensitiveScalar(char const* text, std::size_t length, char const* pattern,
                                      std::size_t patternLength, std::int32_t const* lower);

} // namespace Simd
