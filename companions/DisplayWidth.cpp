#include "companions/DisplayWidth.h"

#include <wchar.h>

#include "companions/Output.h"
#include "companions/Utf8.h"

namespace {

locale_t NewLocale() {
    bool const isUtf8 = CharacterSetOfLocale() == CharacterSet::unicode;
    return newlocale(LC_CTYPE_MASK, isUtf8 ? "" : "C.UTF-8", nullptr);
}

struct Glyph {
    std::size_t bytes;
    std::size_t columns;
};

Glyph FirstGlyph(std::string_view text) {
    Character const character = DecodeCharacter(text);
    if (character.length < 2)
        return {1, 1};
    int const columns = wcwidth(static_cast<wchar_t>(character.codePoint));
    return {character.length, columns < 0 ? 1 : static_cast<std::size_t>(columns)};
}

} // namespace

// uselocale(3) does not change the locale of the thread for a null argument.
WidthLocale::WidthLocale() : own(NewLocale()), former(uselocale(own)) {}

WidthLocale::~WidthLocale() {
    uselocale(former);
    if (own != nullptr) // GCOVR_EXCL_BR_LINE: the tests run on systems with C.UTF-8
        freelocale(own);
}

std::size_t DisplayWidth(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        Glyph const glyph = FirstGlyph(text);
        columns += glyph.columns;
        text.remove_prefix(glyph.bytes);
    }
    return columns;
}

std::size_t PrefixWithin(std::string_view text, std::size_t width) {
    std::size_t bytes = 0;
    std::size_t columns = 0;
    while (bytes < text.size()) {
        Glyph const glyph = FirstGlyph(text.substr(bytes));
        columns += glyph.columns;
        if (columns > width && bytes > 0)
            break;
        bytes += glyph.bytes;
    }
    return bytes;
}
