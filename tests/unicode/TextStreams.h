// Streams of encoded text for tests: a recording receiver, and the outcome of a stream that is
// split into given chunks.
#pragma once

#include <algorithm>
#include <memory>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/unicode/Units.h"
#include "unicode/GenericTranscoder.h"

// Records the calls that reach the end of a chain.
template <class E>
struct TextOutcome {
    bool operator==(TextOutcome const&) const = default;

    Units<E> units;                 // The received text.
    std::vector<std::size_t> sizes; // The length of each Receive call.
    bool ended = false;
    // The index of the chunk whose Receive threw InvalidTextEncoding; the number of chunks if
    // ReceiveEnd threw it; -1 without an exception.
    int thrownAt = -1;
};

template <class E>
std::string ShownOutcome(TextOutcome<E> const& outcome) {
    std::ostringstream text;
    text << '[' << ShownUnits(outcome.units) << ']';
    for (std::size_t size : outcome.sizes)
        text << ' ' << size;
    text << (outcome.ended ? " ended" : " open") << ", thrown at " << outcome.thrownAt;
    return text.str();
}

// Expects the correct order of the calls and no empty chunks.
template <class E>
class RecordingTextReceiver : public UTextReceiver<E> {
public:
    void Start(E) override {
        isOpen = true;
        outcome = {};
    }
    void Receive(ConstArrayOf<typename E::Unit> units) override {
        EXPECT_TRUE(isOpen && !units.IsEmpty());
        outcome.units.insert(outcome.units.end(), units.begin, units.end);
        outcome.sizes.push_back(units.Length());
    }
    void ReceiveEnd() override {
        EXPECT_TRUE(isOpen);
        isOpen = false;
        outcome.ended = true;
    }

    TextOutcome<E> outcome;

private:
    bool isOpen = false;
};

// The lengths of the chunks of a stream.
using ChunkLengths = std::vector<std::size_t>;

// Sends the text through `receiver`, whose output `outcome` records. Copies each chunk into an
// allocation of exactly its length, so that a sanitizer detects reads beyond the chunk.
template <class Source, class Receiver, class Outcome>
void FeedText(Receiver& receiver, Outcome& outcome, Units<Source> const& text,
              ChunkLengths const& lengths) {
    using Unit = typename Source::Unit;
    int call = 0;
    try {
        receiver.Start(Source());
        Unit const* position = text.data();
        for (std::size_t length : lengths) {
            std::unique_ptr<Unit[]> const copy(new Unit[length]);
            std::copy_n(position, length, copy.get());
            receiver.Receive(ConstArrayOf<Unit>(copy.get(), length));
            position += length;
            ++call;
        }
        receiver.ReceiveEnd();
    } catch (InvalidTextEncoding const&) {
        outcome.thrownAt = call;
    }
}

// A reusable stage with a recorder as its target.
template <class Target, class Source>
class RecordedStage {
public:
    TextOutcome<Target> const& Run(Units<Source> const& text, ChunkLengths const& lengths) {
        FeedText<Source>(transcoder(recorder), recorder.outcome, text, lengths);
        return recorder.outcome;
    }

private:
    RecordingTextReceiver<Target> recorder;
    StreamTranscoder<Target, Source> transcoder;
};

// Returns all 2^(length-1) ways to split a text of `length` > 0 code units into nonempty chunks.
inline std::vector<ChunkLengths> AllSplits(std::size_t length) {
    std::vector<ChunkLengths> splits;
    for (std::size_t cuts = 0; cuts < std::size_t{1} << (length - 1); ++cuts) {
        ChunkLengths lengths{1};
        for (std::size_t place = 0; place + 1 < length; ++place)
            (cuts >> place & 1) != 0 ? lengths.push_back(1) : void(++lengths.back());
        splits.push_back(lengths);
    }
    return splits;
}
