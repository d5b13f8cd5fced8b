// Case-insensitive comparison of ASCII text: a letter equals the same letter of the other case.
#pragma once

#include <cstddef>

namespace Simd {

// Returns the length of the longest common prefix of two texts with `length` bytes each. The
// pointers may be null if `length` is 0.
std::size_t CommonPrefix(unsigned char const* left, unsigned char const* right, std::size_t length);

// Compares byte by byte.
std::size_t CommonPrefixScalar(unsigned char const* left, unsigned char const* right,
                               std::size_t length);

// REQUIRES: baseline is Level::sse2.
std::size_t CommonPrefixSse2(unsigned char const* left, unsigned char const* right,
                             std::size_t length);

// REQUIRES: Uses(Level::avx2).
std::size_t CommonPrefixAvx2(unsigned char const* left, unsigned char const* right,
                             std::size_t length);

} // namespace Simd
