// Pipeline stages that transcode between UTF-8, UTF-16 and UTF-32.
#pragma once

#include <concepts>
#include <cstdint>

#include "data/ArrayOf.h"
#include "data/DebuggableException.h"
#include "unicode/Encodings.h"
#include "unicode/UTextReceiver.h"

// An ill-formed sequence, which is neither skipped nor replaced, or a stream that ends inside a
// sequence. The position is not reported.
class InvalidTextEncoding : public DebuggableException {};

template <class Target, class Source>
concept TranscodedPair =
    UnicodeEncoding<Target> && UnicodeEncoding<Source> && !std::same_as<Target, Source>;

// Transcodes from `Source` to `Target`. operator() binds the next stage, which is not owned.
// Nothing is allocated. U+0000, U+FFFE and U+FFFF are transcoded like other code points.
//
// simd/Utf.h specifies which ill-formed sequences are accepted, and when the others are detected.
//
// The target receives blocks of at most 4,096 bytes. A block is sent when it has no room for the
// longest sequence of the target encoding. At the end of each chunk, the last block is sent unless
// it is empty.
//
// Deliberate: an empty chunk drops an incomplete sequence at the end of the previous chunk. Kept
// for compatibility; the callers send each text as one chunk.
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

// The name that callers use for a stage; nothing is added.
template <class Target, class Source>
class StreamTranscoder : public GenericTranscoder<Target, Source> {};
