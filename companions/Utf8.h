// Decodes and validates UTF-8 (RFC 3629).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

struct Character {
    // The number of bytes, 1 to 4; 0 if there is no well-formed sequence.
    std::size_t length = 0;
    std::uint32_t codePoint = 0;
};

// Decodes the code point at the front of the text. Returns a length of 0 if the text is empty, or
// if it starts with an ill-formed sequence: a byte with which no sequence begins, a truncated
// sequence, an overlong encoding, a surrogate, or a value above U+10FFFF.
Character DecodeCharacter(std::string_view text);

bool IsUtf8(std::string_view text);
