#include "companions/VisibleText.h"

#include <algorithm>
#include <cstdint>

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
    text += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        text += digits[value >> shift & 15];
}

// Of a character of two or three bytes; longer ones have no number that is asked for here.
std::uint32_t CodePoint(std::string_view character) {
    auto const at = [&](std::size_t index) -> std::uint32_t {
        return static_cast<unsigned char>(character[index]);
    };
    if (character.size() == 2)
        return (at(0) & 0x1F) << 6 | (at(1) & 0x3F);
    if (character.size() == 3)
        return (at(0) & 0x0F) << 12 | (at(1) & 0x3F) << 6 | (at(2) & 0x3F);
    return 0;
}

// The second range of control characters, and the marks, embeddings and isolates of direction.
bool IsHidden(std::uint32_t value) {
    return (value >= 0x80 && value <= 0x9F) || value == 0x61C || value == 0x200E ||
           value == 0x200F || value == 0x2028 || value == 0x2029 ||
           (value >= 0x202A && value <= 0x202E) || (value >= 0x2066 && value <= 0x2069);
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

void AppendVisible(std::string& text, std::string_view character) {
    auto const first = static_cast<unsigned char>(character.front());
    if (first < 0x20 || first == 0x7F)
        AppendControl(text, character.front());
    else if (std::uint32_t const value = CodePoint(character); IsHidden(value))
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

std::string MakeVisible(std::string_view bytes) { return MakeText(bytes, AppendVisible); }

std::size_t CountColumns(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}
