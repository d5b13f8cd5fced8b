#include "unicode/GenericTranscoder.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "unicode/TranscodeRuns.h"
#include "unicode/TranscodeSequences.h"

namespace {

constexpr std::size_t blockBytes = 4096;

template <class Target>
bool HasRoom(BufferOf<typename Target::Unit> const& buffer) {
    return buffer.end - (buffer.begin + buffer.count) >= std::ptrdiff_t{Sequences<Target>::longest};
}

} // namespace

template <class Target, class Source>
requires TranscodedPair<Target, Source>
void GenericTranscoder<Target, Source>::Start(Source) {
    pendingCount = 0;
    target->Start(Target());
}

template <class Target, class Source>
requires TranscodedPair<Target, Source>
void GenericTranscoder<Target, Source>::Receive(ConstArrayOf<SourceUnit> units) {
    TargetUnit block[blockBytes / sizeof(TargetUnit)];
    BufferOf<TargetUnit> buffer{ArrayOf<TargetUnit>(block)};
    std::uint64_t const held = std::exchange(pendingCount, 0);
    if (units.IsEmpty())
        return;
    SourceUnit const* position = held == 0 ? units.begin : Resume(held, units, buffer);
    while (true) {
        position = TranscodeRun<Target, Source>(position, units.end, buffer);
        if (position == units.end || HasRoom<Target>(buffer))
            break;
        Send(buffer);
    }
    if (position != units.end)
        Hold(position, units.end);
    if (buffer.count != 0)
        Send(buffer);
}

template <class Target, class Source>
requires TranscodedPair<Target, Source>
void GenericTranscoder<Target, Source>::ReceiveEnd() {
    if (pendingCount != 0)
        throw InvalidTextEncoding();
    target->ReceiveEnd();
}

// Finishes the sequence of which `held` units are pending, or holds on to it. Yields the place
// behind the units that it took from the chunk.
template <class Target, class Source>
requires TranscodedPair<Target, Source>
auto GenericTranscoder<Target, Source>::Resume(std::uint64_t held, ConstArrayOf<SourceUnit> units,
                                               BufferOf<TargetUnit>& buffer) -> SourceUnit const* {
    SourceUnit sequence[4] = {};
    SourceUnit* const chunk = std::copy_n(pending, held, sequence);
    std::size_t const added = std::min<std::size_t>(4 - held, units.Length());
    SourceUnit const* const end = std::copy_n(units.begin, added, chunk);
    ReadSequence const read = ReadFor<Target, Source>(sequence, held + added);
    if (read.form == ReadSequence::Invalid)
        throw InvalidTextEncoding();
    if (read.form == ReadSequence::Unfinished) {
        Hold(sequence, end);
        return units.end;
    }
    buffer.count =
        static_cast<std::uint32_t>(Sequences<Target>::Write(buffer.begin, read) - buffer.begin);
    return units.begin + (read.length - held);
}

template <class Target, class Source>
requires TranscodedPair<Target, Source>
void GenericTranscoder<Target, Source>::Hold(SourceUnit const* begin, SourceUnit const* end) {
    std::copy(begin, end, pending);
    pendingCount = static_cast<std::uint64_t>(end - begin);
}

template <class Target, class Source>
requires TranscodedPair<Target, Source>
void GenericTranscoder<Target, Source>::Send(BufferOf<TargetUnit>& buffer) {
    target->Receive(ConstArrayOf<TargetUnit>(buffer.begin, buffer.count));
    buffer.count = 0;
}

template class GenericTranscoder<UTF8, UTF16>;
template class GenericTranscoder<UTF8, UTF32>;
template class GenericTranscoder<UTF16, UTF8>;
template class GenericTranscoder<UTF16, UTF32>;
template class GenericTranscoder<UTF32, UTF8>;
template class GenericTranscoder<UTF32, UTF16>;
