// UTF-8 (RFC 3629) in bytes that may be anything.
#pragma once

#include <cstddef>
#include <string_view>

// The length of the well-formed character at the front of the text, 1 to 4; 0 if there is none: at
// the end of the text, and where its first byte begins no character (a byte out of place, a
// character that breaks off, an overlong form, a surrogate, a value above U+10FFFF).
std::size_t LengthOfCharacter(std::string_view text);

bool IsUtf8(std::string_view text);
