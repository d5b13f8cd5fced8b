// Transcoding between UTF-8, UTF-16 and UTF-32.
//
// An encoding is named by its code unit: unsigned char, unsigned short, unsigned int. Byte order is
// that of the host.
//
// What is accepted besides well-formed text is fixed, and differs from the Unicode Standard
// (chapter 3.9):
// - From UTF-8, overlong forms are read as their value. Sequences of four bytes are not tested for
//   their range. Encoded surrogates are ill-formed for UTF-16, and accepted for UTF-32. A sequence
//   is judged when four bytes are available: until then it is unfinished, unless it is whole.
// - From UTF-16, a surrogate of either kind begins a pair, which is judged with its second unit.
// - From UTF-32, surrogates and values of 0x110000 and more are ill-formed.
#pragma once

#include <cstddef>

namespace Simd {

// The units of the longest sequence.
template <class Unit>
inline constexpr unsigned maxUtfUnits = 4 / sizeof(Unit);

struct UtfProgress {
    std::size_t read = 0;
    std::size_t written = 0;
    bool isIllFormed = false; // the sequence after what was read is ill-formed
};

// Transcodes sequences until the source is used up, the target has room for fewer than
// maxUtfUnits<To> units, or the next sequence is unfinished or ill-formed. Units of the target
// after the written ones are unspecified.
//
// Exists for each pair of different units.
template <class To, class From>
UtfProgress Transcode(From const* from, std::size_t available, To* to, std::size_t room);

// The same, one sequence at a time.
template <class To, class From>
UtfProgress TranscodeScalar(From const* from, std::size_t available, To* to, std::size_t room);

} // namespace Simd
