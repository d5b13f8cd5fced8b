#include "strings/LocaleLetters.h"

#include <array>
#include <cctype>
#include <clocale>
#include <cstdint>
#include <cstring>

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

} // namespace

// The tables of the locale of C are always the same objects, so that in it, which is the one that a
// program starts with, none has to be looked at; and who has one of them has the other.
bool LettersAreAscii() {
    static locale_t const classic = newlocale(LC_CTYPE_MASK, "C", nullptr);
    std::int32_t const* const lower = *__ctype_tolower_loc();
    if (lower == classic->__ctype_tolower)
        return true;
    return std::memcmp(lower, asciiLower.data(), sizeof(asciiLower)) == 0 &&
           std::memcmp(*__ctype_toupper_loc(), asciiUpper.data(), sizeof(asciiUpper)) == 0;
}
