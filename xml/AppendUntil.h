// Appends text up to the first byte of a small set. The parser uses it to read tokens.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>

#include "simd/FindByte.h"

// Appends the bytes before the first match of `wanted` (the run) to `target`. Returns the match, or
// `end`. `block` is the length of most runs, rounded up to 16, 32, 48 or 64.
//
// The first two blocks are searched by a match mask each. A block is appended whole and then
// truncated to the run, because a branch on the length of the run would often be mispredicted.
template <int block, class... Bytes>
inline char const* AppendUntil(std::string& target, char const* from, char const* end,
                               Bytes... wanted) {
    for (int blocksLeft = 2; blocksLeft != 0 && end - from >= block; --blocksLeft) {
        std::uint64_t const found = Simd::MatchMask<block>(from, wanted...);
        std::size_t const size = target.size();
        target.append(from, block);
        if (found != 0) {
            auto const length = static_cast<std::size_t>(std::countr_zero(found));
            target.erase(size + length); // unlike resize, has no code for growing
            return from + length;
        }
        from += block;
    }
    char const* const stop = Simd::FindByte(from, end, wanted...);
    target.append(from, static_cast<std::size_t>(stop - from));
    return stop;
}
