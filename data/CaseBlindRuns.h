// Texts that are the same but for the case of their ASCII letters, compared many bytes at a time.
#pragma once

#include <cstddef>

namespace CaseBlindRuns {

// How many bytes the texts, both of `length` bytes, have in common from their start on, the letters
// A to Z and a to z being the same in either case. The pointers may be null if `length` is 0.
std::size_t CommonLength(unsigned char const* left, unsigned char const* right, std::size_t length);

// The forms that CommonLength chooses from: byte by byte, which says what is meant; by 16, which
// every x86-64 can; by 32, for processors with AVX2.

std::size_t CommonLengthByBytes(unsigned char const* left, unsigned char const* right,
                                std::size_t length);
std::size_t CommonLengthBy16(unsigned char const* left, unsigned char const* right,
                             std::size_t length);
bool CanCompareBy32();
// REQUIRES: CanCompareBy32().
std::size_t CommonLengthBy32(unsigned char const* left, unsigned char const* right,
                             std::size_t length);

} // namespace CaseBlindRuns
