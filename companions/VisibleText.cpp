#include "companions/VisibleText.h"

#include <algorithm>
#include <cstdint>

#include "companions/HiddenCharacters.h"
#include "companions/Utf8.h"

namespace {

constexpr char digits[] = "0123456789abcdef";

void AppendHexByte(std::string& text, char byte) {
    auto const value = static_cast<unsigned char>(byte);
    text += "\\x";
    text += digits[value >> 4];
    text += digits[value & 15];
}

void AppendCodePoint(std::string& text, std::uint32_t value) {
    bool const isShort = value <= 0xFFFF;
    text += isShort ? "\\u" : "\\U";
    for (int shift = isShort ? 12 : 28; shift >= 0; shift -= 4)
        text += digits[value >> shift & 15];
}

bool IsHidden(std::uint32_t value) {
    auto const range = std::ranges::lower_bound(hiddenCharacters, value, {}, &CodePointRange::last);
    return range != hiddenCharacters.end() && range->first <= value;
}

void AppendControl(std::string& text, char control) {
    switch (control) {
    case '\t':
        text += "\\t";
        break;
    case '\n':
        text += "\\n";
        break;
    case '\r':
        text += "\\r";
        break;
    default:
        AppendHexByte(text, control);
    }
}

void AppendVisible(std::string& text, std::string_view bytes, std::uint32_t codePoint,
                   CharacterSet characters) {
    bool const isAscii = codePoint < 0x80;
    if (codePoint < 0x20 || codePoint == 0x7F)
        AppendControl(text, bytes.front());
    else if (!isAscii && (characters == CharacterSet::ascii || IsHidden(codePoint)))
        AppendCodePoint(text, codePoint);
    else
        text += bytes;
}

// Calls `append(text, bytes, codePoint)` for each well-formed sequence, and appends an escape for
// each other byte.
template <typename Append>
std::string MakeText(std::string_view bytes, Append const& append) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        Character const character = DecodeCharacter(bytes);
        if (character.length == 0)
            AppendHexByte(text, bytes.front());
        else
            append(text, bytes.substr(0, character.length), character.codePoint);
        bytes.remove_prefix(std::max<std::size_t>(1, character.length));
    }
    return text;
}

} // namespace

std::string MakeReadable(std::string_view bytes) {
    return MakeText(bytes, [](std::string& text, std::string_view character, std::uint32_t) {
        text += character;
    });
}

std::string MakeVisible(std::string_view bytes, CharacterSet characters) {
    return MakeText(bytes, [characters](std::string& text, std::string_view character,
                                        std::uint32_t codePoint) {
        AppendVisible(text, character, codePoint, characters);
    });
}
