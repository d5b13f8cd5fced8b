// The stages that turn text of one Unicode encoding into text of another, cut anywhere.
#pragma once

#include <concepts>
#include <cstdint>

#include "data/ArrayOf.h"
#include "data/DebuggableException.h"
#include "unicode/Encodings.h"
#include "unicode/UTextReceiver.h"

// A sequence that cannot be read, or a stream that ends inside of one. Neither the place nor the
// unit is reported, nothing is skipped and nothing replaced.
class InvalidTextEncoding : public DebuggableException {};

template <class Target, class Source>
concept TranscodedPair =
    UnicodeEncoding<Target> && UnicodeEncoding<Source> && !std::same_as<Target, Source>;

// Takes `Source`, gives `Target`: the target comes first. A receiver that is bound by operator(),
// to a next stage that it does not own. Nothing is allocated.
//
// Byte order is the host's. A byte-order mark is a character like any other, and so are U+0000 and
// the values that are no characters (U+FFFE, U+FFFF).
//
// What passes, beside well-formed text, is fixed and not what the Unicode standard (chapter 3.9)
// asks for:
// - From UTF-8. Deliberate: a lead byte is not judged on its own. A byte that begins no sequence
//   is found wrong only when four bytes have been read, or at the end, and so is a sequence of two
//   or three bytes whose trailing bytes are none. Overlong forms are read as what they say. Forms
//   of four bytes are not tested for their range: to UTF-32 they give up to 0x1FFFFF, to UTF-16 two
//   units by the usual formula, which are no proper pair then. Encoded surrogates are invalid to
//   UTF-16, and pass to UTF-32.
// - From UTF-16. Each surrogate unit, also a low one, begins a pair: it is judged when the next
//   unit is there, or at the end. It must be a high one and a low one.
// - From UTF-32. Surrogates and values of 0x110000 and more are invalid.
//
// The target receives blocks of up to 4,096 bytes: before a sequence is read, the block is sent on
// if it has no room for the longest one of the target's encoding (4, 2, 1 units in UTF-8, UTF-16,
// UTF-32), and at the end of each chunk, unless it is empty.
//
// Deliberate: an empty chunk drops the beginning of a sequence that the stage has kept from the
// chunk before.
//
// Error handling: InvalidTextEncoding from Receive when a sequence is seen to be bad; what stands
// in the current block then is not sent. From ReceiveEnd if the stream ends inside a sequence; the
// target's ReceiveEnd is not called then.
template <class Target, class Source>
requires TranscodedPair<Target, Source>
class GenericTranscoder : UTextReceiver<Source> {
public:
    using SourceUnit = typename Source::Unit;
    using TargetUnit = typename Target::Unit;

    // Binds the next stage, and yields the receiver to push into. REQUIRES: called before Start.
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
    SourceUnit pending[3] = {}; // The units of an unfinished sequence, from the last chunk.
};

// The form that Transcode runs a text through.
template <class Target, class Source>
class StreamTranscoder : public GenericTranscoder<Target, Source> {};
