// Helpers of the tests of Stringy.
#pragma once

#include "strings/Stringy.h"

// Returns all bytes, including those after an embedded NUL.
inline std::string Bytes(Stringy const& string) {
    return std::string(static_cast<char const*>(string), string.GetLength());
}

// Returns whether the string is null: only then it differs from itself.
inline bool IsNull(Stringy const& string) {
    return string.GetLength() == 0 && !string.EqualIgnoringCase(string);
}
