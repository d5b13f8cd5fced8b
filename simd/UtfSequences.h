// Reads and writes one sequence of code units in UTF-8, UTF-16 or UTF-32. A transcoding uses the
// reader of one encoding and the writer of another.
//
// The type of the code unit selects the encoding, and some ill-formed sequences are accepted: see
// Utf.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Simd {

// The result of reading a sequence.
//
// Stores the form of the sequence beside the value, because the form determines the output: an
// overlong UTF-8 sequence of four bytes becomes two code units of UTF-16, whatever its value.
struct UtfSequence {
    enum Form : unsigned char {
        unfinished, // more code units are needed than are available
        illFormed,
        basic,         // one code unit of UTF-16, up to three of UTF-8
        supplementary, // two code units of UTF-16, four of UTF-8
    };

    Form form;
    unsigned char length; // in code units of the source
    std::uint32_t value;
};

constexpr bool IsSurrogate(std::uint32_t value) { return (value & 0xFFFFF800) == 0xD800; }
constexpr bool IsHighSurrogate(std::uint32_t unit) { return (unit & 0xFFFFFC00) == 0xD800; }
constexpr bool IsLowSurrogate(std::uint32_t unit) { return (unit & 0xFFFFFC00) == 0xDC00; }

// Read parses a sequence from `available` code units, at least one. With maxUtfUnits<Unit> code
// units, the result is never unfinished. Write takes a complete sequence and a target with room for
// maxUtfUnits<Unit> code units. It returns the end of its output.
template <class Unit>
struct UtfSequences;

template <>
struct UtfSequences<unsigned char> {
    // Compares the bytes as one number. Missing bytes are 0, which is not a trailing byte, so a
    // sequence that matches is complete.
    static constexpr UtfSequence Read(unsigned char const* unit, std::size_t available) {
        std::uint32_t const bytes = FourBytes(unit, available);
        if (bytes < 0x80000000)
            return {UtfSequence::basic, 1, bytes >> 24};
        if ((bytes & 0xE0C00000) == 0xC0800000)
            return {UtfSequence::basic, 2, (bytes >> 18 & 0x7C0) | (bytes >> 16 & 0x3F)};
        if ((bytes & 0xF0C0C000) == 0xE0808000)
            return {UtfSequence::basic, 3,
                    (bytes >> 12 & 0xF000) | (bytes >> 10 & 0xFC0) | (bytes >> 8 & 0x3F)};
        if ((bytes & 0xF8C0C0C0) == 0xF0808080)
            return {UtfSequence::supplementary, 4,
                    (bytes >> 6 & 0x1C0000) | (bytes >> 4 & 0x3F000) | (bytes >> 2 & 0xFC0) |
                        (bytes & 0x3F)};
        if (available < 4)
            return {UtfSequence::unfinished, static_cast<unsigned char>(available), 0};
        return {UtfSequence::illFormed, 4, 0};
    }

    static constexpr unsigned char* Write(unsigned char* target, UtfSequence sequence) {
        std::uint32_t const value = sequence.value;
        if (sequence.form == UtfSequence::supplementary) {
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
struct UtfSequences<unsigned short> {
    // Deliberate: a low surrogate is not rejected before the second code unit is available, because
    // every surrogate starts a pair (Utf.h).
    static constexpr UtfSequence Read(unsigned short const* unit, std::size_t available) {
        std::uint32_t const first = unit[0];
        if (!IsSurrogate(first))
            return {UtfSequence::basic, 1, first};
        if (available < 2)
            return {UtfSequence::unfinished, 1, 0};
        std::uint32_t const second = unit[1];
        if (!IsHighSurrogate(first) || !IsLowSurrogate(second))
            return {UtfSequence::illFormed, 2, 0};
        std::uint32_t const value = ((first & 0x3FF) << 10 | (second & 0x3FF)) + 0x10000;
        return {UtfSequence::supplementary, 2, value};
    }

    // Deliberate: the arithmetic truncates to 16 bits, because the range of four-byte sequences of
    // UTF-8 is not checked (Utf.h).
    static constexpr unsigned short* Write(unsigned short* target, UtfSequence sequence) {
        std::uint32_t const value = sequence.value;
        if (sequence.form == UtfSequence::supplementary) {
            *target++ = static_cast<unsigned short>(((value >> 10) - 0x40) | 0xD800);
            *target++ = static_cast<unsigned short>((value & 0x3FF) | 0xDC00);
        } else {
            *target++ = static_cast<unsigned short>(value);
        }
        return target;
    }
};

template <>
struct UtfSequences<unsigned int> {
    static constexpr UtfSequence Read(unsigned int const* unit, std::size_t) {
        std::uint32_t const value = unit[0];
        if (value < 0x10000 && !IsSurrogate(value))
            return {UtfSequence::basic, 1, value};
        if (value >= 0x10000 && value < 0x110000)
            return {UtfSequence::supplementary, 1, value};
        return {UtfSequence::illFormed, 1, 0};
    }

    static constexpr unsigned int* Write(unsigned int* target, UtfSequence sequence) {
        *target++ = sequence.value;
        return target;
    }
};

// Reads a sequence to be written as `To`. A surrogate encoded in three bytes of UTF-8 is ill-formed
// for UTF-16, which cannot represent it, but not for UTF-32.
template <class To, class From>
constexpr UtfSequence ReadUtfSequence(From const* unit, std::size_t available) {
    UtfSequence sequence = UtfSequences<From>::Read(unit, available);
    if constexpr (std::is_same_v<From, unsigned char> && std::is_same_v<To, unsigned short>)
        if (sequence.length == 3 && sequence.form == UtfSequence::basic &&
            IsSurrogate(sequence.value))
            sequence.form = UtfSequence::illFormed;
    return sequence;
}

} // namespace Simd
