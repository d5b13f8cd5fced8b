#include "companions/VisibleText.h"

#include <gtest/gtest.h>

#include "companions/Utf8.h"

namespace {

TEST(VisibleTextTest, Utf8IsReadableAsItIs) {
    for (std::string const text : {"", "plain \\ text", "\xC2\xB5s \xE2\x82\xAC \xF0\x9F\x98\x80",
                                   "\t\n\r\x1b[31m", "\xE2\x80\xAE"})
        EXPECT_EQ(text, MakeReadable(text));
}

TEST(VisibleTextTest, BytesOutOfPlaceAreEscapes) {
    EXPECT_EQ("\\xb5s", MakeReadable("\xB5s"));
    EXPECT_EQ("a\\xe2\\x82", MakeReadable("a\xE2\x82"));
    EXPECT_EQ("\\xff\xC2\xB5\\xc2", MakeReadable("\xFF\xC2\xB5\xC2"));
    EXPECT_EQ("\\xed\\xa0\\x80", MakeReadable("\xED\xA0\x80"));
    EXPECT_EQ("\\xb5s", MakeVisible("\xB5s"));
}

TEST(VisibleTextTest, ControlCharactersAreVisible) {
    EXPECT_EQ("a\\tb\\nc\\rd", MakeVisible("a\tb\nc\rd"));
    EXPECT_EQ("\\x1b[31mred\\x07\\x7f", MakeVisible("\x1b[31mred\x07\x7f"));
    EXPECT_EQ("\\x00", MakeVisible(std::string_view("\0", 1)));
    EXPECT_EQ("\\u009b31m", MakeVisible("\xC2\x9B"
                                        "31m"));
    EXPECT_EQ("\\u2028", MakeVisible("\xE2\x80\xA8"));
}

TEST(VisibleTextTest, CharactersThatTurnTheDirectionAreVisible) {
    EXPECT_EQ("a\\u202eb\\u2066c\\u200f", MakeVisible("a\xE2\x80\xAE"
                                                      "b\xE2\x81\xA6"
                                                      "c\xE2\x80\x8F"));
}

TEST(VisibleTextTest, OtherTextIsVisibleAsItIs) {
    for (std::string const text :
         {"", "plain \\ text", "\xC2\xA0\xC2\xB5s \xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xD7\x90"})
        EXPECT_EQ(text, MakeVisible(text));
}

// Of whatever bytes: it is UTF-8, and has no control bytes.
TEST(VisibleTextTest, AnyTwoBytesBecomeHarmless) {
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second) {
            std::string const bytes = {static_cast<char>(first), static_cast<char>(second)};
            std::string const text = MakeVisible(bytes);
            ASSERT_TRUE(IsUtf8(text));
            ASSERT_TRUE(IsUtf8(MakeReadable(bytes)));
            for (char const c : text)
                ASSERT_TRUE(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
        }
}

TEST(VisibleTextTest, ColumnsAreCharacters) {
    EXPECT_EQ(0u, CountColumns(""));
    EXPECT_EQ(5u, CountColumns("plain"));
    EXPECT_EQ(2u, CountColumns("\xC2\xB5s"));
    EXPECT_EQ(3u, CountColumns("\xE2\x82\xAC\xF0\x9F\x98\x80!"));
}

} // namespace
