// A view of text that is known to be plain ASCII.
#pragma once

// Owns nothing. Only a Numeral makes one (see data/Numeral.h): its text lies in the Numeral, and
// lives as long.
class USAsciiString {
public:
    char const* begin = nullptr; // The text, half open.
    char const* end = nullptr;
    bool nullTerminated = false; // A NUL is known to stand at `end`.
};
