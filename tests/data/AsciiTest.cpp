#include "data/Ascii.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Bytes.h"

namespace {

struct SetCase {
    char const* name;
    AsciiSet const* set;
    unsigned count;
    std::string spans; // Pairs of first and last members.
};

std::vector<SetCase> AllSets() {
    using namespace Ascii;
    return {
        {"Printable", Printable(), 94, "\x21\x7E"},
        {"Unprintable", Unprintable(), 162, Bytes("\x00\x20\x7F\xFF")},
        {"PlainText", PlainText(), 95, "\x20\x7E"},
        {"Control", Control(), 33, Bytes("\x00\x1F\x7F\x7F")},
        {"Low", Low(), 128, Bytes("\x00\x7F")},
        {"High", High(), 128, "\x80\xFF"},
        {"WhiteSpace", WhiteSpace(), 4, "\x09\x0A\x0D\x0D\x20\x20"},
        {"LinearWhiteSpace", LinearWhiteSpace(), 2, "\x09\x09\x20\x20"},
        {"Alphabetic", Alphabetic(), 52, "AZaz"},
        {"Alphabetic_", Alphabetic_(), 53, "AZaz__"},
        {"Numeric", Numeric(), 10, "09"},
        {"Alphanumeric", Alphanumeric(), 62, "09AZaz"},
        {"Alphanumeric_", Alphanumeric_(), 63, "09AZaz__"},
        {"UppercaseAlphabet", UppercaseAlphabet(), 26, "AZ"},
        {"LowercaseAlphabet", LowercaseAlphabet(), 26, "az"},
        {"HexDigits", HexDigits(), 22, "09AFaf"},
        {"Punctuation", Punctuation(), 32, "\x21\x2F\x3A\x40\x5B\x60\x7B\x7E"},
    };
}

bool LiesInSpans(unsigned byte, std::string const& spans) {
    for (std::size_t i = 0; i < spans.size(); i += 2)
        if (static_cast<unsigned char>(spans[i]) <= byte &&
            byte <= static_cast<unsigned char>(spans[i + 1]))
            return true;
    return false;
}

TEST(AsciiTest, EachSetContainsExactlyItsMembers) {
    for (SetCase const& set : AllSets()) {
        unsigned count = 0;
        for (unsigned byte = 0; byte < 256; ++byte) {
            bool const contained = set.set->Contains(static_cast<unsigned char>(byte));
            count += contained;
            EXPECT_EQ(LiesInSpans(byte, set.spans), contained) << set.name << ": " << byte;
        }
        EXPECT_EQ(set.count, count) << set.name;
    }
}

TEST(AsciiTest, EachSetIsOneConstantObject) {
    std::vector<SetCase> const first = AllSets();
    std::vector<SetCase> const second = AllSets();
    for (std::size_t i = 0; i < first.size(); ++i)
        EXPECT_EQ(first[i].set, second[i].set) << first[i].name;
    static_assert(Ascii::WhiteSpace()->Contains('\r') && (*Ascii::HexDigits())['f'] &&
                  !(*Ascii::HexDigits())['g']);
}

TEST(AsciiTest, HexDigitIsLowercaseWithoutRangeCheck) {
    std::string digits;
    for (unsigned value = 0; value <= 16; ++value)
        digits.push_back(static_cast<char>(Ascii::HexDigit(value)));
    EXPECT_EQ("0123456789abcdefg", digits);
}

TEST(AsciiTest, HexDigitValueIsTheInverseForBothCases) {
    std::string const digits = "0123456789ABCDEFG";
    for (unsigned value = 0; value <= 16; ++value) {
        EXPECT_EQ(value, Ascii::HexDigitValue(Ascii::HexDigit(value)));
        EXPECT_EQ(value, Ascii::HexDigitValue(static_cast<unsigned char>(digits[value])));
    }
}

unsigned CountMembers(AsciiSet const& set) {
    unsigned count = 0;
    for (unsigned byte = 0; byte < 256; ++byte)
        count += set.Contains(static_cast<unsigned char>(byte));
    return count;
}

TEST(AsciiSetTest, SpanIncludesBothEnds) {
    unsigned char const ends[] = {0, 1, 31, 32, 33, 127, 128, 223, 224, 254, 255};
    for (unsigned char first : ends)
        for (unsigned char last : ends)
            for (unsigned byte = 0; byte < 256; ++byte)
                ASSERT_EQ(first <= byte && byte <= last,
                          AsciiSet::Span(first, last).Contains(static_cast<unsigned char>(byte)))
                    << byte << " in " << int(first) << " to " << int(last);
}

TEST(AsciiSetTest, MembershipIsOneBitOfAWord) {
    AsciiSet const set{{0x00000001, 0x80000000, 0, 0, 0, 0, 0, 0x00000004}};
    EXPECT_TRUE(set.Contains(0));
    EXPECT_TRUE(set.Contains(63));
    EXPECT_TRUE(set.Contains(226));
    EXPECT_EQ(3u, CountMembers(set));
}

TEST(AsciiSetTest, CombinesAndComplementsSets) {
    AsciiSet const set = AsciiSet::Span('a', 'c') | AsciiSet::Only(0xFF);
    EXPECT_EQ(4u, CountMembers(set));
    EXPECT_TRUE(set['b'] && set[0xFF]);
    EXPECT_EQ(252u, CountMembers(~set));
    EXPECT_FALSE((~set)['b'] || (~set)[0xFF]);
}

std::string Trimmed(std::string const& text) { return MakeString(TrimAsciiWhitespace(text)); }

std::string LeadingTrimmed(std::string const& text) {
    return MakeString(TrimLeadingAsciiWhitespace(text));
}

TEST(AsciiTrimTest, TrimsAtTheEndsOnly) {
    EXPECT_EQ("a b\t c", Trimmed(" \t\r\na b\t c \n\r\t"));
    EXPECT_EQ("a b\t c \n", LeadingTrimmed(" \t\r\na b\t c \n"));
}

TEST(AsciiTrimTest, TrimsOnlyTabLineFeedReturnAndSpace) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        std::string const character(1, static_cast<char>(byte));
        bool const isTrimmed = byte == 9 || byte == 10 || byte == 13 || byte == 32;
        EXPECT_EQ(isTrimmed ? "x" : character + "x" + character,
                  Trimmed(character + "x" + character))
            << byte;
        EXPECT_EQ(isTrimmed ? "x" + character : character + "x" + character,
                  LeadingTrimmed(character + "x" + character))
            << byte;
    }
}

TEST(AsciiTrimTest, EmptyResultIsAtTheEndOfTheInput) {
    for (ConstData const text : {ConstData(" \t \r\n"), ConstData(" "), ConstData("")}) {
        for (ConstData const trimmed :
             {TrimAsciiWhitespace(text), TrimLeadingAsciiWhitespace(text)}) {
            EXPECT_EQ(text.end, trimmed.begin);
            EXPECT_EQ(text.end, trimmed.end);
        }
    }
    EXPECT_EQ(nullptr, TrimAsciiWhitespace(ConstData()).begin);
}

} // namespace
