#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/unicode/NaiveTranscoder.h"
#include "tests/unicode/TextStreams.h"
#include "tests/unicode/Units.h"

// Every short sequence that can tell the rules apart, through every stage, whole and cut, beside
// the contract written down step by step.
namespace {

// Compares a stage with its contract, and notes the texts for which they differ.
template <class Target, class Source>
class Comparison {
public:
    ~Comparison() {
        EXPECT_EQ("", mismatches);
        EXPECT_LT(0u, texts);
    }

    void Check(Units<Source> const& text, ChunkLengths const& lengths) {
        ++texts;
        TextOutcome<Target> const& actual = stage.Run(text, lengths);
        TextOutcome<Target> const& expected = contract.Run(text, lengths);
        if (actual == expected || mismatches.size() > 2000)
            return;
        mismatches += ShownUnits(text) + " in " + std::to_string(lengths.size()) + " chunks gave " +
                      ShownOutcome(actual) + " instead of " + ShownOutcome(expected) + "\n";
    }

    void CheckAllCuttings(Units<Source> const& text) {
        for (ChunkLengths const& lengths : AllCuttings(text.size()))
            Check(text, lengths);
    }

    // Cut at each place, the last one too, with an empty chunk in between.
    void CheckAnEmptyChunkAtEachPlace(Units<Source> const& text) {
        for (std::size_t place = 1; place <= text.size(); ++place)
            Check(text, {place, 0, text.size() - place});
    }

private:
    RecordedStage<Target, Source> stage;
    Naive::Transcoder<Target, Source> contract;
    std::string mismatches;
    std::size_t texts = 0;
};

// The bytes around which the rules for a trailing byte change, for the first one and for the
// others.
Units<UTF8> const borderSeconds{0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xFF};
Units<UTF8> const borderTrails{0x7F, 0x80, 0xBF, 0xC0};

template <class Target>
void CheckOneAndTwoBytes() {
    Comparison<Target, UTF8> comparison;
    for (unsigned first = 0; first < 256; ++first) {
        Units<UTF8> text{static_cast<unsigned char>(first)};
        comparison.CheckAllCuttings(text);
        text.push_back(0);
        for (unsigned second = 0; second < 256; ++second) {
            text[1] = static_cast<unsigned char>(second);
            comparison.CheckAllCuttings(text);
        }
    }
}

TEST(TranscoderSequencesTest, EveryOneAndTwoBytesToUTF16) { CheckOneAndTwoBytes<UTF16>(); }
TEST(TranscoderSequencesTest, EveryOneAndTwoBytesToUTF32) { CheckOneAndTwoBytes<UTF32>(); }

// `quarter` is a fourth of the lead bytes, so that the cases stay short.
template <class Target>
void CheckEveryLead(unsigned quarter) {
    Comparison<Target, UTF8> comparison;
    for (unsigned lead = 64 * quarter; lead < 64 * quarter + 64; ++lead) {
        Units<UTF8> text{static_cast<unsigned char>(lead), 0, 0, 0};
        for (unsigned char second : borderSeconds)
            for (unsigned char third : borderTrails) {
                text.resize(4);
                text[1] = second;
                text[2] = third;
                for (unsigned char fourth : borderTrails) {
                    text[3] = fourth;
                    comparison.CheckAllCuttings(text);
                    comparison.CheckAnEmptyChunkAtEachPlace(text);
                }
                text.resize(3);
                comparison.CheckAllCuttings(text);
                comparison.CheckAnEmptyChunkAtEachPlace(text);
            }
    }
}

TEST(TranscoderSequencesTest, EveryLeadBelow40WithBorderBytesToUTF16) { CheckEveryLead<UTF16>(0); }
TEST(TranscoderSequencesTest, EveryLeadBelow80WithBorderBytesToUTF16) { CheckEveryLead<UTF16>(1); }
TEST(TranscoderSequencesTest, EveryLeadBelowC0WithBorderBytesToUTF16) { CheckEveryLead<UTF16>(2); }
TEST(TranscoderSequencesTest, EveryLeadFromC0WithBorderBytesToUTF16) { CheckEveryLead<UTF16>(3); }
TEST(TranscoderSequencesTest, EveryLeadBelow40WithBorderBytesToUTF32) { CheckEveryLead<UTF32>(0); }
TEST(TranscoderSequencesTest, EveryLeadBelow80WithBorderBytesToUTF32) { CheckEveryLead<UTF32>(1); }
TEST(TranscoderSequencesTest, EveryLeadBelowC0WithBorderBytesToUTF32) { CheckEveryLead<UTF32>(2); }
TEST(TranscoderSequencesTest, EveryLeadFromC0WithBorderBytesToUTF32) { CheckEveryLead<UTF32>(3); }

// With a letter in front and behind, so that the sequences are met in the middle of a text too.
template <class Target>
void CheckBorderLeadsInEveryCutting() {
    Comparison<Target, UTF8> comparison;
    for (unsigned char lead : {0x7F, 0x80, 0xBF, 0xC0, 0xC3, 0xDF, 0xE0, 0xE2, 0xEC, 0xED,
                               0xEE, 0xEF, 0xF0, 0xF3, 0xF4, 0xF5, 0xF7, 0xF8, 0xFC, 0xFF})
        for (unsigned char second : {0x41, 0x80, 0x9F, 0xA0, 0xBF, 0xC3})
            for (unsigned char third : {0x41, 0x80, 0xBF, 0xC3})
                for (unsigned char fourth : {0x41, 0x80, 0xBF, 0xC3})
                    comparison.CheckAllCuttings({0x41, lead, second, third, fourth, 0x5A});
}

TEST(TranscoderSequencesTest, BorderLeadsInEveryCuttingToUTF16) {
    CheckBorderLeadsInEveryCutting<UTF16>();
}
TEST(TranscoderSequencesTest, BorderLeadsInEveryCuttingToUTF32) {
    CheckBorderLeadsInEveryCutting<UTF32>();
}

template <class Target>
void CheckEveryUnit() {
    Comparison<Target, UTF16> comparison;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        unsigned short const u = static_cast<unsigned short>(unit);
        comparison.Check({u}, {1});
        comparison.CheckAllCuttings({u, 0xDC00});
        comparison.CheckAllCuttings({0xD800, u});
    }
}

