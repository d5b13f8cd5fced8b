// Transcodes sequences of mixed kinds, several code units at a time, with the byte shuffles of
// SSSE3.
#pragma once

#include <cstddef>

#include "simd/Cpu.h"
#include "simd/UtfBlocks.h"

#if SIMD_X86

namespace Simd {

// Transcodes 16 bytes of the source at a time, until an ill-formed sequence or 16 code units with
// equal values in both encodings. Each step needs room in the target: 28 bytes from UTF-16 to
// UTF-8, 16 code units for other pairs with UTF-8, 8 code units for other pairs. Exists for each
// pair of different code units. The first declaration has the target attribute, because otherwise
// GCC does not inline into the definition. REQUIRES: Uses(Level::ssse3).
template <class To, class From>
SIMD_TARGET_SSSE3 UtfBlocks::BlockProgress
TranscodeMixed(From const* from, std::ptrdiff_t available, To* to, std::ptrdiff_t room);

} // namespace Simd

#endif
