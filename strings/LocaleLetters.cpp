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

// The table of tolower in the C locale, which is the same object for the life of the process.
std::int32_t const* ClassicLower() {
    locale_t const classic = newlocale(LC_CTYPE_MASK, "C", nullptr);
    locale_t const current = uselocale(classic);
    std::int32_t const* const lower = *__ctype_tolower_loc();
    uselocale(current);
    return lower;
}

} // namespace

// A program starts in the C locale, where comparing one pointer answers. A locale that has the one
// table of the C locale has the other as well.
bool LettersAreAscii() {
    static std::int32_t const* const classicLower = ClassicLower();
    std::int32_t const* const lower = *__ctype_tolower_loc();
    if (lower == classicLower)
        return true;
    return std::memcmp(lower, asciiLower.data(), sizeof(asciiLower)) == 0 &&
           std::memcmp(*__ctype_toupper_loc(), asciiUpper.data(), sizeof(asciiUpper)) == 0;
}
