#include "strings/CaseInsensitiveSearch.h"

#include <cctype>
#include <cstdint>
#include <optional>

#include "simd/FindCaseInsensitive.h"
#include "strings/LocaleLetters.h"

namespace {

using Simd::CaseVariants;

// The kernel needs the case variants of two bytes. In a locale whose letters are ASCII's they cost
// nothing; in another they take a walk over its table, which pays from this many places on.
constexpr std::size_t minPlacesInAscii = 16;
constexpr std::size_t minPlacesInLocale = 128;

CaseVariants VariantsInAscii(char character) {
    bool const isLetter = static_cast<unsigned char>((character | 0x20) - 'a') < 26;
    return {character, static_cast<char>(isLetter ? character ^ 0x20 : character)};
}

// Null where more than two bytes differ in case only.
std::optional<CaseVariants> VariantsInLocale(std::int32_t const* lower, char character) {
    auto const one = static_cast<unsigned char>(character);
    int count = 0;
    CaseVariants variants{character, character};
    for (int byte = 0; byte < 256; ++byte) {
        if (lower[byte] != lower[one])
            continue;
        ++count;
        if (byte != one)
            variants.other = static_cast<char>(byte);
    }
    return count <= 2 ? std::optional(variants) : std::nullopt;
}

} // namespace

char const* FindCaseInsensitive(char const* text, std::size_t length, char const* pattern,
                                std::size_t patternLength) {
    if (patternLength == 0)
        return text;
    if (patternLength > length)
        return nullptr;
    // The table of strncasecmp and tolower. Calls of tolower would cost more than the search.
    std::int32_t const* const lower = *__ctype_tolower_loc();
    std::size_t const places = length - patternLength + 1;
    char const lastByte = pattern[patternLength - 1];
    if (places >= minPlacesInAscii && LettersAreAscii())
        return Simd::FindCaseInsensitive(text, length, pattern, patternLength, lower,
                                         VariantsInAscii(*pattern), VariantsInAscii(lastByte));
    if (places >= minPlacesInLocale) {
        auto const first = VariantsInLocale(lower, *pattern);
        auto const last = VariantsInLocale(lower, lastByte);
        if (first && last)
            return Simd::FindCaseInsensitive(text, length, pattern, patternLength, lower, *first,
                                             *last);
    }
    return Simd::FindCaseInsensitiveScalar(text, length, pattern, patternLength, lower);
}
