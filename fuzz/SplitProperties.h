// Compares searching and splitting of ConstData, and trimming, with std::string.
#pragma once

#include "data/Ascii.h"
#include "data/ConstData.h"
#include "fuzz/Fuzz.h"

namespace SplitProperties {

using Fuzz::Trimmed;

// Reference of ConstData::Split. If the separator is empty or longer than the text, returns the
// whole text as the only part, trimmed if `trim` is true.
inline std::vector<std::string>
ReferenceSplit(std::string const& text, std::string const& separator, bool trim, bool keepEmpty) {
    auto const shaped = [&](std::string const& piece) {
        return trim ? Trimmed(piece) : piece;
    };
    if (separator.empty() || text.size() < separator.size())
        return {shaped(text)};
    std::vector<std::string> pieces;
    std::size_t from = 0;
    for (bool last = false; !last;) {
        std::size_t const at = text.find(separator, from);
        last = at == std::string::npos;
        std::string const piece = shaped(text.substr(from, last ? at : at - from));
        if (keepEmpty || !piece.empty())
            pieces.push_back(piece);
        from = at + separator.size();
    }
    return pieces;
}

inline void CompareSplit(std::string const& text, std::string const& separator, bool trim,
                         bool keepEmpty) {
    std::vector<std::string> pieces;
    for (ConstData piece : ConstData(text).Split(separator, trim, keepEmpty))
        pieces.push_back(MakeString(piece));
    Require(pieces == ReferenceSplit(text, separator, trim, keepEmpty),
            "Split agrees with the reference");
}

inline void CompareSearch(std::string const& text, std::string const& pattern) {
    ConstData const range(text);
    std::size_t const at = pattern.empty() ? std::string::npos : text.find(pattern);
    Require(range.PositionOf(ConstData(pattern)) == at, "PositionOf agrees with find");
    Require(range.Contains(ConstData(pattern)) == (text.find(pattern) != std::string::npos),
            "Contains agrees with find");
    Require(range.StartsWith(pattern) == text.starts_with(pattern),
            "StartsWith agrees with starts_with");
    Require(range.EndsWith(pattern) == text.ends_with(pattern), "EndsWith agrees with ends_with");
    Require((range < ConstData(pattern)) == (text < pattern), "the order is that of the bytes");
    Require((range == ConstData(pattern)) == (text == pattern), "equal bytes are equal");
}

inline void CompareTrim(std::string const& text) {
    ConstData const range(text);
    ConstData const trimmed = TrimAsciiWhitespace(range);
    Require(MakeString(trimmed) == Trimmed(text), "TrimAsciiWhitespace trims both ends");
    Require(!trimmed.IsEmpty() || trimmed.begin == range.end,
            "text of whitespace is trimmed to its end");
    std::string const leading = MakeString(TrimLeadingAsciiWhitespace(range));
    Require(text.ends_with(leading) && Trimmed(leading) == Trimmed(text) &&
                (leading.empty() || Trimmed(leading.substr(0, 1)) == leading.substr(0, 1)),
            "TrimLeadingAsciiWhitespace trims the start");
}

// Input: a byte of switches, a separator, and the text.
inline void Check(Fuzz::Input input) {
    unsigned int const switches = input.Byte();
    std::string const separator = input.Text();
    std::string const text(input.Rest());
    CompareSplit(text, separator, (switches & 1) != 0, (switches & 2) != 0);
    CompareSearch(text, separator);
    CompareTrim(text);
}

} // namespace SplitProperties
