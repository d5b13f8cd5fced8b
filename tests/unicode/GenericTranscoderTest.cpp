#include "unicode/GenericTranscoder.h"

#include <algorithm>
#include <cstddef>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"
#include "tests/support/ForEachSplit.h"
#include "tests/unicode/RandomText.h"
#include "tests/unicode/TextStreams.h"
#include "tests/unicode/Units.h"

namespace {

static_assert(std::is_base_of_v<DebuggableException, InvalidTextEncoding>);
static_assert(sizeof(InvalidTextEncoding) == sizeof(DebuggableException));
static_assert(!std::is_convertible_v<GenericTranscoder<UTF8, UTF16>*, UTextReceiver<UTF16>*>);
static_assert(
    std::is_convertible_v<StreamTranscoder<UTF8, UTF16>*, GenericTranscoder<UTF8, UTF16>*>);

TEST(GenericTranscoderTest, ExceptionNamesItself) {
    EXPECT_STREQ("19InvalidTextEncoding", InvalidTextEncoding().what());
}

// What comes out of a text in one chunk: "61 20AC" if all is well, otherwise with where it was
// thrown.
template <class Target, class Source>
std::string Result(Units<Source> const& text, ChunkLengths const& lengths) {
    TextOutcome<Target> const outcome = RecordedStage<Target, Source>().Run(text, lengths);
    EXPECT_EQ(outcome.thrownAt < 0, outcome.ended);
    std::string const units = ShownUnits(outcome.units);
    if (outcome.thrownAt < 0)
        return units;
    bool const atEnd = outcome.thrownAt == static_cast<int>(lengths.size());
    return units + (units.empty() ? "" : " ") + (atEnd ? "thrown at the end" : "thrown");
}
template <class Target, class Source>
std::string Result(Units<Source> const& text) {
    return Result<Target, Source>(text, {text.size()});
}

template <class Target>
void ExpectInEveryCutting(std::string const& expected, std::string const& utf8) {
    ForEachSplit(
        utf8,
        [&](Chunks const& chunks) {
            RecordingTextReceiver<Target> recorder;
            StreamTranscoder<Target, UTF8> transcoder;
            UTextReceiver<UTF8>& receiver = transcoder(recorder);
            receiver.Start(UTF8());
            chunks.Feed([&](ConstData chunk) { receiver.Receive(chunk); });
            receiver.ReceiveEnd();
            EXPECT_EQ(expected, ShownUnits(recorder.outcome.units));
        },
        false); // An empty chunk drops what is held, see below.
}

TEST(GenericTranscoderTest, UTF8CutAnywhereGivesTheSame) {
    std::string const text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z\xEF\xBB\xBF";
    ExpectInEveryCutting<UTF16>("61 E9 20AC D83D DE00 7A FEFF", text);
    ExpectInEveryCutting<UTF32>("61 E9 20AC 1F600 7A FEFF", text);
}

TEST(GenericTranscoderTest, UTF16PairCutBetweenItsUnitsGivesTheSame) {
    for (ChunkLengths const& lengths : AllCuttings(4)) {
        EXPECT_EQ("61 F0 9F 98 80 7A",
                  (Result<UTF8, UTF16>({0x61, 0xD83D, 0xDE00, 0x7A}, lengths)));
        EXPECT_EQ("61 1F600 7A", (Result<UTF32, UTF16>({0x61, 0xD83D, 0xDE00, 0x7A}, lengths)));
    }
}

// Deliberate: overlong forms of two and three bytes are read as what they say.
TEST(GenericTranscoderTest, OverlongFormsOfTwoAndThreeBytesPass) {
    EXPECT_EQ("0", (Result<UTF16, UTF8>({0xC0, 0x80})));
    EXPECT_EQ("0", (Result<UTF32, UTF8>({0xC0, 0x80})));
    EXPECT_EQ("0", (Result<UTF16, UTF8>({0xE0, 0x80, 0x80})));
    EXPECT_EQ("7F", (Result<UTF32, UTF8>({0xE0, 0x81, 0xBF})));
}

// Deliberate: forms of four bytes are not tested for their range. To UTF-16 the usual formula gives
// two units that are no pair: (0 - 0x40) & 0xFFFF | 0xD800 is 0xFFC0 for an overlong U+0000.
TEST(GenericTranscoderTest, FormsOfFourBytesPassWhateverTheySay) {
    EXPECT_EQ("0", (Result<UTF32, UTF8>({0xF0, 0x80, 0x80, 0x80})));
    EXPECT_EQ("FFC0 DC00", (Result<UTF16, UTF8>({0xF0, 0x80, 0x80, 0x80})));
    EXPECT_EQ("110000", (Result<UTF32, UTF8>({0xF4, 0x90, 0x80, 0x80})));
    EXPECT_EQ("DC00 DC00", (Result<UTF16, UTF8>({0xF4, 0x90, 0x80, 0x80})));
    EXPECT_EQ("1FFFFF", (Result<UTF32, UTF8>({0xF7, 0xBF, 0xBF, 0xBF})));
}

TEST(GenericTranscoderTest, EncodedSurrogatesPassToUTF32Only) {
    EXPECT_EQ("D7FF", (Result<UTF16, UTF8>({0xED, 0x9F, 0xBF})));
    EXPECT_EQ("thrown", (Result<UTF16, UTF8>({0xED, 0xA0, 0x80})));
    EXPECT_EQ("thrown", (Result<UTF16, UTF8>({0xED, 0xBF, 0xBF})));
    EXPECT_EQ("D800", (Result<UTF32, UTF8>({0xED, 0xA0, 0x80})));
    EXPECT_EQ("DFFF", (Result<UTF32, UTF8>({0xED, 0xBF, 0xBF})));
    EXPECT_EQ("E000", (Result<UTF16, UTF8>({0xEE, 0x80, 0x80})));
}

// Deliberate: a lead byte is not judged on its own, so the bytes behind it are swallowed.
TEST(GenericTranscoderTest, BadLeadIsFoundWithTheFourthByteOrAtTheEnd) {
    for (unsigned char lead : {0x80, 0xBF, 0xC3, 0xE2, 0xF8, 0xFF}) {
        EXPECT_EQ("thrown at the end", (Result<UTF16, UTF8>({lead})));
        EXPECT_EQ("thrown at the end", (Result<UTF16, UTF8>({lead, 0x41})));
        EXPECT_EQ("thrown at the end", (Result<UTF32, UTF8>({lead, 0x41, 0x42})));
        EXPECT_EQ("thrown", (Result<UTF16, UTF8>({lead, 0x41, 0x42, 0x43})));
        EXPECT_EQ("thrown", (Result<UTF32, UTF8>({lead, 0x41, 0x42, 0x43})));
        // In chunks of one byte it is the fourth one that throws.
        RecordedStage<UTF16, UTF8> stage;
        EXPECT_EQ(3, stage.Run({lead, 0x41, 0x42, 0x43, 0x44}, {1, 1, 1, 1, 1}).thrownAt);
    }
}

TEST(GenericTranscoderTest, LoneSurrogateIsFoundWithTheNextUnitOrAtTheEnd) {
    EXPECT_EQ("thrown at the end", (Result<UTF8, UTF16>({0xD83D})));
    EXPECT_EQ("thrown at the end", (Result<UTF32, UTF16>({0xDC00})));
    EXPECT_EQ("thrown", (Result<UTF8, UTF16>({0xDC00, 0x41})));
    EXPECT_EQ("thrown", (Result<UTF32, UTF16>({0xD83D, 0x41})));
    EXPECT_EQ("thrown", (Result<UTF8, UTF16>({0xD83D, 0xD83D})));
    EXPECT_EQ("thrown", (Result<UTF8, UTF16>({0xDC00, 0xD83D})));
    EXPECT_EQ(1, (RecordedStage<UTF8, UTF16>().Run({0xDC00, 0x41}, {1, 1}).thrownAt));
}

TEST(GenericTranscoderTest, UTF32OutsideOfUnicodeIsRefused) {
    for (unsigned int value : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu}) {
        EXPECT_EQ("thrown", (Result<UTF8, UTF32>({value})));
        EXPECT_EQ("thrown", (Result<UTF16, UTF32>({value})));
    }
    EXPECT_EQ("F4 8F BF BF EF BF BF 0", (Result<UTF8, UTF32>({0x10FFFF, 0xFFFF, 0})));
    EXPECT_EQ("DBFF DFFF FFFF FFFE 0", (Result<UTF16, UTF32>({0x10FFFF, 0xFFFF, 0xFFFE, 0})));
}

