// A set of byte values, for scanners that test byte after byte.
//
// A set is 256 bits, so a test is one indexed load and a bit test, and a scanner can keep a pointer
// to the set it looks for. Sets are built as constant expressions and never change.
#pragma once

struct AsciiSet {
    // The bytes from `first` to `last`, both included.
    static constexpr AsciiSet Span(unsigned char first, unsigned char last) {
        AsciiSet set{};
        for (unsigned byte = first; byte <= last; ++byte)
            set.words[byte / 32] |= 1u << byte % 32;
        return set;
    }

    static constexpr AsciiSet Only(unsigned char byte) { return Span(byte, byte); }

    constexpr bool Contains(unsigned char byte) const {
        return (words[byte / 32] >> byte % 32 & 1u) != 0;
    }

    constexpr bool operator[](unsigned char byte) const { return Contains(byte); }

    constexpr AsciiSet operator|(AsciiSet const& other) const {
        AsciiSet set{};
        for (unsigned i = 0; i < 8; ++i)
            set.words[i] = words[i] | other.words[i];
        return set;
    }

    constexpr AsciiSet operator~() const {
        AsciiSet set{};
        for (unsigned i = 0; i < 8; ++i)
            set.words[i] = ~words[i];
        return set;
    }

    // Byte c is a member if bit c % 32 of word c / 32 is set.
    unsigned int words[8];
};
