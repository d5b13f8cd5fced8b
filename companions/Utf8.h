// UTF-8 (RFC 3629) in bytes that may be ill-formed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

struct Character {
    // In bytes, 1 to 4; 0 if there is no well-formed character.
    std::size_t length = 0;
    std::uint32_t codePoint = 0;
};

// Decodes the character at the front of the text. There is none at the end of the text, and where
// the bytes are ill-formed: a stray continuation byte, a truncated sequence, an overlong form, a
// surrogate, a value above U+10FFFF.
Character DecodeCharacter(std::string_view text);

bool IsUtf8(std::string_view text);
