// Byte-wise reference implementation of ASCII case mapping and case-insensitive comparison.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ReferenceCase {

inline unsigned char Lower(char byte) {
    bool const isUpper = byte >= 'A' && byte <= 'Z';
    return static_cast<unsigned char>(isUpper ? byte - 'A' + 'a' : byte);
}

inline unsigned char Upper(char byte) {
    bool const isLower = byte >= 'a' && byte <= 'z';
    return static_cast<unsigned char>(isLower ? byte - 'a' + 'A' : byte);
}

inline std::string Lowered(std::string text) {
    for (char& byte : text)
        byte = static_cast<char>(Lower(byte));
    return text;
}

inline std::string Raised(std::string text) {
    for (char& byte : text)
        byte = static_cast<char>(Upper(byte));
    return text;
}

inline int Sign(int number) { return (number > 0) - (number < 0); }

// Returns the difference of the first mapped bytes that are not equal; if there are none, the order
// of the lengths: -1, 0 or 1.
template <class Map>
std::int32_t Compare(std::string_view left, std::string_view right, Map map) {
    for (std::size_t at = 0; at < left.size() && at < right.size(); ++at)
        if (map(left[at]) != map(right[at]))
            return map(left[at]) - map(right[at]);
    return static_cast<int>(left.size() > right.size()) -
           static_cast<int>(left.size() < right.size());
}

} // namespace ReferenceCase
