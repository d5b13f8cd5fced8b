#include "companions/Utf8.h"

#include "tests/companions/CompanionTest.h"

namespace {

TEST(Utf8Test, DecodesExactlyTheScalarValues) {
    for (std::uint32_t value = 0; value < 0x120000; ++value) {
        std::string const text = EncodeUtf8(value);
        bool const isCharacter = value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
        Character const character = DecodeCharacter(text + "x");
        ASSERT_EQ(isCharacter ? text.size() : 0, character.length) << value;
        if (isCharacter) {
            ASSERT_EQ(value, character.codePoint);
        }
    }
}

// Compares with the JSON library, which rejects ill-formed UTF-8.
TEST(Utf8Test, AgreesWithTheJsonLibraryAtBoundaryBytes) {
    EXPECT_TRUE(IsUtf8(""));
    EXPECT_EQ(0u, DecodeCharacter("").length);
    char const bytes[] = {'a',    '\x7F', '\x80', '\x8F', '\x90', '\x9F', '\xA0',
                          '\xBF', '\xC0', '\xC1', '\xC2', '\xDF', '\xE0', '\xE1',
                          '\xED', '\xEF', '\xF0', '\xF4', '\xF5', '\xFF'};
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
