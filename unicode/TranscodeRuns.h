// The inner loop of every transcoder: as many sequences as a block of the target takes.
//
// For the sources of this folder only.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>

#include "data/ArrayOf.h"
#include "unicode/Encodings.h"
#include "unicode/GenericTranscoder.h"
#include "unicode/TranscodeBlocks.h"
#include "unicode/TranscodeSequences.h"
#include "unicode/TranscodeShuffles.h"

// Stands between a text that is read and a block that is written. A sequence is taken only if there
// is room for the longest one of the target, whatever it is itself.
template <class Target, class Source>
class TranscodeCursor {
public:
    using SourceUnit = typename Source::Unit;
    using TargetUnit = typename Target::Unit;

    TranscodeCursor(SourceUnit const* begin, SourceUnit const* end,
                    BufferOf<TargetUnit> const& buffer)
        : position(begin),
          sourceEnd(end),
          target(buffer.begin + buffer.count),
          full(buffer.end - (Sequences<Target>::longest - 1)) {}

    SourceUnit const* Position() const { return position; }
    TargetUnit const* TargetPosition() const { return target; }

    // Takes one sequence after the other, until the text or the room is at an end, or the sequence
    // is not there as a whole. Throws InvalidTextEncoding at a bad one.
    void TakeAll() {
        while (position != sourceEnd && target < full)
            if (!TakeOne())
                break;
    }

#if defined(__SSE2__)
    // Does the same, but for what is too short for whole blocks. `shuffles` tells whether the
    // processor has them.
    void TakeBlocks(bool shuffles) {
        CopyBlocks();
        while (Has(16, 16)) {
            TranscodeBlocks::Taken const taken = TakeKind(shuffles);
            if (taken.read == 0)
                TakeOne();
            Advance(taken);
            CopyBlocks();
        }
    }
#else
    void TakeBlocks(bool) {}
#endif

private:
    // Yields whether the sequence is there as a whole.
    bool TakeOne() {
        ReadSequence const read =
            ReadFor<Target, Source>(position, static_cast<std::size_t>(sourceEnd - position));
        if (read.form == ReadSequence::Unfinished)
            return false;
        if (read.form == ReadSequence::Invalid)
            throw InvalidTextEncoding();
        target = Sequences<Target>::Write(target, read);
        position += read.length;
        return true;
    }

#if defined(__SSE2__)
    bool Has(int units, int room) const {
        return sourceEnd - position >= units && full - target >= room;
    }

    void Advance(TranscodeBlocks::Taken taken) {
        position += taken.read;
        target += taken.written;
    }

    // Whether the next unit is the same in both encodings.
    bool IsCopied() const {
        if constexpr (std::same_as<Target, UTF8> || std::same_as<Source, UTF8>)
            return *position < 0x80;
        else
            return *position < 0x10000 && !IsSurrogate(*position);
    }

    // A whole block moves on by a constant, so the next one does not wait for the bits of this.
    void CopyBlocks() {
        while (Has(16, 16) && IsCopied()) {
            unsigned const others = TranscodeBlocks::CopyUnits<Target, Source>(position, target);
            if (others != 0) {
                int const count = std::countr_zero(others);
                Advance({count, count});
                break;
            }
            Advance({16, 16});
        }
    }

    // Takes what begins with a sequence that is not the same in both encodings. If it begins a run
    // of long ones, a form for just these is faster.
    TranscodeBlocks::Taken TakeKind(bool shuffles) const {
        TranscodeBlocks::Taken const run = TakeLongSequences();
        if (run.isWhole || !shuffles)
            return run;
        TranscodeBlocks::Taken const mixed = TranscodeShuffles::Take<Target, Source>(
            position, sourceEnd - position, target, full - target);
        return mixed.read != 0 ? mixed : run;
    }

    TranscodeBlocks::Taken TakeLongSequences() const {
        if constexpr (std::same_as<Source, UTF8>)
            if (*position >= 0xE0 && *position < 0xF0)
                return TranscodeBlocks::DecodeTriples(position, target);
        return TranscodeBlocks::TakeSupplementary<Target, Source>(position, target);
    }
#endif

    SourceUnit const* position;
    SourceUnit const* const sourceEnd;
    TargetUnit* target;
    TargetUnit const* const full; // From here on there is too little room.
};

// Appends to the block what the text becomes, until the room is below the longest sequence of the
// target, the text is at an end, or what is left of it is an unfinished sequence. Yields the place
// where it stopped. Throws InvalidTextEncoding at a bad sequence; the count of the block is as
// before then.
template <class Target, class Source>
typename Source::Unit const* TranscodeRun(typename Source::Unit const* begin,
                                          typename Source::Unit const* end,
                                          BufferOf<typename Target::Unit>& buffer,
                                          bool shuffles = TranscodeShuffles::AreThere()) {
    TranscodeCursor<Target, Source> cursor(begin, end, buffer);
    cursor.TakeBlocks(shuffles);
    cursor.TakeAll();
    buffer.count = static_cast<std::uint32_t>(cursor.TargetPosition() - buffer.begin);
    return cursor.Position();
}

// The same without the fast forms, for comparison.
template <class Target, class Source>
typename Source::Unit const* TranscodeRunPlainly(typename Source::Unit const* begin,
                                                 typename Source::Unit const* end,
                                                 BufferOf<typename Target::Unit>& buffer) {
    TranscodeCursor<Target, Source> cursor(begin, end, buffer);
    cursor.TakeAll();
    buffer.count = static_cast<std::uint32_t>(cursor.TargetPosition() - buffer.begin);
    return cursor.Position();
}
