// Read-only bytes: a view with searching and comparing, and a short owner.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "data/ArrayOf.h"
#include "data/DebuggableException.h"

class Data;

// A view of bytes. It owns nothing and is passed by value: the caller keeps the bytes alive while
// the view is used. Only operations that return a std::vector or a std::string allocate.
class ConstData : public ConstArrayOf<unsigned char> {
public:
    using ConstArrayOf<unsigned char>::ConstArrayOf;

    // The first overload takes a NUL-terminated string, without its NUL. The range ends at the
    // first NUL, even in a string literal; operator""_bytes below keeps embedded NULs.
    // REQUIRES: `text` is not null.
    ConstData(char const* text) : ConstData(text, std::strlen(text)) {}
    ConstData(char const* first, char const* last) : ConstArrayOf(Bytes(first), Bytes(last)) {}
    template <std::integral Count>
    ConstData(char const* first, Count length) : ConstArrayOf(Bytes(first), length) {}
    ConstData(std::string const& text) : ConstData(text.data(), text.size()) {}
    ConstData(std::string_view text) : ConstData(text.data(), text.size()) {}

    // Returns a view of the same bytes for the standard library.
    std::string_view View() const { return {reinterpret_cast<char const*>(begin), Length()}; }

    // PositionOf returns this if nothing is found.
    static constexpr std::uint64_t notFound = ~std::uint64_t{0};

    // Deliberate: every range contains the empty pattern, although PositionOf does not find it. The
    // empty pattern matches at every position, so none of them is its position.
    bool Contains(unsigned char byte) const;
    bool Contains(ConstData pattern) const;

    // Returns the offset of the first match, or `notFound`; always `notFound` for an empty pattern.
    std::uint64_t PositionOf(unsigned char byte) const;
    std::uint64_t PositionOf(ConstData pattern) const;

    // Returns the offsets of all matches in ascending order. Matches do not overlap: the search
    // continues after each match. An empty pattern has no matches.
    std::vector<unsigned long> PositionsOf(ConstData pattern) const;

    // True for an empty pattern.
    bool StartsWith(ConstData pattern) const;
    bool EndsWith(ConstData pattern) const;

    // Returns the parts between the matches of `separator`, as views of the same bytes. With
    // `trim`, each part loses its leading and trailing whitespace (see TrimAsciiWhitespace in
    // Ascii.h). Without `keepEmpty`, empty parts are dropped. The separators are found before the
    // parts are trimmed. Defined in Ascii.cpp.
    //
    // If `separator` is empty or longer than the range, the result has one part: the whole range,
    // trimmed if `trim` is true, even if it is empty.
    std::vector<ConstData> Split(ConstData separator, bool trim, bool keepEmpty) const;

    // Copies from the start until the source is empty or the target is full. Returns the bytes of
    // the source that were not copied. The ranges may overlap. Defined in Buffer.cpp.
    ConstData operator>>(Data target) const;

private:
    static unsigned char const* Bytes(char const* text) {
        return reinterpret_cast<unsigned char const*>(text);
    }
};

// Compare the bytes, as unsigned values. A range that is a prefix of a longer one is less.
bool operator==(ConstData const& left, ConstData const& right);
bool operator<(ConstData const& left, ConstData const& right);

// Return the difference of the first unequal bytes, `left` minus `right`. If there are none in the
// common length: -1 if `left` is shorter, 1 if it is longer, 0 if the lengths are equal.
// CompareReversed compares from the last byte to the first.
std::int32_t Compare(ConstData left, ConstData right);
std::int32_t CompareReversed(ConstData left, ConstData right);

// Returns a copy of the bytes; the empty string for a null range.
std::string MakeString(ConstData data);

// The characters of a string literal as bytes, in a form that a template parameter can have.
template <std::size_t size>
struct ByteLiteral {
    consteval ByteLiteral(char const (&text)[size]) {
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<unsigned char>(text[i]);
    }

    unsigned char bytes[size] = {};
};

// Returns the bytes of a literal, including embedded NULs, without the terminating NUL:
// "a\0b"_bytes has three bytes. A constant expression; the bytes are in static storage.
template <ByteLiteral literal>
constexpr ConstData operator""_bytes() {
    return ConstData(literal.bytes, sizeof(literal.bytes) - 1);
}

class ConstDataCapacityExceeded : public DebuggableException {};

// A short string inside the object: up to `capacity` bytes, and a NUL that `length` does not count.
template <std::size_t capacity>
class ConstDataWithCapacity {
public:
    // Empty; the bytes after the NUL are not initialized. A caller that fills the object in place
    // sets `length`, and writes the bytes and the NUL.
    ConstDataWithCapacity() : length(0) { bytes[0] = 0; }

    // Throws ConstDataCapacityExceeded if `text` is longer than `capacity`.
    ConstDataWithCapacity(ConstData text) : length(text.Length()) {
        if (length > capacity)
            throw ConstDataCapacityExceeded();
        if (length != 0)
            std::memcpy(bytes, text.begin, length);
        bytes[length] = 0;
    }

    operator ConstData() const { return ConstData(bytes, length); }

    // NUL-terminated; valid as long as the object.
    char const* Text() const { return reinterpret_cast<char const*>(bytes); }

    std::uint64_t length;
    unsigned char bytes[capacity + 1];
};
