#include "simd/FindCaseInsensitive.h"

#include <bit>

#include "simd/Vectors.h"

namespace Simd {

namespace {

struct Pattern {
    bool IsAt(char const* position) const {
        for (std::size_t i = 0; i < length; ++i)
            if (Lower(position[i]) != Lower(text[i]))
                return false;
        return true;
    }

    std::int32_t Lower(char byte) const { return lower[static_cast<unsigned char>(byte)]; }

    char const* text;
    std::size_t length;
    std::int32_t const* lower;
};

char const* FindAtPositions(char const* from, char const* end, Pattern const& pattern) {
    for (; from != end; ++from)
        if (pattern.IsAt(from))
            return from;
    return nullptr;
}

} // namespace

char const* FindCaseInsensitiveScalar(char const* text, std::size_t length, char const* pattern,
                                      std::size_t patternLength, std::int32_t const* lower) {
    return FindAtPositions(text, text + (length - patternLength + 1),
                           {pattern, patternLength, lower});
}

#if SIMD_X86

namespace {

constexpr std::size_t blockSize = 16;

// Returns 0xFF for each of 16 bytes that is one of the variants, otherwise 0.
Vectors::Vector Matches(char const* bytes, CaseVariants const& variants) {
    using namespace Vectors;
    Vector const block = Load(bytes);
    return Or(_mm_cmpeq_epi8(block, _mm_set1_epi8(variants.one)),
              _mm_cmpeq_epi8(block, _mm_set1_epi8(variants.other)));
}

// Compares the pattern only at positions whose first and last byte match. For "ab" in "xaybab." the
// first byte matches at the positions 1 and 4; the last byte, read one byte further, at 2 and 4. So
// 4 is the only candidate.
//
// Holds references to the variants. Copies would be stored byte by byte and soon loaded as words,
// which stalls the processor.
class BlockSearch {
public:
    BlockSearch(Pattern const& thePattern, CaseVariants const& theFirst,
                CaseVariants const& theLast)
        : pattern(thePattern), first(theFirst), last(theLast) {}

    // REQUIRES: at least `blockSize` positions.
    char const* Find(char const* from, char const* end) const {
        constexpr std::size_t four = 4 * blockSize;
        for (; static_cast<std::size_t>(end - from) >= four; from += four)
            if (HasCandidate(from))
                for (char const* block = from; block != from + four; block += blockSize)
                    if (char const* const match = FindInBlock(block))
                        return match;
        for (; static_cast<std::size_t>(end - from) >= blockSize; from += blockSize)
            if (char const* const match = FindInBlock(from))
                return match;
        // Searches the last positions together with positions before them.
        return from == end ? nullptr : FindInBlock(end - blockSize);
    }

private:
    Vectors::Vector Candidates(char const* from) const {
        return Vectors::And(Matches(from, first), Matches(from + (pattern.length - 1), last));
    }

    // Tests four blocks with one branch.
    bool HasCandidate(char const* from) const {
        using namespace Vectors;
        char const* const half = from + 2 * blockSize;
        Vector const all = Or(Candidates(from), Candidates(from + blockSize), Candidates(half),
                              Candidates(half + blockSize));
        return MaskOf8(all) != 0;
    }

    char const* FindInBlock(char const* from) const {
        for (unsigned mask = Vectors::MaskOf8(Candidates(from)); mask != 0; mask &= mask - 1) {
            char const* const position = from + std::countr_zero(mask);
            if (pattern.IsAt(position))
                return position;
        }
        return nullptr;
    }

    Pattern const& pattern;
    CaseVariants const& first;
    CaseVariants const& last;
};

} // namespace

char const* FindCaseInsensitive(char const* text, std::size_t length, char const* pattern,
                                std::size_t patternLength, std::int32_t const* lower,
                                CaseVariants const& first, CaseVariants const& last) {
    Pattern const wanted{pattern, patternLength, lower};
    std::size_t const positions = length - patternLength + 1;
    if (positions < blockSize)
        return FindAtPositions(text, text + positions, wanted);
    return BlockSearch(wanted, first, last).Find(text, text + positions);
}

#else

char const* FindCaseInsensitive(char const* text, std::size_t length, char const* pattern,
                                std::size_t patternLength, std::int32_t const* lower,
                                CaseVariants const&, CaseVariants const&) {
    return FindCaseInsensitiveScalar(text, length, pattern, patternLength, lower);
}

#endif

} // namespace Simd
