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

// REQUIRES: a well-formed character of at least two bytes.
std::uint32_t CodePoint(std::string_view character) {
    // The lead byte has as many leading ones as there are bytes, then a zero.
    std::uint32_t value = static_cast<unsigned char>(character[0]) & (0x7FU >> character.size());
    for (char const byte : character.substr(1))
        value = value << 6 | (static_cast<unsigned char>(byte) & 0x3F);
    return value;
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

void AppendVisible(std::string& text, std::string_view character, CharacterSet characters) {
    auto const first = static_cast<unsigned char>(character.front());
    if (first < 0x20 || first == 0x7F)
        return AppendControl(text, character.front());
    std::uint32_t const value = character.size() == 1 ? first : CodePoint(character);
    if (first >= 0x80 && (characters == CharacterSet::ascii || IsHidden(value)))
        AppendCodePoint(text, value);
    else
        text += character;
}

// Hands each well-formed character on, and writes the bytes between them as escapes.
template <typename Append>
std::string MakeText(std::string_view bytes, Append const& append) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        std::size_t const length = LengthOfCharacter(bytes);
        if (length == 0)
            AppendHexByte(text, bytes.front());
        else
            append(text, bytes.substr(0, length));
        bytes.remove_prefix(std::max<std::size_t>(1, length));
    }
    return text;
}

} // namespace

std::string MakeReadable(std::string_view bytes) {
    return MakeText(bytes,
                    [](std::string& text, std::string_view character) { text += character; });
}

std::string MakeVisible(std::string_view bytes, CharacterSet characters) {
    return MakeText(bytes, [characters](std::string& text, std::string_view character) {
        AppendVisible(text, character, characters);
    });
}

std::size_t CountColumns(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}
