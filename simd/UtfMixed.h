// Sequences of many kinds, several units at a time with the byte shuffles of SSSE3.
#pragma once

#include <cstddef>

#include "simd/Cpu.h"
#include "simd/UtfBlocks.h"

#if SIMD_X86

namespace Simd {

// Transcodes what is available and has room, except for the last few units, up to an ill-formed
// sequence or to 16 units of equal value in both encodings. Exists for each pair of different
// units. The target attribute stands at the first declaration; otherwise GCC does not inline into
// the definition. REQUIRES: Uses(Level::ssse3).
template <class To, class From>
SIMD_TARGET_SSSE3 UtfBlocks::BlockProgress
TranscodeMixed(From const* from, std::ptrdiff_t available, To* to, std::ptrdiff_t room);

} // namespace Simd

#endif
