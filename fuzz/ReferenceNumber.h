// Reference implementation of strtoll(3) and strtoull(3) for base 10: whitespace, a sign, digits up
// to the first other byte, saturated at 64 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace ReferenceNumber {

__extension__ using Wide = __int128;

// Returns the number at the start of the text, or 0 if there is none.
inline Wide Read(std::string_view text) {
    std::size_t at = text.find_first_not_of(" \t\n\v\f\r");
    bool const negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+'))
        ++at;
    Wide value = 0;
    // Greater values are saturated anyway.
    constexpr Wide enough = Wide{1} << 72;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        if (value < enough)
            value = value * 10 + (text[at] - '0');
    return negative ? -value : value;
}

inline std::int64_t Signed(std::string_view text) {
    constexpr Wide least = std::numeric_limits<std::int64_t>::min();
    constexpr Wide most = std::numeric_limits<std::int64_t>::max();
    Wide const value = Read(text);
    return static_cast<std::int64_t>(value < least ? least : value > most ? most : value);
}

// Negates in unsigned arithmetic, like strtoull(3). Returns the maximum if the magnitude is out of
// range.
inline std::uint64_t Unsigned(std::string_view text) {
    constexpr Wide most = std::numeric_limits<std::uint64_t>::max();
    Wide const value = Read(text);
    if (value > most || value < -most)
        return static_cast<std::uint64_t>(most);
    return static_cast<std::uint64_t>(value);
}

} // namespace ReferenceNumber