// Deliberate: this is the one way in which an unfinished sequence gets through.
TEST(GenericTranscoderTest, EmptyChunkDropsAnUnfinishedSequence) {
    EXPECT_EQ("", (Result<UTF16, UTF8>({0xC3}, {1, 0})));
    EXPECT_EQ("41", (Result<UTF16, UTF8>({0xC3, 0x41}, {1, 0, 1})));
    EXPECT_EQ("41", (Result<UTF32, UTF8>({0xF0, 0x9F, 0x98, 0x41}, {3, 0, 1})));
    EXPECT_EQ("41", (Result<UTF8, UTF16>({0xD83D, 0x41}, {1, 0, 1})));
    EXPECT_EQ("41", (Result<UTF32, UTF16>({0xDC00, 0x41}, {1, 0, 0, 1})));
    // What it leaves behind is a stream like any other: the rest of the sequence stands alone now.
    EXPECT_EQ("thrown at the end", (Result<UTF16, UTF8>({0xC3, 0xA9}, {1, 0, 1})));
}

TEST(GenericTranscoderTest, EmptyChunksAndStreamsReachTheTargetAsNothing) {
    RecordedStage<UTF16, UTF8> stage;
    TextOutcome<UTF16> const& nothing = stage.Run({}, {});
    EXPECT_TRUE(nothing.ended && nothing.sizes.empty());
    TextOutcome<UTF16> const& empty = stage.Run({}, {0, 0});
    EXPECT_TRUE(empty.ended && empty.sizes.empty());
    // A chunk that is held as a whole sends nothing either.
    EXPECT_EQ(std::vector<std::size_t>{1}, stage.Run({0xC3, 0xA9}, {1, 1}).sizes);
}

