// Case-insensitive search for a text, by the case table of any single-byte locale.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Simd {

// A byte and the one byte that differs from it in case only; twice the same byte if there is none.
struct CaseVariants {
    char one;
    char other;
};

// Returns the first place of `text` where `patternLength` bytes equal the pattern after each byte
// has been mapped by `lower`, a table of 256 values; null if there is none. `first` and `last` are
// the variants of the pattern's first and last byte by that table; by reference, because packing
// them into registers costs a short search a tenth of its time. The text may hold NULs.
// REQUIRES: 1 <= patternLength <= length.
char const* FindCaseInsensitive(char const* text, std::size_t length, char const* pattern,
                                std::size_t patternLength, std::int32_t const* lower,
                                CaseVariants const& first, CaseVariants const& last);

// The same, place by place; no variants are needed.
char const* FindCaseInsensitiveScalar(char const* text, std::size_t length, char const* pattern,
                                      std::size_t patternLength, std::int32_t const* lower);

} // namespace Simd
