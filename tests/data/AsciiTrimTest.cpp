#include "data/AsciiTrim.h"

#include <gtest/gtest.h>

#include "tests/support/Bytes.h"

namespace {

std::string Trimmed(std::string const& text) { return MakeString(TrimAsciiWhitespace(text)); }

std::string LeadingTrimmed(std::string const& text) {
    return MakeString(TrimLeadingAsciiWhitespace(text));
}

TEST(AsciiTrimTest, WhiteSpaceIsTakenOffTheEndsOnly) {
    EXPECT_EQ("a b\t c", Trimmed(" \t\r\na b\t c \n\r\t"));
    EXPECT_EQ("a b\t c \n", LeadingTrimmed(" \t\r\na b\t c \n"));
    EXPECT_EQ("x", Trimmed("x"));
}

TEST(AsciiTrimTest, OnlyFourBytesAreWhiteSpace) {
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

TEST(AsciiTrimTest, HighByteEndsTheTrimming) {
    EXPECT_EQ("a \xA0", Trimmed(" a \xA0"));
    EXPECT_EQ("a \xA0", Trimmed("a \xA0 "));
    EXPECT_EQ("\xA0 a", LeadingTrimmed(" \xA0 a"));
}

TEST(AsciiTrimTest, NothingLeftStandsAtTheEndOfTheInput) {
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
