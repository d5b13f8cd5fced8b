// Escapes text from untrusted sources: for data (MakeReadable), and for display (MakeVisible).
#pragma once

#include <string>
#include <string_view>

// Returns "readable text": each byte of an ill-formed UTF-8 sequence is replaced by "\xHH".
// Backslashes are not escaped, so the original cannot be restored. Control characters are kept: do
// not write readable text to a terminal.
std::string MakeReadable(std::string_view bytes);

// The characters that a terminal can display.
enum class CharacterSet { ascii, unicode };

// Returns "visible text": readable text in which these characters are escaped, too:
//
// - ASCII control characters as "\t", "\n", "\r" or "\xHH";
// - characters that a terminal might not display (HiddenCharacters.h), such as bidirectional and
//   zero-width format characters, as "\uHHHH", above U+FFFF as "\UHHHHHHHH";
// - with CharacterSet::ascii, all other non-ASCII characters in the same way. On a terminal that
//   does not use UTF-8, their bytes could be a control sequence.
std::string MakeVisible(std::string_view bytes, CharacterSet characters = CharacterSet::unicode);
