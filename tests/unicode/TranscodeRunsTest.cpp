#include "unicode/TranscodeRuns.h"

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

// Long texts of all kinds of runs, through whole stages in random cuttings, beside the contract
// written down step by step: the units, the number and sizes of the calls, and what is thrown
// where.
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

// What a run does to a block that has `room` units left.
template <class Target>
struct RunOutcome {
    bool operator==(RunOutcome const&) const = default;

    std::ptrdiff_t read = -1; // If nothing was thrown.
    Units<Target> written;
};

template <class Target, class Source, class Run>
RunOutcome<Target> RunInto(std::size_t room, Units<Source> const& text, Run run) {
    // In memory of exactly these sizes, so that reading or writing past them is found out.
    Units<Source> const source(text);
    Units<Target> block(room + 5, 0x55);
    BufferOf<typename Target::Unit> buffer(
        ArrayOf<typename Target::Unit>(block.data(), block.size()));
    buffer.count = 5;
    RunOutcome<Target> outcome;
    try {
        auto const position = run(source.data(), source.data() + source.size(), buffer);
        outcome.read = position - source.data();
        outcome.written.assign(block.begin(), block.begin() + buffer.count);
    } catch (InvalidTextEncoding const&) {
    }
    return outcome;
}

// Yields what is wrong, or nothing. The forms with shuffles are laid beside the plain one only
// where the processor has them, those without on every one.
template <class Target, class Source>
std::string Difference(std::size_t room, Units<Source> const& text) {
    auto const plain = RunInto<Target, Source>(
        room, text, [](auto&&... a) { return TranscodeRunPlainly<Target, Source>(a...); });
    std::string differences;
    for (bool shuffles : {false, TranscodeShuffles::AreThere()}) {
        auto const fast = RunInto<Target, Source>(room, text, [shuffles](auto&&... a) {
            return TranscodeRun<Target, Source>(a..., shuffles);
        });
        if (fast != plain)
            differences += ShownUnits(text) + " with room for " + std::to_string(room) + ": read " +
                           std::to_string(fast.read) + " gave " + ShownUnits(fast.written) +
                           " instead of " + std::to_string(plain.read) + ", " +
                           ShownUnits(plain.written) + "\n";
    }
    return differences;
}

template <class Target, class Source>
void CompareWithPlainForm(unsigned seed) {
    std::mt19937 random(seed);
    std::string differences;
    for (int round = 0; round < 3000 && differences.size() < 2000; ++round) {
        Units<Source> text = RandomText<Source>(random, 1 + random() % 150);
        text.erase(text.begin(), text.begin() + random() % std::min<std::size_t>(4, text.size()));
        if (round % 3 == 0 && !text.empty())
            text[random() % text.size()] =
                static_cast<typename Source::Unit>(random() >> random() % 24);
        differences += Difference<Target, Source>(random() % 300, text);
    }
    EXPECT_EQ("", differences) << "seed " << seed;
}

TEST(TranscodeRunsTest, EachFastFormDoesWhatItsPlainFormDoes) {
    CompareWithPlainForm<UTF8, UTF16>(21);
    CompareWithPlainForm<UTF8, UTF32>(22);
    CompareWithPlainForm<UTF16, UTF8>(23);
    CompareWithPlainForm<UTF16, UTF32>(24);
    CompareWithPlainForm<UTF32, UTF8>(25);
    CompareWithPlainForm<UTF32, UTF16>(26);
}

// A run of one kind, or of all of them mixed, with a unit of another kind, good or bad, at each of
// its places.
template <class Target, class Source>
void DisturbRuns(Units<Source> const& disturbances) {
    std::mt19937 random(31);
    std::string differences;
    for (unsigned kind = 0; kind < 7; ++kind) {
        Units<UTF32> characters;
        while (characters.size() < 100)
            characters.push_back(RandomCharacter(random, kind < 6 ? kind : random() % 5));
        Units<Source> const run = Encoded<Source>(characters);
        for (std::size_t place = 0; place < 100; ++place)
            for (typename Source::Unit disturbance : disturbances) {
                Units<Source> text(run.begin(), run.begin() + 100);
                text[place] = disturbance;
                if (differences.size() < 2000)
                    differences += Difference<Target, Source>(400 - place, text);
            }
    }
    EXPECT_EQ("", differences);
}

Units<UTF8> const oddBytes{0x41, 0x80, 0xBF, 0xC0, 0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF8, 0xFF};
Units<UTF16> const oddUnits{0x41, 0x80, 0x7FF, 0x800, 0xD7FF, 0xD800, 0xDBFF, 0xDC00, 0xE000};
Units<UTF32> const oddValues{0x41,   0x80,    0x7FF,    0x800,    0xD7FF,     0xD800,    0xDFFF,
                             0xE000, 0x10000, 0x10FFFF, 0x110000, 0x80000041, 0x7FFF0041};

TEST(TranscodeRunsTest, DisturbedRunsOfUTF8ToUTF16AreReadAsPlainly) {
    DisturbRuns<UTF16, UTF8>(oddBytes);
}
TEST(TranscodeRunsTest, DisturbedRunsOfUTF8ToUTF32AreReadAsPlainly) {
    DisturbRuns<UTF32, UTF8>(oddBytes);
}
TEST(TranscodeRunsTest, DisturbedRunsOfUTF16AreReadAsPlainly) {
    DisturbRuns<UTF8, UTF16>(oddUnits);
    DisturbRuns<UTF32, UTF16>(oddUnits);
}
TEST(TranscodeRunsTest, DisturbedRunsOfUTF32AreReadAsPlainly) {
    DisturbRuns<UTF8, UTF32>(oddValues);
    DisturbRuns<UTF16, UTF32>(oddValues);
}

} // namespace
