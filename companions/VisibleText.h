// Bytes from somebody else, made fit to be shown.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// UTF-8 in which each byte that belongs to no well-formed character stands as "\xHH" with two
// hexadecimal digits. A backslash stands as it is, so this is for reading and can't be undone.
std::string MakeReadable(std::string_view bytes);

// The same for a terminal: control characters too stand as escapes ("\t", "\n", "\r", "\xHH",
// "\u009b"), so that nothing can move the cursor or set colours, and so do the characters that turn
// the direction of the text around ("\u202e").
std::string MakeVisible(std::string_view bytes);

// How many columns a terminal needs for UTF-8 without control characters, taken as one column a
// character.
std::size_t CountColumns(std::string_view text);
