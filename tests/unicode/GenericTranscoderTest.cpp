#include "unicode/GenericTranscoder.h"

#include <stdexcept>

#include "tests/support/FailingAllocation.h"
#include "tests/unicode/RandomText.h"

namespace {

static_assert(std::is_base_of_v<DebuggableException, InvalidTextEncoding>);
static_assert(sizeof(InvalidTextEncoding) == sizeof(DebuggableException));
static_assert(!std::is_convertible_v<GenericTranscoder<UTF8, UTF16>*, UTextReceiver<UTF16>*>);
static_assert(
    std::is_convertible_v<StreamTranscoder<UTF8, UTF16>*, GenericTranscoder<UTF8, UTF16>*>);

TEST(GenericTranscoderTest, WhatReturnsTheNameOfTheExceptionType) {
    EXPECT_STREQ("19InvalidTextEncoding", InvalidTextEncoding().what());
}

// One chunk without `lengths`.
template <class Target, class Source>
std::string Result(Units<Source> const& text, ChunkLengths const& lengths = {}) {
    TextOutcome<Target> const outcome = RecordedStage<Target, Source>().Run(
        text, lengths.empty() ? ChunkLengths{text.size()} : lengths);
    return ShownUnits(outcome.units) +
           (outcome.thrownAt < 0 ? "" : " thrown at " + std::to_string(outcome.thrownAt));
}

// Deliberate: each of these is accepted. TranscoderContractTest tests the rest of the contract.
TEST(GenericTranscoderTest, AcceptsSomeIllFormedUTF8) {
    // Overlong sequences.
    EXPECT_EQ("0", (Result<UTF16, UTF8>({0xC0, 0x80})));
    EXPECT_EQ("7F", (Result<UTF32, UTF8>({0xE0, 0x81, 0xBF})));
    EXPECT_EQ("0", (Result<UTF32, UTF8>({0xF0, 0x80, 0x80, 0x80})));
    EXPECT_EQ("FFC0 DC00", (Result<UTF16, UTF8>({0xF0, 0x80, 0x80, 0x80})));
    // Values beyond Unicode.
    EXPECT_EQ("1FFFFF", (Result<UTF32, UTF8>({0xF7, 0xBF, 0xBF, 0xBF})));
    EXPECT_EQ("DC00 DC00", (Result<UTF16, UTF8>({0xF4, 0x90, 0x80, 0x80})));
    // Surrogates, to UTF-32.
    EXPECT_EQ("D800", (Result<UTF32, UTF8>({0xED, 0xA0, 0x80})));
    EXPECT_EQ(" thrown at 0", (Result<UTF16, UTF8>({0xED, 0xA0, 0x80})));
    // An incomplete sequence before an empty chunk.
    EXPECT_EQ("41", (Result<UTF32, UTF8>({0xF0, 0x9F, 0x98, 0x41}, {3, 0, 1})));
}

TEST(GenericTranscoderTest, StartDropsAnIncompleteSequence) {
    RecordingTextReceiver<UTF32> recorder;
    StreamTranscoder<UTF32, UTF8> transcoder;
    UTextReceiver<UTF8>& receiver = transcoder(recorder);
    receiver.Start(UTF8());
    receiver.Receive(ArrayOfUnits(Units<UTF8>{0x41, 0xE2, 0x82}));
    EXPECT_EQ("41", ShownUnits(recorder.outcome.units));
    receiver.Start(UTF8());
    EXPECT_EQ("", ShownUnits(recorder.outcome.units));
    receiver.ReceiveEnd();
    EXPECT_TRUE(recorder.outcome.ended);
}

// Deliberate: after an exception, the stage expects the start of a sequence.
TEST(GenericTranscoderTest, DropsTheSequenceThatCausedAnException) {
    RecordingTextReceiver<UTF16> recorder;
    StreamTranscoder<UTF16, UTF8> transcoder;
    UTextReceiver<UTF8>& receiver = transcoder(recorder);
    receiver.Start(UTF8());
    receiver.Receive(ArrayOfUnits(Units<UTF8>{0x41, 0xE2, 0x42}));
    EXPECT_THROW(receiver.Receive(ArrayOfUnits(Units<UTF8>{0x43, 0x44, 0x45})),
                 InvalidTextEncoding);
    receiver.ReceiveEnd();
    EXPECT_TRUE(recorder.outcome.ended);
    EXPECT_EQ("41", ShownUnits(recorder.outcome.units));
}

// Accepts one chunk.
struct RefusingReceiver : UTextReceiver<UTF16> {
    void Receive(ConstArrayOf<unsigned short>) override {
        if (isFull)
            throw std::runtime_error("full");
        isFull = true;
    }
    void ReceiveEnd() override { ended = true; }

    bool isFull = false;
    bool ended = false;
};

TEST(GenericTranscoderTest, KeepsNoTextAfterAnExceptionOfTheTarget) {
    RefusingReceiver target;
    StreamTranscoder<UTF16, UTF8> transcoder;
    UTextReceiver<UTF8>& receiver = transcoder(target);
    receiver.Start(UTF8());
    receiver.Receive(ArrayOfUnits(Units<UTF8>{0x41, 0xE2}));
    Units<UTF8> text(3000, 'a');
    text[0] = 0x82;
    text[1] = 0xAC;
    text.back() = 0xC3;
    EXPECT_THROW(receiver.Receive(ArrayOfUnits(text)), std::runtime_error);
    receiver.ReceiveEnd();
    EXPECT_TRUE(target.ended);
}

// Covers runs of every kind, in chunks that split sequences, and an ill-formed end.
TEST(GenericTranscoderTest, AllocatesNothing) {
    ForEachTranscoder([]<class Target, class Source>(Target, Source) {
        UTextReceiver<Target> target; // Discards all text.
        StreamTranscoder<Target, Source> transcoder;
        UTextReceiver<Source>& receiver = transcoder(target);
        std::mt19937 random(41);
        Units<Source> const text = RandomText<Source>(random, 20000);
        Units<Source> const bad(4, static_cast<typename Source::Unit>(0xFFFFDFFF));
        EXPECT_EQ(0u, AllocationsOf([&] {
                      receiver.Start(Source());
                      receiver.Receive(ArrayOfUnits(text));
                      for (std::size_t place = 0; place + 7 <= text.size(); place += 7)
                          receiver.Receive(
                              ConstArrayOf<typename Source::Unit>(text.data() + place, 7));
                      receiver.Start(Source());
                      EXPECT_THROW(receiver.Receive(ArrayOfUnits(bad)), InvalidTextEncoding);
                      receiver.ReceiveEnd();
                  }));
    });
}

} // namespace
