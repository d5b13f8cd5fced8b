// Pipeline stages that transcode between UTF-8, UTF-16 and UTF-32.
#pragma once

#include <concepts>
#include <cstdint>

#include "data/ArrayOf.h"
#include "data/DebuggableException.h"
#include "unicode/Encodings.h"
#include "unicode/UTextReceiver.h"

// An ill-formed sequence, or a stream that ends inside a sequence. Carries no position. Ill-formed
// input is neither skipped nor replaced.
class InvalidTextEncoding : public DebuggableException {};

template <class Target, class Source>
concept TranscodedPair =
    UnicodeEncoding<Target> && UnicodeEncoding<Source> && !std::same_as<Target, Source>;

// Transcodes from `Source` to `Target`. operator() binds the next stage, which is not owned.
// Nothing is allocated.
//
// Byte order is the host's. A byte-order mark, U+0000, U+FFFE and U+FFFF are ordinary characters.
//
// Deliberate: beside well-formed text, some ill-formed sequences are accepted, contrary to the
// Unicode standard, chapter 3.9:
// - From UTF-8: overlong sequences are decoded. Four-byte sequences are not checked for their
//   range: up to 0x1FFFFF in UTF-32, and two code units that are no surrogate pair in UTF-16.
//   Encoded surrogates are accepted for UTF-32 and rejected for UTF-16.
// - From UTF-8: errors are detected late. A byte that cannot start a sequence, or a missing
//   trailing byte, is an error only when four bytes have been read, or at the end of the stream.
// - From UTF-16: every surrogate, even a low one, starts a pair. An invalid pair is an error only
//   when its second code unit has been read, or at the end of the stream.
// - From UTF-32: surrogates and values from 0x110000 on are invalid.
//
// The target receives blocks of at most 4,096 bytes. A block is sent when it has no room for the
// longest sequence of the target encoding (4 code units in UTF-8, 2 in UTF-16, 1 in UTF-32), and at
// the end of each chunk, unless it is empty.
//
// Deliberate: an empty chunk drops an incomplete sequence at the end of the previous chunk.
//
// Error handling: Receive throws InvalidTextEncoding for an ill-formed sequence, without sending
// the current block. ReceiveEnd throws it if the stream ends inside a sequence, without calling
// ReceiveEnd of the target.
template <class Target, class Source>
requires TranscodedPair<Target, Source>
class GenericTranscoder : UTextReceiver<Source> {
public:
    using SourceUnit = typename Source::Unit;
    using TargetUnit = typename Target::Unit;

    // Binds the next stage. Returns the receiver of this stage. REQUIRES: called before Start.
    UTextReceiver<Source>& operator()(UTextReceiver<Target>& nextStage) {
        target = &nextStage;
        return *this;
    }

private:
    void Start(Source) override;
    void Receive(ConstArrayOf<SourceUnit> units) override;
    void ReceiveEnd() override;

    SourceUnit const* Resume(std::uint64_t held, ConstArrayOf<SourceUnit> units,
                             BufferOf<TargetUnit>& buffer);
    void Hold(SourceUnit const* begin, SourceUnit const* end);
    void Send(BufferOf<TargetUnit>& buffer);

    UTextReceiver<Target>* target = nullptr;
    std::uint64_t pendingCount = 0;
    SourceUnit pending[3] = {}; // An incomplete sequence at the end of the last chunk.
};

// The transcoder for users.
template <class Target, class Source>
class StreamTranscoder : public GenericTranscoder<Target, Source> {};