TEST(GenericTranscoderTest, UnfinishedStreamDoesNotEndTheTarget) {
    TextOutcome<UTF16> const outcome = RecordedStage<UTF16, UTF8>().Run({0x41, 0x80});
    EXPECT_EQ(1, outcome.thrownAt);
    EXPECT_FALSE(outcome.ended);
    EXPECT_EQ("41", ShownUnits(outcome.units));
}

TEST(GenericTranscoderTest, StartDropsAnUnfinishedSequenceAndStartsTheTarget) {
    RecordingTextReceiver<UTF32> recorder;
    StreamTranscoder<UTF32, UTF8> transcoder;
    UTextReceiver<UTF8>& receiver = transcoder(recorder);
    receiver.Start(UTF8());
    unsigned char const units[] = {0x41, 0xE2, 0x82};
    receiver.Receive(units);
    EXPECT_EQ("41", ShownUnits(recorder.outcome.units));
    receiver.Start(UTF8());
    EXPECT_EQ("", ShownUnits(recorder.outcome.units));
    receiver.ReceiveEnd();
    EXPECT_TRUE(recorder.outcome.ended);
}

TEST(GenericTranscoderTest, StageThatHasThrownCanBeStartedAgain) {
    RecordedStage<UTF16, UTF8> stage;
    EXPECT_EQ(0, stage.Run({0x41, 0xFF, 0xFF, 0xFF, 0xFF}).thrownAt);
    EXPECT_EQ(1, stage.Run({0xE2, 0x82}).thrownAt);
    EXPECT_EQ("41", ShownUnits(stage.Run({0x41}).units));
}

template <class Target, class Source>
std::vector<std::size_t> SizesOf(Units<Source> const& text) {
    return RecordedStage<Target, Source>().Run(text).sizes;
}

using Sizes = std::vector<std::size_t>;