TEST(TranscoderSequencesTest, EveryUTF16UnitAloneAndAsHalfAPairToUTF8) { CheckEveryUnit<UTF8>(); }
TEST(TranscoderSequencesTest, EveryUTF16UnitAloneAndAsHalfAPairToUTF32) { CheckEveryUnit<UTF32>(); }

template <class Target>
void CheckBorderUnits() {
    Units<UTF16> const borders{0,      0x7F,   0x80,   0x7FF,  0x800,  0xD7FF,
                               0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFF};
    Comparison<Target, UTF16> comparison;
    for (unsigned short first : borders)
        for (unsigned short second : borders) {
            comparison.CheckAllCuttings({first, second});
            comparison.CheckAnEmptyChunkAtEachPlace({first, second});
            for (unsigned short third : borders) {
                comparison.CheckAllCuttings({first, second, third});
                comparison.CheckAllCuttings({first, second, third, 0x41});
            }
        }
}

TEST(TranscoderSequencesTest, BorderUTF16UnitsInEveryCuttingToUTF8) { CheckBorderUnits<UTF8>(); }
TEST(TranscoderSequencesTest, BorderUTF16UnitsInEveryCuttingToUTF32) { CheckBorderUnits<UTF32>(); }

template <class Target>
void CheckBorderValues() {
    Units<UTF32> const borders{0,        0x7F,     0x80,     0x7FF,      0x800,      0xD7FF,
                               0xD800,   0xDBFF,   0xDC00,   0xDFFF,     0xE000,     0xFFFE,
                               0xFFFF,   0x10000,  0x10FFFF, 0x110000,   0x1FFFFF,   0x10D800,
                               0x110041, 0x10DC00, 0xD8000,  0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    Comparison<Target, UTF32> comparison;
    for (unsigned int first : borders) {
        comparison.Check({first}, {1});
        for (unsigned int second : borders) {
            comparison.CheckAllCuttings({first, second});
            comparison.CheckAnEmptyChunkAtEachPlace({first, second});
            comparison.CheckAllCuttings({0x41, first, second, 0x42});
        }
    }
}

TEST(TranscoderSequencesTest, BorderUTF32ValuesInEveryCuttingToUTF8) { CheckBorderValues<UTF8>(); }
TEST(TranscoderSequencesTest, BorderUTF32ValuesInEveryCuttingToUTF16) {
    CheckBorderValues<UTF16>();
}

template <class Target>
void CheckRefusedValues() {
    Comparison<Target, UTF32> comparison;
    for (unsigned int value = 0xD700; value < 0xE100; ++value)
        comparison.Check({value}, {1});
    for (unsigned int value = 0x10FF00; value < 0x120000; ++value)
        comparison.Check({value}, {1});
    for (unsigned int bit = 17; bit < 32; ++bit)
        comparison.Check({0x41, 0x41 | 1u << bit}, {2});
}

TEST(TranscoderSequencesTest, EveryValueAroundTheRefusedOnesToUTF8) { CheckRefusedValues<UTF8>(); }
TEST(TranscoderSequencesTest, EveryValueAroundTheRefusedOnesToUTF16) {
    CheckRefusedValues<UTF16>();
}

} // namespace
