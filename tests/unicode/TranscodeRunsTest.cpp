#include "unicode/TranscodeRuns.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/unicode/NaiveTranscoder.h"
#include "tests/unicode/RandomText.h"
#include "tests/unicode/TextStreams.h"
#include "tests/unicode/Units.h"

// Long texts of all kinds of runs, through whole stages in random cuttings, beside the contract
// written down step by step: the units, the number and sizes of the calls, and what is thrown where.
namespace {

// Chunks of many sizes, empty ones among them, that make up `length`.
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

template <class Target, class Source>
void CompareWithContract(unsigned seed, bool malformed) {
    std::mt19937 random(seed);
    RecordedStage<Target, Source> stage;
    Naive::Transcoder<Target, Source> contract;
    int thrown = 0;
    for (int round = 0; round < 150; ++round) {
        Units<Source> text = RandomText<Source>(random, random() % 6000);
        if (malformed && !text.empty())
            for (int spoilt = 0; spoilt < 3; ++spoilt)
                text[random() % text.size()] =
                    static_cast<typename Source::Unit>(random() >> random() % 24);
        bool const whole = random() % 2 == 0;
        ChunkLengths const lengths =
            whole ? ChunkLengths{text.size()} : RandomChunks(random, text.size());
        TextOutcome<Target> const& actual = stage.Run(text, lengths);
        TextOutcome<Target> const& expected = contract.Run(text, lengths);
        if (actual.thrownAt >= 0)
            ++thrown;
        ASSERT_TRUE(actual == expected)
            << "seed " << seed << " round " << round << ", thrown at " << actual.thrownAt
            << " instead of " << expected.thrownAt << ", units " << actual.units.size()
            << " instead of " << expected.units.size();
    }
    if (malformed) {
        EXPECT_LT(10, thrown);
    }
}

TEST(TranscodeRunsTest, RandomTextsFromUTF8AreAsTheContractSays) {
    CompareWithContract<UTF16, UTF8>(1, false);
    CompareWithContract<UTF32, UTF8>(2, false);
}

TEST(TranscodeRunsTest, RandomTextsFromUTF16AreAsTheContractSays) {
    CompareWithContract<UTF8, UTF16>(3, false);
    CompareWithContract<UTF32, UTF16>(4, false);
}

TEST(TranscodeRunsTest, RandomTextsFromUTF32AreAsTheContractSays) {
    CompareWithContract<UTF8, UTF32>(5, false);
    CompareWithContract<UTF16, UTF32>(6, false);
}

TEST(TranscodeRunsTest, MalformedTextsFromUTF8AreAsTheContractSays) {
    CompareWithContract<UTF16, UTF8>(7, true);
    CompareWithContract<UTF32, UTF8>(8, true);
}

TEST(TranscodeRunsTest, MalformedTextsFromUTF16AreAsTheContractSays) {
    CompareWithContract<UTF8, UTF16>(9, true);
    CompareWithContract<UTF32, UTF16>(10, true);
}

TEST(TranscodeRunsTest, MalformedTextsFromUTF32AreAsTheContractSays) {
    CompareWithContract<UTF8, UTF32>(11, true);
    CompareWithContract<UTF16, UTF32>(12, true);
}

// What a run over a text from `first` on does to a block that has `room` units left.
template <class Target, class Source, class Run>
std::string RunInto(Units<Source> const& text, std::size_t first, std::size_t room, Run run) {
    // In memory of exactly these sizes, so that reading or writing past them is found out.
    Units<Source> const source(text.begin() + static_cast<std::ptrdiff_t>(first), text.end());
    Units<Target> block(room + 5, 0x55);
    BufferOf<typename Target::Unit> buffer(
        ArrayOf<typename Target::Unit>(block.data(), block.size()));
    buffer.count = 5;
    std::string result;
    try {
        auto const position = run(source.data(), source.data() + source.size(), buffer);
        result = "took " + std::to_string(position - source.data());
        block.resize(buffer.count);
        result += " gave " + ShownUnits(block);
    } catch (InvalidTextEncoding const&) {
        result = "thrown";
    }
    return result;
}

template <class Target, class Source>
void CompareWithPlainForm(unsigned seed) {
    std::mt19937 random(seed);
    std::string mismatches;
    for (int round = 0; round < 3000; ++round) {
        Units<Source> text = RandomText<Source>(random, 1 + random() % 90);
        if (round % 3 == 0)
            text[random() % text.size()] =
                static_cast<typename Source::Unit>(random() >> random() % 24);
        std::size_t const first = random() % (text.size() + 1);
        std::size_t const room = random() % 200;
        std::string const fast = RunInto<Target, Source>(
            text, first, room, [](auto... a) { return TranscodeRun<Target, Source>(a...); });
        std::string const plain = RunInto<Target, Source>(
            text, first, room, [](auto... a) { return TranscodeRunPlainly<Target, Source>(a...); });
        if (fast != plain)
            mismatches += ShownUnits(text) + " from " + std::to_string(first) + ": " + fast +
                          " instead of " + plain + "\n";
    }
    EXPECT_EQ("", mismatches.substr(0, 2000)) << "seed " << seed;
}

TEST(TranscodeRunsTest, EachFastFormDoesWhatItsPlainFormDoes) {
    CompareWithPlainForm<UTF8, UTF16>(21);
    CompareWithPlainForm<UTF8, UTF32>(22);
    CompareWithPlainForm<UTF16, UTF8>(23);
    CompareWithPlainForm<UTF16, UTF32>(24);
    CompareWithPlainForm<UTF32, UTF8>(25);
    CompareWithPlainForm<UTF32, UTF16>(26);
}

} // namespace
