#include "simd/Utf.h"

#include "simd/Cpu.h"
#include "simd/UtfBlocks.h"
#include "simd/UtfMixed.h"
#include "simd/UtfSequences.h"

namespace Simd {

namespace {

// The positions of a transcoding in the source and in the target.
template <class To, class From>
class Cursor {
public:
    Cursor(From const* from, std::size_t available, To* to, std::size_t room)
        : position(from),
          sourceEnd(from + available),
          target(to),
          full(to + (room < maxUtfUnits<To> ? 0 : room - (maxUtfUnits<To> - 1))) {}

    UtfProgress Progress(From const* from, To const* to) const {
        return {static_cast<std::size_t>(position - from), static_cast<std::size_t>(target - to),
                isIllFormed};
    }

    void TranscodeSequences() {
        while (TranscodeSequence()) {
        }
    }

#if SIMD_X86
    // Stops if the source or the target is too short for a block, or before an ill-formed sequence.
    void TranscodeBlocks() {
        bool const hasShuffles = Uses(Level::ssse3);
        CopyEqualUnits();
        while (Has(16, 16)) {
            UtfBlocks::BlockProgress const progress = TranscodeBlock(hasShuffles);
            if (progress.read == 0 && !TranscodeFewSequences())
                break;
            Advance(progress);
            CopyEqualUnits();
        }
    }
#endif

private:
    // `room` is counted from the target to `full`.
    bool Has(std::ptrdiff_t units, std::ptrdiff_t room) const {
        return sourceEnd - position >= units && full - target >= room;
    }

    // Transcodes one sequence. Returns false if there is no complete well-formed sequence, or no
    // room for the longest one.
    bool TranscodeSequence() {
        if (!Has(1, 1))
            return false;
        UtfSequence const sequence =
            ReadUtfSequence<To>(position, static_cast<std::size_t>(sourceEnd - position));
        isIllFormed = sequence.form == UtfSequence::illFormed;
        if (isIllFormed || sequence.form == UtfSequence::unfinished)
            return false;
        target = UtfSequences<To>::Write(target, sequence);
        position += sequence.length;
        return true;
    }

#if SIMD_X86
    void Advance(UtfBlocks::BlockProgress progress) {
        position += progress.read;
        target += progress.written;
    }

    bool NextUnitIsEqual() const {
        if constexpr (sizeof(To) == 1 || sizeof(From) == 1)
            return *position < 0x80;
        else
            return *position < 0x10000 && !IsSurrogate(*position);
    }

    // Copies code units with equal values in both encodings, in blocks of 16. Advances by a
    // constant after a whole block, so that the next block does not depend on this mask.
    void CopyEqualUnits() {
        while (Has(16, 16) && NextUnitIsEqual()) {
            unsigned const others = UtfBlocks::CopyUnits<To, From>(position, target);
            if (others != 0) {
                int const count = std::countr_zero(others);
                Advance({count, count});
                break;
            }
            Advance({16, 16});
        }
    }

    // Returns the progress of a kernel, without advancing. Long sequences have their own, faster
    // kernel. REQUIRES: the next code unit differs in the two encodings, as after CopyEqualUnits.
    UtfBlocks::BlockProgress TranscodeBlock(bool hasShuffles) const {
        UtfBlocks::BlockProgress const run = TranscodeLongSequences();
        if (run.isWhole || !hasShuffles)
            return run;
        UtfBlocks::BlockProgress const mixed =
            TranscodeMixed(position, sourceEnd - position, target, full - target);
        return mixed.read != 0 ? mixed : run;
    }

    // Transcodes eight sequences, because the next block would probably not make progress either.
    // Returns false if there were fewer.
    bool TranscodeFewSequences() {
        for (int count = 0; count < 8; ++count)
            if (!TranscodeSequence())
                return false;
        return true;
    }

    UtfBlocks::BlockProgress TranscodeLongSequences() const {
        if constexpr (sizeof(From) == 1)
            if (*position >= 0xE0 && *position < 0xF0)
                return UtfBlocks::DecodeTriples(position, target);
        return UtfBlocks::TranscodeSupplementary<To, From>(position, target);
    }
#endif

    From const* position;
    From const* const sourceEnd;
    To* target;
    To* const full; // from here on, the longest sequence does not fit
    bool isIllFormed = false;
};

} // namespace

template <class To, class From>
UtfProgress TranscodeScalar(From const* from, std::size_t available, To* to, std::size_t room) {
    Cursor<To, From> cursor(from, available, to, room);
    cursor.TranscodeSequences();
    return cursor.Progress(from, to);
}

template <class To, class From>
UtfProgress Transcode(From const* from, std::size_t available, To* to, std::size_t room) {
    Cursor<To, From> cursor(from, available, to, room);
#if SIMD_X86
    cursor.TranscodeBlocks();
#endif
    cursor.TranscodeSequences();
    return cursor.Progress(from, to);
}

template UtfProgress Transcode(unsigned short const*, std::size_t, unsigned char*, std::size_t);
template UtfProgress Transcode(unsigned int const*, std::size_t, unsigned char*, std::size_t);
template UtfProgress Transcode(unsigned char const*, std::size_t, unsigned short*, std::size_t);
template UtfProgress Transcode(unsigned int const*, std::size_t, unsigned short*, std::size_t);
template UtfProgress Transcode(unsigned char const*, std::size_t, unsigned int*, std::size_t);
template UtfProgress Transcode(unsigned short const*, std::size_t, unsigned int*, std::size_t);
template UtfProgress TranscodeScalar(unsigned short const*, std::size_t, unsigned char*,
                                     std::size_t);
template UtfProgress TranscodeScalar(unsigned int const*, std::size_t, unsigned char*, std::size_t);
template UtfProgress TranscodeScalar(unsigned char const*, std::size_t, unsigned short*,
                                     std::size_t);
template UtfProgress TranscodeScalar(unsigned int const*, std::size_t, unsigned short*,
                                     std::size_t);
template UtfProgress TranscodeScalar(unsigned char const*, std::size_t, unsigned int*, std::size_t);
template UtfProgress TranscodeScalar(unsigned short const*, std::size_t, unsigned int*,
                                     std::size_t);

} // namespace Simd
