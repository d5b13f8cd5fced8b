#include "data/Ascii.h"

#include "tests/data/DataTest.h"

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
        {"Alphabetic_", Alphabetic_(), 53, "AZ__az"},
        {"Numeric", Numeric(), 10, "09"},
        {"Alphanumeric", Alphanumeric(), 62, "09AZaz"},
        {"Alphanumeric_", Alphanumeric_(), 63, "09AZ__az"},
        {"UppercaseAlphabet", UppercaseAlphabet(), 26, "AZ"},
        {"LowercaseAlphabet", LowercaseAlphabet(), 26, "az"},
        {"HexDigits", HexDigits(), 22, "09AFaf"},
        {"Punctuation", Punctuation(), 32, "\x21\x2F\x3A\x40\x5B\x60\x7B\x7E"},
    };
}

std::string MembersOf(AsciiSet const& set) {
    std::string members;
    for (char const byte : EveryByte())
        if (set.Contains(static_cast<unsigned char>(byte)))
            members.push_back(byte);
    return members;
}

TEST(AsciiTest, EachSetContainsExactlyItsMembers) {
    for (SetCase const& set : AllSets()) {
        std::string members;
        for (std::size_t i = 0; i < set.spans.size(); i += 2)
            for (int byte = static_cast<unsigned char>(set.spans[i]);
                 byte <= static_cast<unsigned char>(set.spans[i + 1]); ++byte)
                members.push_back(static_cast<char>(byte));
        EXPECT_EQ(members, MembersOf(*set.set)) << set.name;
        EXPECT_EQ(set.count, members.size()) << set.name;
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
    for (unsigned value = 0; value <= 16; ++value) {
        EXPECT_EQ("0123456789abcdefg"[value], Ascii::HexDigit(value));
        EXPECT_EQ(value, Ascii::HexDigitValue(Ascii::HexDigit(value)));
        EXPECT_EQ(value, Ascii::HexDigitValue("0123456789ABCDEFG"_bytes[value]));
    }
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
    EXPECT_EQ(Bytes("\0\x3F\xE2"), MembersOf(set));
}

TEST(AsciiSetTest, CombinesAndComplementsSets) {
    AsciiSet const set = AsciiSet::Span('a', 'c') | AsciiSet::Only(0xFF);
    EXPECT_EQ("abc\xFF", MembersOf(set));
    EXPECT_TRUE(set['b'] && set[0xFF] && !set['d']);
    EXPECT_EQ(EveryByte().replace('a', 3, "").substr(0, 252), MembersOf(~set));
}

TEST(AsciiTrimTest, TrimsAtTheEndsOnly) {
    ConstData const text(" \t\r\na b\t c \n\r\t");
    EXPECT_EQ(ConstData("a b\t c"), TrimAsciiWhitespace(text));
    EXPECT_EQ(ConstData("a b\t c \n\r\t"), TrimLeadingAsciiWhitespace(text));
}

TEST(AsciiTrimTest, TrimsOnlyTabLineFeedCarriageReturnAndSpace) {
    for (char const byte : EveryByte()) {
        std::string const text{byte, 'x', byte};
        bool const isTrimmed = std::string("\t\n\r ").find(byte) != std::string::npos;
        EXPECT_EQ(ConstData(isTrimmed ? "x" : text), TrimAsciiWhitespace(text));
        EXPECT_EQ(ConstData(isTrimmed ? text.substr(1) : text), TrimLeadingAsciiWhitespace(text));
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
