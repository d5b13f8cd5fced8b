// Helpers of the tests of Stringy.
#pragma once

#include <string>

#include "strings/Stringy.h"

// All bytes, including those after an embedded NUL.
inline std::string Bytes(Stringy const& string) {
    return std::string(static_cast<char const*>(string), string.GetLength());
}

// Only a null string is not equal to itself.
inline bool IsNull(Stringy const& string) {
    return string.GetLength() == 0 && !string.EqualIgnoringCase(string);
}
