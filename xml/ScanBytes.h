// Where a run of plain bytes ends: the first byte of a small set, sought 16 at a time.
//
// For the sources of this folder only. Each form is given beside the plain loop that says what it
// means; the tests compare the two. SSE2 belongs to every x86-64 processor, so nothing is chosen at
// run time; another processor takes the plain loops.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ScanBytes {

// The first byte in [from, end) that is one of `wanted`, or `end`.
template <class... Bytes>
char const* FindPlainly(char const* from, char const* end, Bytes... wanted) {
    while (from != end && ((*from != wanted) && ...))
        ++from;
    return from;
}

// The same, but a byte of 0x80 and above counts as wanted too.
template <class... Bytes>
char const* FindOrHighPlainly(char const* from, char const* end, Bytes... wanted) {
    while (from != end && static_cast<signed char>(*from) >= 0 && ((*from != wanted) && ...))
        ++from;
    return from;
}

// Appends the bytes up to the first one that is one of `wanted` to `target`, and yields its place,
// or `end`. `block` is how long most runs are at most: 16 or a multiple of it up to 64.
template <int block, class... Bytes>
char const* AppendUntilPlainly(std::string& target, char const* from, char const* end,
                               Bytes... wanted) {
    char const* const stop = FindPlainly(from, end, wanted...);
    for (; from != stop; ++from)
        target += *from;
    return stop;
}

#if defined(__SSE2__)

inline __m128i Load(char const* from) {
    return _mm_loadu_si128(reinterpret_cast<__m128i const*>(from));
}

inline __m128i LoadHalf(char const* from) {
    return _mm_loadl_epi64(reinterpret_cast<__m128i const*>(from));
}

// All ones in the place of each byte that is one of `wanted`.
template <class... Bytes>
__m128i Matches(__m128i chunk, Bytes... wanted) {
    __m128i found = _mm_setzero_si128();
    ((found = _mm_or_si128(found, _mm_cmpeq_epi8(chunk, _mm_set1_epi8(wanted)))), ...);
    return found;
}

// One bit for each byte whose highest bit is set; bit 0 stands for the first byte.
inline unsigned int HighBits(__m128i chunk) {
    return static_cast<unsigned int>(_mm_movemask_epi8(chunk));
}

// The first byte of [from, end) whose highest bit is set in what `mark` makes of a block of 16, or
// `end`.
//
// The last block begins 16 bytes before the end, over bytes that are known by then. Of 8 to 15
// bytes the first and the last 8 make one block.
template <class Mark, class FindInFew>
char const* FindMarked(char const* from, char const* end, Mark mark, FindInFew findInFew) {
    if (end - from < 8)
        return findInFew(from, end);
    if (end - from < 16) {
        __m128i const halves = _mm_unpacklo_epi64(LoadHalf(from), LoadHalf(end - 8));
        unsigned int const found = HighBits(mark(halves));
        if (found == 0)
            return end;
        int const place = __builtin_ctz(found);
        return place < 8 ? from + place : end - 16 + place;
    }
    for (; end - from > 16; from += 16) {
        unsigned int const found = HighBits(mark(Load(from)));
        if (found != 0)
            return from + __builtin_ctz(found);
    }
    unsigned int const found = HighBits(mark(Load(end - 16)));
    return found == 0 ? end : end - 16 + __builtin_ctz(found);
}

template <class... Bytes>
char const* Find(char const* from, char const* end, Bytes... wanted) {
    return FindMarked(
        from, end, [=](__m128i chunk) { return Matches(chunk, wanted...); },
        [=](char const* first, char const* last) { return FindPlainly(first, last, wanted...); });
}

template <class... Bytes>
char const* FindOrHigh(char const* from, char const* end, Bytes... wanted) {
    return FindMarked(
        from, end, [=](__m128i chunk) { return _mm_or_si128(chunk, Matches(chunk, wanted...)); },
        [=](char const* first, char const* last) {
            return FindOrHighPlainly(first, last, wanted...);
        });
}

// One bit for each of `block` bytes that is one of `wanted`.
template <int block, class... Bytes>
std::uint64_t MatchesInBlock(char const* from, Bytes... wanted) {
    std::uint64_t found = 0;
    for (int offset = 0; offset < block; offset += 16)
        found |= std::uint64_t{HighBits(Matches(Load(from + offset), wanted...))} << offset;
    return found;
}

// A short run is found in one or two looks at a whole block, and the whole block is appended and
// cut back: that has no branch that depends on the length, which nothing could foretell.
template <int block, class... Bytes>
[[gnu::always_inline]] inline char const* AppendUntil(std::string& target, char const* from,
                                                      char const* end, Bytes... wanted) {
    for (int blocksLeft = 2; blocksLeft != 0 && end - from >= block; --blocksLeft) {
        std::uint64_t const found = MatchesInBlock<block>(from, wanted...);
        std::size_t const size = target.size();
        // GCOVR_EXCL_START: no memory is so large; told so, append need not ask
        if (size > target.max_size() - block)
            __builtin_unreachable();
        // GCOVR_EXCL_STOP
        target.append(from, block);
        if (found != 0) {
            std::size_t const length = static_cast<std::size_t>(__builtin_ctzll(found));
            target.erase(size + length); // unlike resize, it never grows
            return from + length;
        }
        from += block;
    }
    char const* const stop = Find(from, end, wanted...);
    target.append(from, static_cast<std::size_t>(stop - from));
    return stop;
}

#else

template <class... Bytes>
char const* Find(char const* from, char const* end, Bytes... wanted) {
    return FindPlainly(from, end, wanted...);
}

template <class... Bytes>
char const* FindOrHigh(char const* from, char const* end, Bytes... wanted) {
    return FindOrHighPlainly(from, end, wanted...);
}

template <int block, class... Bytes>
char const* AppendUntil(std::string& target, char const* from, char const* end, Bytes... wanted) {
    return AppendUntilPlainly<block>(target, from, end, wanted...);
}

#endif

} // namespace ScanBytes
