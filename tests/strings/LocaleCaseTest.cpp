#include "strings/LocaleCase.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/strings/OtherCaseTables.h"
#include "tests/strings/OtherLocale.h"
#include "tests/support/Bytes.h"
#include "tests/support/GuardedBytes.h"

namespace {

// A locale, whether its one-byte letters are those of ASCII, and the bytes of random texts.
struct LocaleCase {
    char const* language;
    char const* encoding;
    bool lettersAreAscii;
    char const* bytes;
};

void PrintTo(LocaleCase const& one, std::ostream* out) {
    *out << one.language << '.' << one.encoding;
}

class LocaleCaseTest : public testing::TestWithParam<LocaleCase> {};

INSTANTIATE_TEST_SUITE_P(Locales, LocaleCaseTest,
                         testing::Values(LocaleCase{"de_DE", "ISO-8859-1", false,
                                                    "aA\xC4\xE4\xDF\xFF"},
                                         LocaleCase{"de_DE", "UTF-8", true, "aA\xC4\xE4"},
                                         LocaleCase{"tr_TR", "ISO-8859-9", false, "iI\xDD\xFD"},
                                         LocaleCase{"tr_TR", "UTF-8", false, "iIjJ\xC4\xB1"}));

TEST(LocaleLettersTest, LettersDependOnBothCaseTables) {
    OtherCaseTables tables;
    EXPECT_TRUE(LettersAreAscii());
    tables.Upper(0xE4) = 0xC4;
    EXPECT_FALSE(LettersAreAscii());
    tables.Upper(0xE4) = 0xE4;
    EXPECT_TRUE(LettersAreAscii());
    tables.Lower(0xC4) = 0xE4;
    EXPECT_FALSE(LettersAreAscii());
}

// The offset of the match, or -1.
std::ptrdiff_t Fast(std::string const& text, std::string const& pattern) {
    char const* const match =
        FindCaseInsensitive(text.data(), text.size(), pattern.data(), pattern.size());
    return match == nullptr ? -1 : match - text.data();
}

// Reference implementation: strncasecmp at each position.
std::ptrdiff_t Reference(std::string const& text, std::string const& pattern) {
    for (std::size_t at = 0; at + pattern.size() <= text.size(); ++at)
        if (strncasecmp(text.data() + at, pattern.data(), pattern.size()) == 0)
            return static_cast<std::ptrdiff_t>(at);
    return -1;
}

// Compares both searches on random text of these bytes, with patterns without NULs.
void ExpectSearchesAgree(std::string const& bytes, unsigned int seed) {
    std::mt19937 random(seed);
    int matches = 0;
    for (int round = 0; round < 4000; ++round) {
        std::string const text = RandomBytes(random, random() % 400, bytes);
        std::string pattern = RandomBytes(random, random() % 7, bytes);
        std::erase(pattern, '\0');
        std::ptrdiff_t const expected = Reference(text, pattern);
        matches += expected > 0;
        ASSERT_EQ(expected, Fast(text, pattern)) << "seed " << seed << ", round " << round;
    }
    EXPECT_LT(0, matches);
}

std::string const everyByteButNul = EveryByte().substr(1);

// Compares every pair of bytes except NUL, alone and in text that is searched in blocks.
void ExpectBytesMatchAsInTheLocale() {
    int wrong = 0;
    for (char pattern : everyByteButNul) {
        for (char byte : everyByteButNul) {
            std::ptrdiff_t const alike = std::tolower(static_cast<unsigned char>(pattern)) ==
                                         std::tolower(static_cast<unsigned char>(byte));
            std::string const text = std::string(200, '\0') + byte;
            wrong += Fast(std::string(1, byte), std::string(1, pattern)) != alike - 1;
            wrong += Fast(text, std::string(1, pattern)) != (alike ? 200 : -1);
        }
    }
    EXPECT_EQ(0, wrong);
}

TEST(CaseInsensitiveSearchTest, FindsMatchAtEveryPosition) {
    for (std::size_t patternLength : {1u, 2u, 3u, 64u, 65u, 130u}) {
        std::string const pattern = std::string(patternLength - 1, 'P') + 'q';
        std::string const asWritten = std::string(patternLength - 1, 'p') + 'Q';
        for (std::size_t length = patternLength; length < patternLength + 300; length += 7) {
            for (std::size_t at = 0; at + patternLength <= length; ++at) {
                std::string text(length, '.');
                text.replace(at, patternLength, asWritten);
                ASSERT_EQ(static_cast<std::ptrdiff_t>(at), Fast(text, pattern))
                    << length << " bytes, pattern of " << patternLength;
            }
        }
    }
}

TEST(CaseInsensitiveSearchTest, ReadsNothingAfterTheText) {
    for (std::size_t length : {1u, 63u, 64u, 128u, 129u, 200u}) {
        GuardedBytes const memory(length);
        char* const text = reinterpret_cast<char*>(memory.End()) - length;
        std::fill_n(text, length, 'a');
        EXPECT_EQ(nullptr, FindCaseInsensitive(text, length, "ab", 2));
        EXPECT_EQ(text, FindCaseInsensitive(text, length, "A", 1));
    }
}

TEST(CaseInsensitiveSearchTest, RandomSearchesAgreeWithReference) {
    ExpectSearchesAgree("aAbB", 1);
    ExpectSearchesAgree(std::string("aAzZ\0", 5) + "[{@`", 2);
    ExpectSearchesAgree(everyByteButNul, 3);
}

TEST(CaseInsensitiveSearchTest, FollowsTheTablesOfTheCLocale) {
    EXPECT_TRUE(LettersAreAscii());
    ExpectBytesMatchAsInTheLocale();
}

TEST_P(LocaleCaseTest, LettersAndSearchesFollowTheLocale) {
    {
        OtherLocale const locale(GetParam().language, GetParam().encoding);
        if (locale.WhyNot() != nullptr)
            GTEST_SKIP() << locale.WhyNot();
        EXPECT_EQ(GetParam().lettersAreAscii, LettersAreAscii());
        ExpectBytesMatchAsInTheLocale();
        ExpectSearchesAgree(GetParam().bytes, 4);
    }
    EXPECT_TRUE(LettersAreAscii());
}

TEST(CaseInsensitiveSearchTest, ThreeBytesMayMatchEachOther) {
    OtherCaseTables tables;
    tables.Lower(0xE0) = 'a';
    tables.Lower(0xB5) = 0xB6;
    tables.Lower(0xFE) = 0xFF;
    for (std::string const variants : {"aA\xE0", "\xB5\xB6", "\xFE\xFF"})
        for (char pattern : variants)
            for (char byte : everyByteButNul) {
                std::ptrdiff_t const expected = variants.find(byte) == std::string::npos ? -1 : 200;
                ASSERT_EQ(expected, Fast(std::string(200, '\0') + byte, std::string(1, pattern)));
            }
    // Bytes with more than two variants are first, last, both or neither in the pattern.
    for (std::string const pattern : {"ax", "xa", "axA", "xy", "\xB5y\xB6"}) {
        std::string text(300, '.');
        EXPECT_EQ(-1, Fast(text, pattern));
        text += pattern;
        EXPECT_EQ(300, Fast(text, pattern));
    }
    EXPECT_EQ(300, Fast(std::string(300, '.') + "\xE0x", "Ax"));
}

} // namespace
