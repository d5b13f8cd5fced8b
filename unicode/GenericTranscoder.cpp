#include "unicode/GenericTranscoder.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "simd/Utf.h"

namespace {

constexpr std::size_t blockBytes = 4096;

template <class Unit>
std::size_t Room(BufferOf<Unit> const& buffer) {
    return static_cast<std::size_t>(buffer.end - buffer.begin) - buffer.count;
}

// Transcodes as many sequences as the buffer has room for, and appends them. Returns the first code
// unit that was not read. Throws InvalidTextEncoding for an ill-formed sequence.
template <class Target, class Source>
Source const* AppendTranscoded(Source const* begin, Source const* end, BufferOf<Target>& buffer) {
    Simd::UtfProgress const progress = Simd::Transcode(begin, static_cast<std::size_t>(end - begin),
                                                       buffer.begin + buffer.count, Room(buffer));
    if (progress.isIllFormed)
        throw InvalidTextEncoding();
    buffer.count += static_cast<std::uint32_t>(progress.written);
    return begin + progress.read;
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
    SourceUnit const* position = units.begin;
    if (held != 0)
        position = Resume(held, units, buffer); // GCOVR_EXCL_BR_LINE: the call may throw
    while (true) {
        position = AppendTranscoded(position, units.end, buffer);
        if (position == units.end || Room(buffer) >= Simd::maxUtfUnits<TargetUnit>)
            break;
        Send(buffer);
    }
    if (position != units.end)
        Hold(position, units.end); // GCOVR_EXCL_BR_LINE: the call never throws
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

// Completes the sequence whose first `held` code units are pending, or holds its code units if it
// is still incomplete. Returns the first code unit of the chunk after the sequence.
template <class Target, class Source>
requires TranscodedPair<Target, Source>
auto GenericTranscoder<Target, Source>::Resume(std::uint64_t held, ConstArrayOf<SourceUnit> units,
                                               BufferOf<TargetUnit>& buffer) -> SourceUnit const* {
    // GCOVR_EXCL_BR_START: of calls, in instances of the template that never run
    SourceUnit sequence[4] = {};
    SourceUnit* const chunk = std::copy_n(pending, held, sequence);
    std::size_t const added = std::min<std::size_t>(4 - held, units.Length());
    SourceUnit const* const end = std::copy_n(units.begin, added, chunk);
    // Reads at most one sequence, because `one` has room for one only.
    BufferOf<TargetUnit> one(ArrayOf<TargetUnit>(buffer.begin, Simd::maxUtfUnits<TargetUnit>));
    SourceUnit const* const next = AppendTranscoded<TargetUnit, SourceUnit>(sequence, end, one);
    // GCOVR_EXCL_BR_STOP
    if (next == sequence) {
        Hold(sequence, end); // GCOVR_EXCL_BR_LINE: the call never throws
        return units.end;
    }
    buffer.count = one.count;
    return units.begin + ((next - sequence) - static_cast<std::ptrdiff_t>(held));
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
