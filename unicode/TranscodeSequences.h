// The three Unicode encodings, each as a reader and a writer of one sequence: a pair of encodings
// is a combination of the one's reader and the other's writer.
//
// For the sources of this folder only.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

#include "unicode/Encodings.h"

// The character of a sequence, or what its units say if they are not well-formed.
//
// What is well-formed for one encoding can be none for another, so the form of the source goes
// along with the value: an overlong UTF-8 sequence of four bytes becomes two units of UTF-16,
// whatever it says.
struct ReadSequence {
    enum Form : unsigned char {
        Unfinished, // All units that there are belong to it, and one more is needed.
        Invalid,
        Basic,         // In UTF-16 one unit, in UTF-8 up to three.
        Supplementary, // In UTF-16 a pair, in UTF-8 four.
    };

    Form form;
    unsigned char length; // In units of the source.
    std::uint32_t value;
};

constexpr bool IsSurrogate(std::uint32_t value) { return (value & 0xFFFFF800) == 0xD800; }
constexpr bool IsHighSurrogate(std::uint32_t unit) { return (unit & 0xFFFFFC00) == 0xD800; }
constexpr bool IsLowSurrogate(std::uint32_t unit) { return (unit & 0xFFFFFC00) == 0xDC00; }

// `longest`: the units of the longest sequence. Read looks at the `available` units from `unit` on,
// at least one; if there are `longest` it never comes back unfinished. Write takes a sequence that
// has been read whole, whose target has room for `longest` units, and yields the place behind it.
template <class E>
struct Sequences;

template <>
struct Sequences<UTF8> {
    static constexpr unsigned longest = 4;

    // The bytes are looked at as one number: those that are not there are 0, which no trailing byte
    // is, so a sequence that matches is there as a whole.
    static constexpr ReadSequence Read(unsigned char const* unit, std::size_t available) {
        std::uint32_t const bytes = FourBytes(unit, available);
        if (bytes < 0x80000000)
            return {ReadSequence::Basic, 1, bytes >> 24};
        if ((bytes & 0xE0C00000) == 0xC0800000)
            return {ReadSequence::Basic, 2, (bytes >> 18 & 0x7C0) | (bytes >> 16 & 0x3F)};
        if ((bytes & 0xF0C0C000) == 0xE0808000)
            return {ReadSequence::Basic, 3,
                    (bytes >> 12 & 0xF000) | (bytes >> 10 & 0xFC0) | (bytes >> 8 & 0x3F)};
        if ((bytes & 0xF8C0C0C0) == 0xF0808080)
            return {ReadSequence::Supplementary, 4,
                    (bytes >> 6 & 0x1C0000) | (bytes >> 4 & 0x3F000) | (bytes >> 2 & 0xFC0) |
                        (bytes & 0x3F)};
        if (available < 4)
            return {ReadSequence::Unfinished, static_cast<unsigned char>(available), 0};
        return {ReadSequence::Invalid, 4, 0};
    }

    static constexpr unsigned char* Write(unsigned char* target, ReadSequence sequence) {
        std::uint32_t const value = sequence.value;
        if (sequence.form == ReadSequence::Supplementary) {
            *target++ = Byte(0xF0 | value >> 18);
            *target++ = Byte(0x80 | (value >> 12 & 0x3F));
            *target++ = Byte(0x80 | (value >> 6 & 0x3F));
            *target++ = Byte(0x80 | (value & 0x3F));
        } else if (value < 0x80) {
            *target++ = Byte(value);
        } else if (value < 0x800) {
            *target++ = Byte(0xC0 | value >> 6);
            *target++ = Byte(0x80 | (value & 0x3F));
        } else {
            *target++ = Byte(0xE0 | value >> 12);
            *target++ = Byte(0x80 | (value >> 6 & 0x3F));
            *target++ = Byte(0x80 | (value & 0x3F));
        }
        return target;
    }

private:
    static constexpr std::uint32_t FourBytes(unsigned char const* unit, std::size_t available) {
        std::uint32_t bytes = std::uint32_t{unit[0]} << 24;
        if (available > 1)
            bytes |= std::uint32_t{unit[1]} << 16;
        if (available > 2)
            bytes |= std::uint32_t{unit[2]} << 8;
        if (available > 3)
            bytes |= unit[3];
        return bytes;
    }

    static constexpr unsigned char Byte(std::uint32_t value) {
        return static_cast<unsigned char>(value);
    }
};

template <>
struct Sequences<UTF16> {
    static constexpr unsigned longest = 2;

    // A low surrogate begins a pair too, which is found wrong with the next unit.
    static constexpr ReadSequence Read(unsigned short const* unit, std::size_t available) {
        std::uint32_t const first = unit[0];
        if (!IsSurrogate(first))
            return {ReadSequence::Basic, 1, first};
        if (available < 2)
            return {ReadSequence::Unfinished, 1, 0};
        std::uint32_t const second = unit[1];
        if (!IsHighSurrogate(first) || !IsLowSurrogate(second))
            return {ReadSequence::Invalid, 2, 0};
        std::uint32_t const value = ((first & 0x3FF) << 10 | (second & 0x3FF)) + 0x10000;
        return {ReadSequence::Supplementary, 2, value};
    }

    // The pair is taken in 16 bits: a value outside of 0x10000 to 0x10FFFF gives two units that are
    // no proper pair.
    static constexpr unsigned short* Write(unsigned short* target, ReadSequence sequence) {
        std::uint32_t const value = sequence.value;
        if (sequence.form == ReadSequence::Supplementary) {
            *target++ = static_cast<unsigned short>(((value >> 10) - 0x40) | 0xD800);
            *target++ = static_cast<unsigned short>((value & 0x3FF) | 0xDC00);
        } else {
            *target++ = static_cast<unsigned short>(value);
        }
        return target;
    }
};

template <>
struct Sequences<UTF32> {
    static constexpr unsigned longest = 1;

    static constexpr ReadSequence Read(unsigned int const* unit, std::size_t) {
        std::uint32_t const value = unit[0];
        if (value < 0x10000 && !IsSurrogate(value))
            return {ReadSequence::Basic, 1, value};
        if (value >= 0x10000 && value < 0x110000)
            return {ReadSequence::Supplementary, 1, value};
        return {ReadSequence::Invalid, 1, 0};
    }

    static constexpr unsigned int* Write(unsigned int* target, ReadSequence sequence) {
        *target++ = sequence.value;
        return target;
    }
};

// Reads a sequence that is to be written as `Target`. UTF-16 cannot hold a surrogate that UTF-8 has
// encoded, so here it is invalid; to UTF-32 it passes.
template <class Target, class Source>
constexpr ReadSequence ReadFor(typename Source::Unit const* unit, std::size_t available) {
    ReadSequence sequence = Sequences<Source>::Read(unit, available);
    if constexpr (std::same_as<Source, UTF8> && std::same_as<Target, UTF16>)
        if (sequence.length == 3 && sequence.form == ReadSequence::Basic &&
            IsSurrogate(sequence.value))
            sequence.form = ReadSequence::Invalid;
    return sequence;
}
