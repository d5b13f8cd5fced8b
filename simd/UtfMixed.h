// Sequences of many kinds, several units at a time with the byte shuffles of SSSE3.
#pragma once

#include <cstddef>

#include "simd/Cpu.h"
#include "simd/UtfBlocks.h"

#if SIMD_X86

namespace Simd {

// Transcodes 16 bytes of the source at a time, up to an ill-formed sequence or to 16 units of equal
// value in both encodings. Each time needs room for 28 bytes if the source is UTF-16 and the target
// UTF-8, for 16 units if either is UTF-8, and otherwise for 8 units. Exists for each pair of
// different units. The target attribute stands at the first declaration; otherwise GCC does not
// inline into the definition. REQUIRES: Uses(Level::ssse3).
template <class To, class From>
SIMD_TARGET_SSSE3 UtfBlocks::BlockProgress
TranscodeMixed(From const* from, std::ptrdiff_t available, To* to, std::ptrdiff_t room);

} // namespace Simd

#endif
