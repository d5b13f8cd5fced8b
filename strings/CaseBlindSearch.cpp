#include "strings/CaseBlindSearch.h"

#include <bit>
#include <cctype>
#include <cstdint>
#include <cstring>

static_assert(std::endian::native == std::endian::little, "the first byte is the lowest of a word");

namespace {

// Places are looked at in blocks of this many at once, in a loop that a compiler turns into
// operations on whole vectors.
constexpr std::size_t blockSize = 64;

// With fewer places, finding out about the locale costs more than it saves.
constexpr std::size_t fewPlaces = 128;

unsigned char Byte(char character) { return static_cast<unsigned char>(character); }

// The current locale's tables behind tolower and toupper, indexed by a byte. A call for each byte
// would cost more than all the rest of a search.
struct CaseTables {
    std::int32_t const* lower = *__ctype_tolower_loc();
    std::int32_t const* upper = *__ctype_toupper_loc();
};

// The bytes that differ from a given one in nothing but case, that one included.
class Alikes {
public:
    Alikes(CaseTables tables, char character) : one(Byte(character)), other(one) {
        std::int32_t const folded = tables.lower[one];
        int count = 0;
        for (int byte = 0; byte < 256; ++byte)
            count += tables.lower[byte] == folded;
        if (count == 2)
            other = static_cast<unsigned char>(folded == one ? tables.upper[one] : folded);
        areKnown = count == 1 || (count == 2 && other != one && tables.lower[other] == folded);
    }

    // False in a locale that has more of them, or another than the other case of a letter.
    bool AreKnown() const { return areKnown; }

    // 1 for one of them, otherwise 0: a number without a branch, for the sake of vectors.
    // REQUIRES: AreKnown().
    int Contain(char character) const {
        return static_cast<int>(Byte(character) == one) |
               static_cast<int>(Byte(character) == other);
    }

private:
    unsigned char one;
    unsigned char other;
    bool areKnown;
};

// A pattern of at least one byte. The searches look at `count` places, or a block of them, from
// `from` on, and yield the first at which the pattern stands, or null.
struct Pattern {
    bool StandsAt(char const* place) const;
    char const* SearchPlaces(char const* from, std::size_t count) const;
    char const* SearchBlock(char const* from, Alikes first, Alikes last) const;
    char const* SearchBlocks(char const* from, std::size_t count) const;

    char const* text;
    std::size_t length;
    CaseTables tables{};
};

// Equal bytes by tolower, which is what strncasecmp goes by.
bool Pattern::StandsAt(char const* place) const {
    for (std::size_t i = 0; i < length; ++i) {
        if (tables.lower[Byte(place[i])] != tables.lower[Byte(text[i])])
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

// Marks the places that have the right first and last byte, and compares the text only there.
char const* Pattern::SearchBlock(char const* from, Alikes first, Alikes last) const {
    char const* const ends = from + (length - 1);
    unsigned char marks[blockSize];
    for (std::size_t i = 0; i < blockSize; ++i)
        marks[i] = static_cast<unsigned char>(first.Contain(from[i]) & last.Contain(ends[i]));

    std::uint64_t words[blockSize / 8];
    std::memcpy(words, marks, sizeof(words));
    std::uint64_t any = 0;
    for (std::uint64_t word : words)
        any |= word;
    if (any == 0)
        return nullptr;
    for (std::uint64_t word : words) {
        for (; word != 0; word &= word - 1) {
            char const* const place = from + std::countr_zero(word) / 8;
            if (StandsAt(place))
                return place;
        }
        from += 8;
    }
    return nullptr;
}

char const* Pattern::SearchBlocks(char const* from, std::size_t count) const {
    Alikes const first(tables, text[0]);
    Alikes const last(tables, text[length - 1]);
    if (!first.AreKnown() || !last.AreKnown())
        return SearchPlaces(from, count);
    // The last block overlaps the one before it, so that no places are left over.
    char const* const lastBlock = from + (count - blockSize);
    for (;; from += blockSize) {
        bool const isLast = from >= lastBlock;
        char const* const match = SearchBlock(isLast ? lastBlock : from, first, last);
        if (match != nullptr || isLast)
            return match;
    }
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
    return places < fewPlaces ? wanted.SearchPlaces(text, places)
                              : wanted.SearchBlocks(text, places);
}

char const* PlainCaseBlindSearch(char const* text, std::size_t length, char const* pattern,
                                 std::size_t patternLength) {
    for (std::size_t i = 0; i + patternLength <= length; ++i) {
        if (strncasecmp(text + i, pattern, patternLength) == 0)
            return text + i;
    }
    return nullptr;
}
