// Transcodes between UTF-8, UTF-16 and UTF-32.
//
// The type of the code unit selects the encoding: unsigned char, unsigned short, unsigned int. Byte
// order is the host's.
//
// Deliberate: contrary to the Unicode Standard, section 3.9, some ill-formed sequences are accepted
// or detected late:
// - From UTF-8: overlong sequences are decoded. Four-byte sequences are not checked for their
//   range. Encoded surrogates are accepted for UTF-32 and ill-formed for UTF-16. A wrong lead byte
//   or a missing trailing byte is ill-formed once four bytes are available; before, the sequence is
//   unfinished.
// - From UTF-16: every surrogate, even a low one, starts a pair, which is checked when its second
//   code unit is available.
//
// From UTF-32, surrogates and values of 0x110000 and more are ill-formed, as the standard requires.
#pragma once

#include <cstddef>

namespace Simd {

// The number of code units in the longest sequence.
template <class Unit>
inline constexpr unsigned maxUtfUnits = 4 / sizeof(Unit);

struct UtfProgress {
    std::size_t read = 0;     // in code units of the source
    std::size_t written = 0;  // in code units of the target
    bool isIllFormed = false; // the sequence at `read` is ill-formed
};

// Transcodes sequences until the source is empty, the target has room for fewer than
// maxUtfUnits<To> code units, or the next sequence is unfinished or ill-formed. The target after
// the code units written is unspecified.
//
// Exists for each pair of different code units.
template <class To, class From>
UtfProgress Transcode(From const* from, std::size_t available, To* to, std::size_t room);

// The same result, one sequence at a time: the scalar reference.
template <class To, class From>
UtfProgress TranscodeScalar(From const* from, std::size_t available, To* to, std::size_t room);

} // namespace Simd
