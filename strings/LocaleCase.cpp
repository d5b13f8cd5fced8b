#include "strings/LocaleCase.h"

#include <array>
#include <cctype>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <optional>

#include "data/Ascii.h"
#include "simd/FindCaseInsensitive.h"

namespace {

using Table = std::array<std::int32_t, 256>;

constexpr Table MakeTable(int firstLetter, int distance) {
    Table table{};
    for (int byte = 0; byte < 256; ++byte)
        table[static_cast<unsigned>(byte)] =
            byte >= firstLetter && byte < firstLetter + 26 ? byte + distance : byte;
    return table;
}

constexpr Table asciiLower = MakeTable('A', 'a' - 'A');
constexpr Table asciiUpper = MakeTable('a', 'A' - 'a');

// Returns the table of tolower in the C locale. It stays the same object until the process exits.
std::int32_t const* ClassicLower() {
    locale_t const classic = newlocale(LC_CTYPE_MASK, "C", nullptr);
    locale_t const current = uselocale(classic);
    std::int32_t const* const lower = *__ctype_tolower_loc();
    uselocale(current);
    return lower;
}

using Simd::CaseVariants;

// From this many positions on, the kernel is faster than the scalar search. The kernel needs the
// case variants of two bytes. They cost a scan of the locale's table, unless LettersAreAscii().
constexpr std::size_t minPositionsInAscii = 16;
constexpr std::size_t minPositionsInLocale = 128;

CaseVariants VariantsInAscii(char character) {
    auto const byte = static_cast<unsigned char>(character);
    return {static_cast<char>(Ascii::lowercaseTable[byte]),
            static_cast<char>(Ascii::uppercaseTable[byte])};
}

// Returns nothing if `character` has more than two case variants.
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

// Fast path: a program starts in the C locale, which the address of its tolower table identifies. A
// locale that shares this table also shares the toupper table of the C locale.
bool LettersAreAscii() {
    static std::int32_t const* const classicLower = ClassicLower();
    std::int32_t const* const lower = *__ctype_tolower_loc();
    if (lower == classicLower)
        return true;
    return std::memcmp(lower, asciiLower.data(), sizeof(asciiLower)) == 0 &&
           std::memcmp(*__ctype_toupper_loc(), asciiUpper.data(), sizeof(asciiUpper)) == 0;
}

char const* FindCaseInsensitive(char const* text, std::size_t length, char const* pattern,
                                std::size_t patternLength) {
    if (patternLength == 0)
        return text;
    if (patternLength > length)
        return nullptr;
    // The table of strncasecmp and tolower. Calling tolower would cost more than the search.
    std::int32_t const* const lower = *__ctype_tolower_loc();
    std::size_t const positions = length - patternLength + 1;
    char const lastByte = pattern[patternLength - 1];
    if (positions >= minPositionsInAscii && LettersAreAscii())
        return Simd::FindCaseInsensitive(text, length, pattern, patternLength, lower,
                                         VariantsInAscii(*pattern), VariantsInAscii(lastByte));
    if (positions >= minPositionsInLocale) {
        auto const first = VariantsInLocale(lower, *pattern);
        auto const last = VariantsInLocale(lower, lastByte);
        if (first && last)
            return Simd::FindCaseInsensitive(text, length, pattern, patternLength, lower, *first,
                                             *last);
    }
    return Simd::FindCaseInsensitiveScalar(text, length, pattern, patternLength, lower);
}
