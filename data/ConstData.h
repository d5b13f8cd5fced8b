// A read-only range of bytes, with searching and comparing.
//
// It owns nothing and is passed by value: the caller keeps the bytes alive for as long as the view
// is used. Nothing here allocates, but what returns a std::vector or a std::string.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "data/ArrayOf.h"

class Data;

class ConstData : public ConstArrayOf<unsigned char> {
public:
    using ConstArrayOf<unsigned char>::ConstArrayOf;

    // The pointers to `char` are here for the texts of the language: the first form takes a
    // NUL-terminated text, without its NUL. REQUIRES: `text` is not null.
    // (For a constant expression, see operator""_bytes below.)
    ConstData(char const* text) : ConstData(text, std::strlen(text)) {}
    ConstData(char const* first, char const* last) : ConstArrayOf(Bytes(first), Bytes(last)) {}
    template <std::integral Count>
    ConstData(char const* first, Count length) : ConstArrayOf(Bytes(first), length) {}
    ConstData(std::string const& text) : ConstData(text.data(), text.size()) {}
    ConstData(std::string_view text) : ConstData(text.data(), text.size()) {}

    // The same bytes for functions of the standard library.
    std::string_view View() const { return {reinterpret_cast<char const*>(begin), Length()}; }

    // What the PositionOf operations yield if nothing is found.
    static constexpr std::uint64_t notFound = ~std::uint64_t{0};

    // Deliberate: the empty pattern is contained everywhere, but has no position.
    bool Contains(unsigned char byte) const;
    bool Contains(ConstData pattern) const;

    // The offset of the first occurrence, or `notFound`; always `notFound` for an empty pattern.
    std::uint64_t PositionOf(unsigned char byte) const;
    std::uint64_t PositionOf(ConstData pattern) const;

    // The offsets of all occurrences that do not overlap, in rising order: after a match the search
    // goes on behind it. None for an empty pattern.
    std::vector<unsigned long> PositionsOf(ConstData pattern) const;

    // True for an empty pattern.
    bool StartsWith(ConstData pattern) const;
    bool EndsWith(ConstData pattern) const;

    // The pieces between the occurrences of `separator`, as views of the same bytes, without their
    // white space if `trim` is set (see AsciiTrim.h), and without the empty ones unless `keepEmpty`
    // is. The occurrences are those of PositionsOf, so they are found before anything is trimmed.
    //
    // Deliberate: without a separator, or with one that is longer than the range, the whole range
    // is the one piece, even if it is empty.
    std::vector<ConstData> Split(ConstData separator, bool trim, bool keepEmpty) const;

    // Copies as many bytes as both sides hold, from the start of each. Yields what is left of the
    // source; how far the target got is for the caller to reckon.
    ConstData operator>>(Data target) const;

private:
    static unsigned char const* Bytes(char const* text) {
        return reinterpret_cast<unsigned char const*>(text);
    }
};

// By value of the bytes: two empty ranges are equal, whatever they point at. The order is that of
// unsigned bytes; where one range is a prefix of the other, the shorter is less.
bool operator==(ConstData const& left, ConstData const& right);
bool operator<(ConstData const& left, ConstData const& right);

// The difference of the first unequal bytes, first minus second. Without one in the common length:
// -1 if the first range is shorter, 1 if it is longer, 0 if they are equal. The second form walks
// both ranges from their last byte to their first.
std::int32_t Compare(ConstData left, ConstData right);
std::int32_t CompareReversed(ConstData left, ConstData right);

// A copy of the bytes; empty for a null range.
std::string MakeString(ConstData data);

// The characters of a literal, as bytes that a template parameter can carry.
template <std::size_t size>
struct ByteLiteral {
    consteval ByteLiteral(char const (&text)[size]) {
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<unsigned char>(text[i]);
    }

    unsigned char bytes[size] = {};
};

// The bytes of a literal, its inner NULs too, without the NUL behind them: "a\0b"_bytes has three.
// A constant expression over static storage, unlike the view of a `char const*`.
template <ByteLiteral literal>
constexpr ConstData operator""_bytes() {
    return ConstData(literal.bytes, sizeof(literal.bytes) - 1);
}
