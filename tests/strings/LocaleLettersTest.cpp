#include "strings/LocaleLetters.h"

#include <gtest/gtest.h>

#include "tests/strings/OtherCaseTables.h"
#include "tests/strings/OtherLocale.h"

namespace {

TEST(LocaleLettersTest, LettersOfTheLocaleOfCAreAsciis) { EXPECT_TRUE(LettersAreAscii()); }

TEST(LocaleLettersTest, EightBitLocaleHasOthers) {
    OtherLocale const german("de_DE", "ISO-8859-1");
    if (german.WhyNot() != nullptr)
        GTEST_SKIP() << german.WhyNot();
    EXPECT_FALSE(LettersAreAscii());
}

TEST(LocaleLettersTest, Utf8HasNoOtherLettersOfOneByte) {
    OtherLocale const german("de_DE", "UTF-8");
    if (german.WhyNot() != nullptr)
        GTEST_SKIP() << german.WhyNot();
    EXPECT_TRUE(LettersAreAscii());
}

TEST(LocaleLettersTest, TurkishInUtf8HasFewer) {
    OtherLocale const turkish("tr_TR", "UTF-8");
    if (turkish.WhyNot() != nullptr)
        GTEST_SKIP() << turkish.WhyNot();
    EXPECT_FALSE(LettersAreAscii());
}

TEST(LocaleLettersTest, AnswerFollowsTheLocaleBackAgain) {
    {
        OtherLocale const german("de_DE", "ISO-8859-1");
        if (german.WhyNot() != nullptr)
            GTEST_SKIP() << german.WhyNot();
        EXPECT_FALSE(LettersAreAscii());
    }
    EXPECT_TRUE(LettersAreAscii());
}

TEST(LocaleLettersTest, BothTablesCount) {
    OtherCaseTables tables;
    EXPECT_TRUE(LettersAreAscii());
    tables.Upper(0xE4) = 0xC4;
    EXPECT_FALSE(LettersAreAscii());
    tables.Upper(0xE4) = 0xE4;
    EXPECT_TRUE(LettersAreAscii());
    tables.Lower(0xC4) = 0xE4;
    EXPECT_FALSE(LettersAreAscii());
}

} // namespace
