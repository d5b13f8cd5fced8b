// Transcodes between UTF-8, UTF-16 and UTF-32.
//
// The type of the code unit selects the encoding: unsigned char, unsigned short, unsigned int. The
// byte order is that of the host.
//
// Deliberate: contrary to the Unicode Standard, section 3.9, some ill-formed sequences are accepted
// or detected late. Stricter rules would reject file names and texts that callers such as
// files/EncodedNames.h accept.
// - Overlong sequences of UTF-8 are decoded.
// - Four-byte sequences of UTF-8 are not checked for their range. In UTF-32, they become values up
//   to 0x1FFFFF. In UTF-16, a value outside 0x10000 to 0x10FFFF becomes two code units that are not
//   a surrogate pair.
// - Surrogates encoded in three bytes of UTF-8 are accepted for UTF-32 and ill-formed for UTF-16.
// - In UTF-8, a byte that cannot start a sequence and a missing trailing byte are ill-formed only
//   once four bytes are available. Before, the sequence is unfinished.
// - In UTF-16, every surrogate, even a low one, starts a pair. An invalid pair is ill-formed only
//   once its second code unit is available. Before, the sequence is unfinished.
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
// Instantiated for each pair of different code units.
template <class To, class From>
UtfProgress Transcode(From const* from, std::size_t available, To* to, std::size_t room);

// The scalar reference: the same result, one sequence at a time.
template <class To, class From>
UtfProgress TranscodeScalar(From const* from, std::size_t available, To* to, std::size_t room);

} // namespace Simd
