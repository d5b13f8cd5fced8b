// Transcodes sequences of different lengths, 16 bytes at a time, with the byte shuffles of SSSE3.
#pragma once

#include <cstddef>

#include "simd/Cpu.h"
#include "simd/UtfBlocks.h"

#if SIMD_X86

namespace Simd {

// Transcodes 16 bytes of the source in each step, and returns the progress, which excludes an
// incomplete sequence at the end. Stops before a step with an ill-formed sequence, and if the
// source or the target is too short for another step. Also stops before a block of 16 code units,
// counted from `from`, whose values are equal in both encodings.
//
// Room that a step needs in the target:
// - from UTF-16 to UTF-8: 28 bytes
// - other pairs with UTF-8: 16 code units
// - all other pairs: 8 code units
//
// Instantiated for each pair of different code units. The target attribute is on the first
// declaration, because otherwise GCC does not inline into the definition.
//
// REQUIRES: Uses(Level::ssse3).
template <class To, class From>
SIMD_TARGET_SSSE3 UtfBlocks::BlockProgress
TranscodeMixed(From const* from, std::ptrdiff_t available, To* to, std::ptrdiff_t room);

} // namespace Simd

#endif
