// As many sequences as a block of the target takes: the inner loop of every transcoder.
//
// For the sources of this folder only.
#pragma once

#include <cstddef>
#include <cstdint>

#include "data/ArrayOf.h"
#include "unicode/GenericTranscoder.h"
#include "unicode/TranscodeSequences.h"

[[noreturn]] inline void ThrowInvalidTextEncoding() { throw InvalidTextEncoding(); }

template <class Target, class Source>
typename Source::Unit const* TranscodeRunPlainly(typename Source::Unit const* position,
                                                 typename Source::Unit const* end,
                                                 BufferOf<typename Target::Unit>& buffer) {
    typename Target::Unit* target = buffer.begin + buffer.count;
    typename Target::Unit* const full = buffer.end - (Sequences<Target>::longest - 1);
    while (position != end && target < full) {
        ReadSequence const read =
            ReadFor<Target, Source>(position, static_cast<std::size_t>(end - position));
        if (read.form == ReadSequence::Unfinished)
            break;
        if (read.form == ReadSequence::Invalid)
            ThrowInvalidTextEncoding();
        target = Sequences<Target>::Write(target, read);
        position += read.length;
    }
    buffer.count = static_cast<std::uint32_t>(target - buffer.begin);
    return position;
}

template <class Target, class Source>
typename Source::Unit const* TranscodeRun(typename Source::Unit const* position,
                                          typename Source::Unit const* end,
                                          BufferOf<typename Target::Unit>& buffer) {
    return TranscodeRunPlainly<Target, Source>(position, end, buffer);
}