// Before a sequence is read there must be room for the longest one: in UTF-16 for two units of
// 2,048, in UTF-8 for four of 4,096, in UTF-32 for one of 1,024.
TEST(GenericTranscoderTest, AsciiReachesTheTargetInBlocksWithoutRoomForTheLongestSequence) {
    EXPECT_EQ((Sizes{2047, 953}), (SizesOf<UTF16, UTF8>(Units<UTF8>(3000, 'a'))));
    EXPECT_EQ((Sizes{2047, 953}), (SizesOf<UTF16, UTF32>(Units<UTF32>(3000, 'a'))));
    EXPECT_EQ((Sizes{1024, 1024, 952}), (SizesOf<UTF32, UTF8>(Units<UTF8>(3000, 'a'))));
    EXPECT_EQ((Sizes{1024, 1024, 952}), (SizesOf<UTF32, UTF16>(Units<UTF16>(3000, 'a'))));
    EXPECT_EQ((Sizes{4093, 4093, 814}), (SizesOf<UTF8, UTF16>(Units<UTF16>(9000, 'a'))));
    EXPECT_EQ((Sizes{4093, 4093, 814}), (SizesOf<UTF8, UTF32>(Units<UTF32>(9000, 'a'))));
}

TEST(GenericTranscoderTest, LongSequencesFillTheBlocks) {
    EXPECT_EQ((Sizes{2048, 2}), (SizesOf<UTF16, UTF32>(Units<UTF32>(1025, 0x1F600))));
    EXPECT_EQ((Sizes{4096, 4}), (SizesOf<UTF8, UTF32>(Units<UTF32>(1025, 0x1F600))));
    // 1,365 characters of three bytes leave one byte of room.
    EXPECT_EQ((Sizes{4095, 3}), (SizesOf<UTF8, UTF16>(Units<UTF16>(1366, 0x20AC))));
    // With one letter in front, three bytes are left behind the 1,364th, too few to go on.
    Units<UTF16> shifted(1366, 0x20AC);
    shifted[0] = 'a';
    EXPECT_EQ((Sizes{4093, 3}), (SizesOf<UTF8, UTF16>(shifted)));
}

TEST(GenericTranscoderTest, FullBlockAtTheEndOfAChunkIsSentOnce) {
    EXPECT_EQ((Sizes{2047}), (SizesOf<UTF16, UTF8>(Units<UTF8>(2047, 'a'))));
    EXPECT_EQ((Sizes{2047, 1}), (SizesOf<UTF16, UTF8>(Units<UTF8>(2048, 'a'))));
    EXPECT_EQ((Sizes{1024}), (SizesOf<UTF32, UTF16>(Units<UTF16>(1024, 'a'))));
    // An unfinished sequence behind it is a unit that remains, so the block is sent before it.
    RecordedStage<UTF16, UTF8> stage;
    Units<UTF8> text(2047, 'a');
    text.push_back(0xC3);
    text.push_back(0xA9);
    EXPECT_EQ((Sizes{2047, 1}), stage.Run(text, {2048, 1}).sizes);
}

TEST(GenericTranscoderTest, ExceptionLeavesUnsentWhatStandsInTheBlock) {
    Units<UTF8> text(3004, 'a');
    std::fill(text.begin() + 3000, text.end(), static_cast<unsigned char>(0xFF));
    TextOutcome<UTF16> const outcome = RecordedStage<UTF16, UTF8>().Run(text);
    EXPECT_EQ(0, outcome.thrownAt);
    EXPECT_EQ((Sizes{2047}), outcome.sizes);
    EXPECT_FALSE(outcome.ended);

    Units<UTF32> values(4093, 'a');
    values.push_back(0xD800);
    // The block is full, so it goes out before the bad value is looked at.
    EXPECT_EQ((Sizes{4093}), (SizesOf<UTF8, UTF32>(values)));
    values.erase(values.begin());
    EXPECT_EQ((Sizes{}), (SizesOf<UTF8, UTF32>(values)));
}

