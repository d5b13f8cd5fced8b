// The number at the start of a text, as the C library reads it: white space, a sign, digits up to
// the first other byte, held at the limits of 64 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace PlainNumber {

__extension__ using Wide = __int128;

// 0 where there is none.
inline Wide Read(std::string_view text) {
    std::size_t at = text.find_first_not_of(" \t\n\v\f\r");
    bool const negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+'))
        ++at;
    Wide value = 0;
    // Beyond 64 bits it does not matter by how much.
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

// A negative number counts up from the top, but for one whose digits are too many.
inline std::uint64_t Unsigned(std::string_view text) {
    constexpr Wide most = std::numeric_limits<std::uint64_t>::max();
    Wide const value = Read(text);
    if (value > most || value < -most)
        return static_cast<std::uint64_t>(most);
    return static_cast<std::uint64_t>(value);
}

} // namespace PlainNumber
