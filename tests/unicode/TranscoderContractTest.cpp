#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/unicode/NaiveTranscoder.h"
#include "tests/unicode/RandomText.h"
#include "tests/unicode/TextStreams.h"
#include "tests/unicode/Units.h"

// Long texts with runs of every kind, split at random into chunks, through whole stages and through
// a model of the contract. Compares the units, the number and sizes of the calls, and where an
// exception is thrown.
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

TEST(TranscoderContractTest, RandomTextsFromUTF8FollowTheContract) {
    CompareWithContract<UTF16, UTF8>(1, false);
    CompareWithContract<UTF32, UTF8>(2, false);
}

TEST(TranscoderContractTest, RandomTextsFromUTF16FollowTheContract) {
    CompareWithContract<UTF8, UTF16>(3, false);
    CompareWithContract<UTF32, UTF16>(4, false);
}

TEST(TranscoderContractTest, RandomTextsFromUTF32FollowTheContract) {
    CompareWithContract<UTF8, UTF32>(5, false);
    CompareWithContract<UTF16, UTF32>(6, false);
}

TEST(TranscoderContractTest, MalformedTextsFromUTF8FollowTheContract) {
    CompareWithContract<UTF16, UTF8>(7, true);
    CompareWithContract<UTF32, UTF8>(8, true);
}

TEST(TranscoderContractTest, MalformedTextsFromUTF16FollowTheContract) {
    CompareWithContract<UTF8, UTF16>(9, true);
    CompareWithContract<UTF32, UTF16>(10, true);
}

TEST(TranscoderContractTest, MalformedTextsFromUTF32FollowTheContract) {
    CompareWithContract<UTF8, UTF32>(11, true);
    CompareWithContract<UTF16, UTF32>(12, true);
}

} // namespace