// Deliberate: what is held is let go of before anything else, so that a stage that has thrown from
// Receive is between two sequences.
TEST(GenericTranscoderTest, BadSequenceIsNotHeldWhenItHasBeenFound) {
    RecordingTextReceiver<UTF16> recorder;
    StreamTranscoder<UTF16, UTF8> transcoder;
    UTextReceiver<UTF8>& receiver = transcoder(recorder);
    receiver.Start(UTF8());
    unsigned char const units[] = {0x41, 0xE2, 0x42, 0x43, 0x44, 0x45};
    receiver.Receive(ConstArrayOf<unsigned char>(units, 3));
    EXPECT_THROW(receiver.Receive(ConstArrayOf<unsigned char>(units + 3, 3)), InvalidTextEncoding);
    receiver.ReceiveEnd();
    EXPECT_TRUE(recorder.outcome.ended);
    EXPECT_EQ("41", ShownUnits(recorder.outcome.units));
}

// Takes nothing after the first `calls` calls.
class RefusingReceiver : public UTextReceiver<UTF16> {
public:
    explicit RefusingReceiver(int calls) : left(calls) {}
    void Receive(ConstArrayOf<unsigned short>) override {
        if (left-- == 0)
            throw std::runtime_error("full");
    }
    void ReceiveEnd() override { ended = true; }

    bool ended = false;

private:
    int left;
};

TEST(GenericTranscoderTest, WhatTheTargetThrowsPassesThrough) {
    RefusingReceiver target(0);
    StreamTranscoder<UTF16, UTF8> transcoder;
    UTextReceiver<UTF8>& receiver = transcoder(target);
    receiver.Start(UTF8());
    unsigned char const units[] = {0x41};
    EXPECT_THROW(receiver.Receive(units), std::runtime_error);
}

TEST(GenericTranscoderTest, NothingIsHeldWhenTheTargetHasThrownBeforeTheEndOfTheChunk) {
    RefusingReceiver target(1);
    StreamTranscoder<UTF16, UTF8> transcoder;
    UTextReceiver<UTF8>& receiver = transcoder(target);
    receiver.Start(UTF8());
    unsigned char const begun[] = {0x41, 0xE2};
    receiver.Receive(begun);
    Units<UTF8> text(3000, 'a');
    text[0] = 0x82;
    text[1] = 0xAC;
    text.back() = 0xC3;
    EXPECT_THROW(receiver.Receive(ArrayOfUnits(text)), std::runtime_error);
    receiver.ReceiveEnd();
    EXPECT_TRUE(target.ended);
}

// Of all that a stage does: runs of every kind, in chunks that cut sequences, and a bad end.
template <class Target, class Source>
std::size_t AllocationsOfAStage() {
    UTextReceiver<Target> target; // Drops everything.
    StreamTranscoder<Target, Source> transcoder;
    UTextReceiver<Source>& receiver = transcoder(target);
    std::mt19937 random(41);
    Units<Source> const text = RandomText<Source>(random, 20000);
    Units<Source> const bad(4, static_cast<typename Source::Unit>(0xFFFFDFFF));
    return AllocationsOf([&] {
        receiver.Start(Source());
        receiver.Receive(ArrayOfUnits(text));
        for (std::size_t place = 0; place + 7 <= text.size(); place += 7)
            receiver.Receive(ConstArrayOf<typename Source::Unit>(text.data() + place, 7));
        receiver.Start(Source());
        EXPECT_THROW(receiver.Receive(ArrayOfUnits(bad)), InvalidTextEncoding);
        receiver.ReceiveEnd();
    });
}

TEST(GenericTranscoderTest, NoStageAllocates) {
    EXPECT_EQ(0u, (AllocationsOfAStage<UTF8, UTF16>()));
    EXPECT_EQ(0u, (AllocationsOfAStage<UTF8, UTF32>()));
    EXPECT_EQ(0u, (AllocationsOfAStage<UTF16, UTF8>()));
    EXPECT_EQ(0u, (AllocationsOfAStage<UTF16, UTF32>()));
    EXPECT_EQ(0u, (AllocationsOfAStage<UTF32, UTF8>()));
    EXPECT_EQ(0u, (AllocationsOfAStage<UTF32, UTF16>()));
}

} // namespace
