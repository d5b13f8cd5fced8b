#include "companions/DisplayWidth.h"

#include <clocale>

#include <langinfo.h>

#include "tests/companions/Terminal.h"

namespace {

constexpr char euro[] = "\xE2\x82\xAC";
// U+4E2D, two columns.
constexpr char wide[] = "\xE4\xB8\xAD";
// "e" and U+0301.
constexpr char accented[] = "e\xCC\x81";
// U+10FFFF, unknown to every locale.
constexpr char unassigned[] = "\xF4\x8F\xBF\xBF";

class DisplayWidthTest : public testing::TestWithParam<char const*> {
protected:
    EnvironmentVariable const environment{"LC_ALL", GetParam()};
    WidthLocale const locale;
};

TEST_P(DisplayWidthTest, CountsColumnsOfCharacters) {
    EXPECT_EQ(0u, DisplayWidth(""));
    EXPECT_EQ(3u, DisplayWidth("abc"));
    EXPECT_EQ(1u, DisplayWidth(euro));
    EXPECT_EQ(2u, DisplayWidth(wide));
    EXPECT_EQ(1u, DisplayWidth(accented));
    EXPECT_EQ(2u, DisplayWidth("\xF0\x9F\x98\x80"));
    EXPECT_EQ(1u, DisplayWidth("\xB5"));
    EXPECT_EQ(1u, DisplayWidth(unassigned));
}

TEST_P(DisplayWidthTest, PrefixDoesNotSplitCharacters) {
    EXPECT_EQ(2u, PrefixWithin("abc", 2));
    EXPECT_EQ(3u, PrefixWithin("abc", 9));
    EXPECT_EQ(1u, PrefixWithin(std::string("a") + wide, 2));
    EXPECT_EQ(4u, PrefixWithin(std::string("a") + wide, 3));
    EXPECT_EQ(3u, PrefixWithin(std::string(accented) + "x", 1));
    EXPECT_EQ(3u, PrefixWithin(wide, 1));
}

// Also where the environment names no locale of this system.
INSTANTIATE_TEST_SUITE_P(Locales, DisplayWidthTest, testing::Values("C.UTF-8", "C", "xx_XX.UTF-8"));

TEST(WidthLocaleTest, RestoresTheLocaleOfTheThread) {
    std::string const before = nl_langinfo(CODESET);
    { WidthLocale const locale; }
    EXPECT_EQ(before, nl_langinfo(CODESET));
    EXPECT_STREQ("C", std::setlocale(LC_ALL, nullptr));
}

} // namespace
