// Text from other programs, with escapes for bytes that are unsafe to display.
#pragma once

#include <string>
#include <string_view>

// Returns UTF-8 with each byte that belongs to no well-formed character escaped as "\xHH". A
// backslash is not escaped, so the original can't be restored.
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
