#include "companions/Utf8.h"

#include "tests/companions/CompanionTest.h"

namespace {

// Encodes any number as UTF-8, also if it is not a Unicode scalar value.
std::string Encode(std::uint32_t value) {
    auto const byte = [](std::uint32_t bits) {
        return static_cast<char>(bits);
    };
    auto const more = [&](int shift) {
        return byte(0x80 | (value >> shift & 0x3F));
    };
    if (value < 0x80)
        return {byte(value)};
    if (value < 0x800)
        return {byte(0xC0 | value >> 6), more(0)};
    if (value < 0x10000)
        return {byte(0xE0 | value >> 12), more(6), more(0)};
    return {byte(0xF0 | value >> 18), more(12), more(6), more(0)};
}

TEST(Utf8Test, DecodesExactlyTheScalarValues) {
    for (std::uint32_t value = 0; value < 0x120000; ++value) {
        std::string const text = Encode(value);
        bool const isCharacter = value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
        Character const character = DecodeCharacter(text + "x");
        ASSERT_EQ(isCharacter ? text.size() : 0, character.length) << value;
        if (isCharacter) {
            ASSERT_EQ(value, character.codePoint);
        }
    }
}

TEST(Utf8Test, RejectsTruncatedSequences) {
    for (std::uint32_t const value : {0xB5u, 0x7FFu, 0x20ACu, 0xFFFFu, 0x1F600u, 0x10FFFFu}) {
        std::string const text = Encode(value);
        EXPECT_EQ(0u, DecodeCharacter("").length);
        for (std::size_t length = 1; length < text.size(); ++length) {
            EXPECT_EQ(0u, DecodeCharacter(text.substr(0, length)).length);
            EXPECT_EQ(0u, DecodeCharacter(text.substr(0, length) + std::string(4, 'x')).length);
        }
    }
}

TEST(Utf8Test, RejectsOverlongSequences) {
    for (std::string const text : {"\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF",
                                   "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF"})
        EXPECT_FALSE(IsUtf8(text));
}

TEST(Utf8Test, TextIsUtf8IfAllSequencesAreWellFormed) {
    EXPECT_TRUE(IsUtf8(""));
    EXPECT_TRUE(IsUtf8("plain"));
    EXPECT_TRUE(IsUtf8("\xC2\xB5s \xE2\x82\xAC \xF0\x9F\x98\x80"));
    EXPECT_FALSE(IsUtf8("\xB5s"));
    EXPECT_FALSE(IsUtf8("plain \xC2"));
    EXPECT_FALSE(IsUtf8("\xC2\xB5 then \xFF"));
}

// Compares with the JSON library, which rejects ill-formed UTF-8.
TEST(Utf8Test, AgreesWithTheJsonLibraryOnAnyFourBytes) {
    char const bytes[] = {'a',    '\x7F', '\x80', '\x8F', '\x90', '\x9F', '\xA0', '\xBF', '\xC0',
                          '\xC2', '\xDF', '\xE0', '\xE1', '\xED', '\xEF', '\xF0', '\xF4', '\xFF'};
    for (char const first : bytes)
        for (char const second : bytes)
            for (char const third : bytes)
                for (char const fourth : bytes) {
                    std::string const text = {first, second, third, fourth};
                    bool const accepted = Json::accept("\"" + text + "\"");
                    ASSERT_EQ(accepted, IsUtf8(text)) << testing::PrintToString(text);
                }
}

} // namespace
