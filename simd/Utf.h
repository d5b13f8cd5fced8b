// Transcodes between UTF-8, UTF-16 and UTF-32.
//
// The type of the code unit selects the encoding: unsigned char, unsigned short, unsigned int. Byte
// order is the host's.
//
// Deliberate: besides well-formed text, some ill-formed sequences are accepted, contrary to the
// Unicode Standard, chapter 3.9:
// - From UTF-8: overlong sequences are decoded. Four-byte sequences are not checked for their
//   range. Encoded surrogates are ill-formed for UTF-16 and accepted for UTF-32. A sequence that is
//   not complete is unfinished until four bytes are available; then it is ill-formed.
// - From UTF-16: a surrogate of either kind starts a pair, which is checked when its second code
//   unit is available.
// - From UTF-32: surrogates and values of 0x110000 and more are ill-formed.
#pragma once

#include <cstddef>

namespace Simd {

// The number of code units in the longest sequence.
template <class Unit>
inline constexpr unsigned maxUtfUnits = 4 / sizeof(Unit);

struct UtfProgress {
    std::size_t read = 0;
    std::size_t written = 0;
    bool isIllFormed = false; // the sequence after the bytes read is ill-formed
};

// Transcodes sequences until the source is empty, the target has room for fewer than
// maxUtfUnits<To> code units, or the next sequence is unfinished or ill-formed. The target after
// the code units written is unspecified.
//
// Exists for each pair of different code units.
template <class To, class From>
UtfProgress Transcode(From const* from, std::size_t available, To* to, std::size_t room);

// The same, one sequence at a time.
template <class To, class From>
UtfProgress TranscodeScalar(From const* from, std::size_t available, To* to, std::size_t room);

} // namespace Simd
