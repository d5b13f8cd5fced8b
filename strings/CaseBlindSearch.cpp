#include "strings/CaseBlindSearch.h"

#include <bit>
#include <cctype>
#include <cstdint>
#include <cstring>

#include <emmintrin.h>

#include "strings/LocaleLetters.h"

namespace {

// Places are looked at in blocks of this many at once.
constexpr std::size_t blockSize = 16;

// Where other letters have cases too, it pays from this many places on to find out which.
constexpr std::size_t manyPlaces = 128;

unsigned char Byte(char character) { return static_cast<unsigned char>(character); }

// The current locale's table behind tolower, indexed by a byte. A call for each byte would cost
// more than all the rest of a search.
using CaseTable = std::int32_t const*;

// The bytes that differ from a given one in nothing but case, that one included.
struct Alikes {
    // In a locale whose letters are ASCII's.
    static Alikes InAscii(char character) {
        bool const isLetter = static_cast<unsigned char>((character | 0x20) - 'a') < 26;
        return {character, static_cast<char>(isLetter ? character ^ 0x20 : character), true};
    }

    static Alikes InLocale(CaseTable lower, char character) {
        unsigned char const one = Byte(character);
        std::int32_t const folded = lower[one];
        int count = 0;
        char other = character;
        for (int byte = 0; byte < 256; ++byte) {
            if (lower[byte] != folded)
                continue;
            ++count;
            if (byte != one)
                other = static_cast<char>(byte);
        }
        return {character, other, count <= 2};
    }

    // All bits of each of 16 bytes that is one of them. REQUIRES: areKnown.
    __m128i FindIn(char const* bytes) const {
        __m128i const block = _mm_loadu_si128(reinterpret_cast<__m128i const*>(bytes));
        return _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8(one)),
                            _mm_cmpeq_epi8(block, _mm_set1_epi8(other)));
    }

    char one;
    char other;
    // False in a locale that has more than these two.
    bool areKnown;
};

// A pattern of at least one byte. The searches look at `count` places from `from` on, and yield the
// first at which the pattern stands, or null.
struct Pattern {
    bool StandsAt(char const* place) const;
    char const* SearchPlaces(char const* from, std::size_t count) const;
    char const* SearchMarked(char const* from, __m128i marks) const;
    // REQUIRES: a block at least, and alikes that are known. (They come by reference since a
    // processor waits where bytes just stored are loaded as one word, to be passed.)
    char const* SearchBlocks(char const* from, std::size_t count, Alikes const& first,
                             Alikes const& last) const;

    char const* text;
    std::size_t length;
    CaseTable lower = *__ctype_tolower_loc();
};

// Equal bytes by tolower, which is what strncasecmp goes by.
bool Pattern::StandsAt(char const* place) const {
    for (std::size_t i = 0; i < length; ++i) {
        if (lower[Byte(place[i])] != lower[Byte(text[i])])
            return false;
    }
    return true;
}

char const* Pattern::SearchPlaces(char const* from, std::size_t count) const {
    for (char const* place = from; place != from + count; ++place) {
        if (StandsAt(place))
            return place;
    }
    return nullptr;
}

char const* Pattern::SearchMarked(char const* from, __m128i marks) const {
    for (auto bits = static_cast<unsigned>(_mm_movemask_epi8(marks)); bits != 0; bits &= bits - 1) {
        char const* const place = from + std::countr_zero(bits);
        if (StandsAt(place))
            return place;
    }
    return nullptr;
}

// Marks the places that have the right first and last byte, and compares the text only there.
char const* Pattern::SearchBlocks(char const* from, std::size_t count, Alikes const& first,
                                  Alikes const& last) const {
    auto const marksAt = [&](char const* place) {
        return _mm_and_si128(first.FindIn(place), last.FindIn(place + (length - 1)));
    };
    char const* const end = from + count;
    constexpr std::size_t four = 4 * blockSize;
    for (; static_cast<std::size_t>(end - from) >= four; from += four) {
        __m128i const front = _mm_or_si128(marksAt(from), marksAt(from + blockSize));
        char const* const half = from + 2 * blockSize;
        __m128i const back = _mm_or_si128(marksAt(half), marksAt(half + blockSize));
        __m128i const all = _mm_or_si128(front, back);
        if (_mm_movemask_epi8(all) == 0)
            continue;
        for (char const* block = from; block != from + four; block += blockSize)
            if (char const* const match = SearchMarked(block, marksAt(block)))
                return match;
    }
    for (; static_cast<std::size_t>(end - from) >= blockSize; from += blockSize)
        if (char const* const match = SearchMarked(from, marksAt(from)))
            return match;
    // What is left is looked at together with places before it.
    return from == end ? nullptr : SearchMarked(end - blockSize, marksAt(end - blockSize));
}

} // namespace

char const* CaseBlindSearch(char const* text, std::size_t length, char const* pattern,
                            std::size_t patternLength) {
    if (patternLength == 0)
        return text;
    if (patternLength > length)
        return nullptr;
    std::size_t const places = length - patternLength + 1;
    Pattern const wanted{pattern, patternLength};
    char const lastByte = pattern[patternLength - 1];
    if (places >= blockSize && LettersAreAscii())
        return wanted.SearchBlocks(text, places, Alikes::InAscii(*pattern),
                                   Alikes::InAscii(lastByte));
    if (places >= manyPlaces) {
        Alikes const first = Alikes::InLocale(wanted.lower, *pattern);
        Alikes const last = Alikes::InLocale(wanted.lower, lastByte);
        if (first.areKnown && last.areKnown)
            return wanted.SearchBlocks(text, places, first, last);
    }
    return wanted.SearchPlaces(text, places);
}

char const* PlainCaseBlindSearch(char const* text, std::size_t length, char const* pattern,
                                 std::size_t patternLength) {
    for (std::size_t i = 0; i + patternLength <= length; ++i) {
        if (strncasecmp(text + i, pattern, patternLength) == 0)
            return text + i;
    }
    return nullptr;
}
