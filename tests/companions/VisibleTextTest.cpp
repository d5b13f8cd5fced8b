#include "companions/VisibleText.h"

#include <cstdio>

#include "companions/Utf8.h"
#include "tests/companions/CompanionTest.h"

namespace {

TEST(VisibleTextTest, ReadableTextKeepsWellFormedUtf8) {
    for (std::string const text : {"", "plain \\ text", "\xC2\xB5s \xE2\x82\xAC \xF0\x9F\x98\x80",
                                   "\t\n\r\x1b[31m", "\xE2\x80\xAE"})
        EXPECT_EQ(text, MakeReadable(text));
}

TEST(VisibleTextTest, EscapesIllFormedSequences) {
    EXPECT_EQ("\\xb5s", MakeReadable("\xB5s"));
    EXPECT_EQ("a\\xe2\\x82", MakeReadable("a\xE2\x82"));
    EXPECT_EQ("\\xff\xC2\xB5\\xc2", MakeReadable("\xFF\xC2\xB5\xC2"));
    EXPECT_EQ("\\xed\\xa0\\x80", MakeReadable("\xED\xA0\x80"));
    EXPECT_EQ("\\xb5s", MakeVisible("\xB5s"));
}

TEST(VisibleTextTest, EscapesControlsWithinText) {
    EXPECT_EQ("\\x1b[31mred\\x07\\x7f", MakeVisible("\x1b[31mred\x07\x7f"));
    EXPECT_EQ("a\\u202eb\\u2066c\\u200f", MakeVisible("a\xE2\x80\xAE"
                                                      "b\xE2\x81\xA6"
                                                      "c\xE2\x80\x8F"));
}

TEST(VisibleTextTest, VisibleTextKeepsPrintableCharacters) {
    for (std::string const text :
         {"", "plain \\ text", "\xC2\xA0\xC2\xB5s \xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xD7\x90"})
        EXPECT_EQ(text, MakeVisible(text));
}

std::string Escape(char const* format, std::uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string EscapeOf(std::uint32_t value) {
    return Escape(value > 0xFFFF ? "\\U%08x" : "\\u%04x", value);
}

TEST(VisibleTextTest, EscapesEveryAsciiControlCharacter) {
    for (std::uint32_t value = 0; value < 0x80; ++value) {
        std::string expected(1, static_cast<char>(value));
        if (value == '\t' || value == '\n' || value == '\r')
            expected = value == '\t' ? "\\t" : value == '\n' ? "\\n" : "\\r";
        else if (value < 0x20 || value == 0x7F)
            expected = Escape("\\x%02x", value);
        EXPECT_EQ(expected, MakeVisible(std::string(1, static_cast<char>(value))));
    }
}

TEST(VisibleTextTest, EscapesC1ControlsAsBytesAndCharacters) {
    for (std::uint32_t value = 0x80; value <= 0x9F; ++value) {
        EXPECT_EQ(Escape("\\x%02x", value), MakeVisible(std::string(1, static_cast<char>(value))));
        EXPECT_EQ(EscapeOf(value), MakeVisible(EncodeUtf8(value)));
    }
}

TEST(VisibleTextTest, EscapesHiddenCharacters) {
    // Soft hyphen, joiners, Arabic signs, Hangul fillers, zero widths, separators, directions,
    // variation selectors, byte order mark, annotations, formats and tags. Also reserved code
    // points that are ignorable by default.
    for (std::uint32_t const value :
         {0xAD,    0x34F,   0x600,   0x61C,   0x115F,  0x1160,  0x17B4,  0x180E, 0x200B,
          0x200D,  0x2028,  0x2029,  0x202A,  0x202E,  0x2060,  0x2065,  0x2066, 0x2069,
          0x206F,  0x3164,  0xFE00,  0xFE0F,  0xFEFF,  0xFFA0,  0xFFF9,  0xFFFB, 0x13430,
          0x1D173, 0xE0001, 0xE0020, 0xE007F, 0xE0080, 0xE0100, 0xE01EF, 0xE0FFF})
        EXPECT_EQ("a" + EscapeOf(value) + "b", MakeVisible("a" + EncodeUtf8(value) + "b"));
}

TEST(VisibleTextTest, DoesNotEscapeNeighboursOfHiddenCharacters) {
    for (std::uint32_t const value :
         {0xA0,   0xAC,   0xAE,   0x34E,  0x350,   0x606,   0x115E,  0x1161,  0x200A,
          0x2010, 0x2027, 0x202F, 0x205F, 0x2070,  0x3163,  0x3165,  0xFDFF,  0xFE10,
          0xFEFE, 0xFF00, 0xFFFC, 0xFFFD, 0x1D172, 0x1D17B, 0xDFFFF, 0xE1000, 0x10FFFF})
        EXPECT_EQ(EncodeUtf8(value), MakeVisible(EncodeUtf8(value))) << value;
}

TEST(VisibleTextTest, EscapesNonAsciiCharactersForAscii) {
    std::string const text = "\xC3\x9B\xE2\x82\xAC\xF0\x9F\x98\x80 \xB5 \\";
    EXPECT_EQ("\\u00db\\u20ac\\U0001f600 \\xb5 \\", MakeVisible(text, CharacterSet::ascii));
}

// Readable text is UTF-8, too, but keeps control characters.
TEST(VisibleTextTest, VisibleTextOfAnyTwoBytesIsUtf8WithoutControls) {
    auto const isPlain = [](char c) {
        return c >= 0x20 && c < 0x7F;
    };
    auto const isControl = [](unsigned char c) {
        return c < 0x20 || c == 0x7F;
    };
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second) {
            std::string const bytes = {static_cast<char>(first), static_cast<char>(second)};
            ASSERT_TRUE(IsUtf8(MakeVisible(bytes)));
            ASSERT_TRUE(IsUtf8(MakeReadable(bytes)));
            ASSERT_TRUE(std::ranges::none_of(MakeVisible(bytes), isControl));
            ASSERT_TRUE(std::ranges::all_of(MakeVisible(bytes, CharacterSet::ascii), isPlain));
        }
}

} // namespace
