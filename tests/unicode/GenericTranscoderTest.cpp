#include "unicode/GenericTranscoder.h"

#include <numeric>
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

// Deliberate: all of these are accepted, except a surrogate to UTF-16. TranscoderContractTest tests
// the rest of the contract.
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

// The first byte of a sequence is not validated before the fourth byte.
TEST(GenericTranscoderTest, InvalidLeadByteIsReportedAtTheFourthByteOrTheEnd) {
    EXPECT_EQ(" thrown at 1", (Result<UTF16, UTF8>({0x80, 0x41, 0x42})));
    EXPECT_EQ(" thrown at 3",
              (Result<UTF16, UTF8>({0x80, 0x41, 0x42, 0x43, 0x44}, {1, 1, 1, 1, 1})));
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

template <class TargetEncoding, class SourceEncoding>
struct EncodingPair {
    using Target = TargetEncoding;
    using Source = SourceEncoding;
};

using Pairs = testing::Types<EncodingPair<UTF16, UTF8>, EncodingPair<UTF32, UTF8>,
                             EncodingPair<UTF8, UTF16>, EncodingPair<UTF32, UTF16>,
                             EncodingPair<UTF8, UTF32>, EncodingPair<UTF16, UTF32>>;

// Collects the texts for which a stage and the reference implementation differ.
template <class Pair>
class TranscoderContractTest : public testing::Test {
protected:
    using Source = typename Pair::Source;
    using Target = typename Pair::Target;

    ~TranscoderContractTest() override {
        EXPECT_EQ("", mismatches);
        EXPECT_LT(0u, texts);
    }

    // Returns whether the stage throws.
    bool Check(Units<Source> const& text, ChunkLengths const& lengths) {
        ++texts;
        TextOutcome<Target> const& actual = stage.Run(text, lengths);
        TextOutcome<Target> const& expected = reference.Run(text, lengths);
        if (actual != expected && mismatches.size() <= 2000)
            mismatches += ShownUnits(text).substr(0, 200) + " in " +
                          std::to_string(lengths.size()) + " chunks is " +
                          ShownOutcome(actual).substr(0, 200) + " instead of " +
                          ShownOutcome(expected).substr(0, 200) + "\n";
        return actual.thrownAt >= 0;
    }

    // Checks all splits into nonempty chunks, and an empty chunk at each position but the start.
    void CheckSplits(Units<Source> const& text) {
        for (ChunkLengths const& lengths : AllSplits(text.size()))
            Check(text, lengths);
        for (std::size_t position = 1; position <= text.size(); ++position)
            Check(text, {position, 0, text.size() - position});
    }

    // All concatenations of `before`, one element of each of `choices`, and `after`.
    void CheckProduct(std::vector<Units<Source>> const& choices, Units<Source> const& before = {},
                      Units<Source> const& after = {}) {
        std::vector<std::size_t> indexes(choices.size());
        for (std::size_t changed = 0; changed != choices.size();) {
            Units<Source> text = before;
            for (std::size_t i = 0; i < choices.size(); ++i)
                text.push_back(choices[i][indexes[i]]);
            text.insert(text.end(), after.begin(), after.end());
            CheckSplits(text);
            for (changed = 0; changed < choices.size(); ++changed) {
                if (++indexes[changed] < choices[changed].size())
                    break;
                indexes[changed] = 0;
            }
        }
    }

private:
    RecordedStage<Target, Source> stage;
    Naive::Transcoder<Target, Source> reference;
    std::string mismatches;
    std::size_t texts = 0;
};

template <class Unit>
std::vector<Unit> Range(unsigned first, unsigned last) {
    std::vector<Unit> units(last - first + 1);
    std::iota(units.begin(), units.end(), static_cast<Unit>(first));
    return units;
}

TYPED_TEST_SUITE(TranscoderContractTest, Pairs);

TYPED_TEST(TranscoderContractTest, ShortSequencesAgreeWithReference) {
    if constexpr (std::is_same_v<typename TypeParam::Source, UTF8>) {
        auto const every = Range<unsigned char>(0, 0xFF);
        this->CheckProduct({every});
        this->CheckProduct({every, every});
        // The bytes at which the validity of the second byte and of the further bytes changes.
        Units<UTF8> const seconds{0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xFF};
        Units<UTF8> const trails{0x7F, 0x80, 0xBF, 0xC0};
        this->CheckProduct({every, seconds, trails});
        this->CheckProduct({Range<unsigned char>(0xEE, 0xF9), seconds, trails, trails});
        this->CheckProduct({{0x41, 0x80, 0xC1, 0xC3, 0xE0, 0xED}, seconds, trails, trails});
    } else if constexpr (std::is_same_v<typename TypeParam::Source, UTF16>) {
        auto const every = Range<unsigned short>(0, 0xFFFF);
        this->CheckProduct({every});
        this->CheckProduct({Range<unsigned short>(0xD700, 0xE100), {0xDC00}});
        this->CheckProduct({{0xD800}, Range<unsigned short>(0xD700, 0xE100)});
        Units<UTF16> const limits{0,      0x7F,   0x80,   0x7FF,  0x800,  0xD7FF,
                                  0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFF};
        this->CheckProduct({limits, limits});
        this->CheckProduct({limits, limits, limits});
        this->CheckProduct({limits, limits, limits}, {}, {0x41});
    } else {
        Units<UTF32> limits{0,        0x7F,     0x80,     0x7FF,      0x800,      0xD7FF,
                            0xD800,   0xDBFF,   0xDC00,   0xDFFF,     0xE000,     0xFFFE,
                            0xFFFF,   0x10000,  0x10FFFF, 0x110000,   0x1FFFFF,   0x10D800,
                            0x110041, 0x10DC00, 0xD8000,  0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        for (unsigned bit = 17; bit < 32; ++bit)
            limits.push_back(0x41 | 1u << bit);
        this->CheckProduct({limits, limits});
        this->CheckProduct({limits, limits}, {0x41}, {0x42});
        this->CheckProduct({Range<unsigned int>(0xD700, 0xE100)});
        this->CheckProduct({Range<unsigned int>(0x10FF00, 0x120000)});
    }
}

TYPED_TEST(TranscoderContractTest, SequencesInTextAgreeWithReference) {
    if constexpr (std::is_same_v<typename TypeParam::Source, UTF8>) {
        Units<UTF8> const leads{0x7F, 0x80, 0xBF, 0xC0, 0xC3, 0xDF, 0xE0, 0xE2, 0xEC, 0xED,
                                0xEE, 0xEF, 0xF0, 0xF3, 0xF4, 0xF5, 0xF7, 0xF8, 0xFC, 0xFF};
        Units<UTF8> const trails{0x41, 0x80, 0xBF, 0xC3};
        this->CheckProduct({leads, {0x41, 0x80, 0x9F, 0xA0, 0xBF, 0xC3}, trails, trails}, {0x41},
                           {0x5A});
    } else {
        this->CheckProduct({{0x41, 0x80, 0x20AC}, {0xD7FF, 0xE000}}, {0x41}, {0x42});
    }
}

// Lengths around the block sizes, of characters of each length.
TYPED_TEST(TranscoderContractTest, TextsNearBlockSizesAgreeWithReference) {
    using E = typename TypeParam::Source;
    for (unsigned int const character : {0x61u, 0xE9u, 0x20ACu, 0x1F600u})
        for (std::size_t const size : {1024u, 1365u, 2048u, 4096u, 8192u})
            for (std::size_t length = size - 4; length <= size + 4; ++length)
                for (bool const isShifted : {false, true}) {
                    Units<UTF32> characters(length, character);
                    characters[0] = isShifted ? 0x61 : character;
                    Units<E> text = Encoded<E>(characters);
                    this->Check(text, {text.size()});
                    this->Check(text, {text.size() - 1, 1});
                    text.push_back(static_cast<typename E::Unit>(0xFFFFDFFF));
                    this->Check(text, {text.size()});
                }
}

// Chunks of many sizes, also empty ones.
ChunkLengths RandomChunks(std::mt19937& random, std::size_t length) {
    ChunkLengths lengths;
    std::size_t const largest = std::size_t{1} << random() % 15;
    while (length != 0) {
        std::size_t const size = std::min<std::size_t>(random() % (largest + 1), length);
        lengths.push_back(size);
        length -= size;
    }
    return lengths;
}

TYPED_TEST(TranscoderContractTest, RandomTextsAgreeWithReference) {
    using E = typename TypeParam::Source;
    std::mt19937 random(1);
    int thrown = 0;
    for (int round = 0; round < 300; ++round) {
        Units<E> text = RandomText<E>(random, random() % 6000);
        for (int spoilt = 0; round % 2 != 0 && !text.empty() && spoilt < 3; ++spoilt)
            text[random() % text.size()] = static_cast<typename E::Unit>(random() >> random() % 24);
        bool const isWhole = random() % 2 == 0;
        thrown += this->Check(text, isWhole ? ChunkLengths{text.size()}
                                            : RandomChunks(random, text.size()));
    }
    EXPECT_LT(10, thrown);
}

} // namespace
