// Bytes from somebody else, made fit to be shown.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// UTF-8 in which each byte that belongs to no well-formed character stands as "\xHH" with two
// hexadecimal digits. A backslash stands as it is, so this is for reading and can't be undone.
std::string MakeReadable(std::string_view bytes);

// The characters that the reader's terminal can display.
enum class CharacterSet { ascii, unicode };

// The same for a terminal, with more escapes:
//
// - ASCII control characters: "\t", "\n", "\r", and "\xHH" for the others;
// - the hidden characters of Unicode (HiddenCharacters.h: controls, format characters such as those
//   of direction and zero width, fillers, tags): "\uHHHH", above U+FFFF "\UHHHHHHHH";
// - with CharacterSet::ascii every other character beyond ASCII, in the same form. On a terminal
//   that does not use UTF-8 the bytes of a harmless character can be a control sequence.
std::string MakeVisible(std::string_view bytes, CharacterSet characters = CharacterSet::unicode);

// How many columns a terminal needs for UTF-8 without control characters, taken as one column a
// character.
std::size_t CountColumns(std::string_view text);
