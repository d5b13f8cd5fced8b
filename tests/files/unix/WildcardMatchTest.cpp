#include "files/unix/WildcardMatch.h"

#include "tests/files/FileTest.h"

using UnixPlatform::MatchWildcard;

namespace {

// Exponential reference implementation, which tries every possibility.
bool ReferenceMatch(std::string_view name, std::string_view pattern) {
    if (name.empty())
        return pattern.find_first_not_of('*') == std::string_view::npos;
    if (pattern.empty())
        return false;
    if (pattern[0] == '?' || pattern[0] == name[0])
        return ReferenceMatch(name.substr(1), pattern.substr(1));
    if (pattern == "*")
        return true;
    for (std::size_t taken = 0; pattern[0] == '*' && taken < name.size(); ++taken)
        if (ReferenceMatch(name.substr(taken), pattern.substr(1)))
            return true;
    return false;
}

bool AgreesWithReference(std::string const& name, std::string const& pattern) {
    return MatchWildcard(name, pattern.c_str()) == ReferenceMatch(name, pattern);
}

void CompareAll(Strings const& names, Strings const& patterns) {
    for (std::string const& name : names)
        for (std::string const& pattern : patterns)
            if (!AgreesWithReference(name, pattern))
                FAIL() << name << " against " << pattern;
}

TEST(WildcardMatchTest, ShortTextsAgreeWithReference) {
    CompareAll(AllTexts("ab*?", 4), AllTexts("ab*?", 6));
    CompareAll(AllTexts("a*", 8), AllTexts("a*?", 7));
    CompareAll(AllTexts("ab", 9), AllTexts("ab*", 6));
}

TEST(WildcardMatchTest, RandomNamesAgreeWithReference) {
    std::mt19937 random(20240131);
    for (int round = 0; round < 20'000; ++round) {
        std::string const name = RandomBytes(random, random() % 24, "aab.*\xE9");
        std::string const pattern = RandomBytes(random, random() % 9, "ab.**?\xE9");
        ASSERT_TRUE(AgreesWithReference(name, pattern)) << name << " against " << pattern;
    }
}

TEST(WildcardMatchTest, MatchesWildcardsAndLiteralBytes) {
    EXPECT_TRUE(MatchWildcard("report.txt", "*.txt"));
    EXPECT_TRUE(MatchWildcard("\xFF", "?"));
    EXPECT_FALSE(MatchWildcard("A.TXT", "*.txt")) << "case-sensitive";
    // The end of the pattern does not match a NUL in the name.
    EXPECT_FALSE(MatchWildcard(Bytes("a\0b"), "a"));
    EXPECT_FALSE(MatchWildcard(Bytes("\0"), ""));
    EXPECT_TRUE(MatchWildcard(Bytes("a\0b"), "a?b"));
    EXPECT_TRUE(MatchWildcard(Bytes("a\0\0b"), "a*b"));
}

// Deliberate: a star of the pattern that meets a star of the name matches this one byte only.
TEST(WildcardMatchTest, StarOfThePatternMatchesOneStarOfTheName) {
    EXPECT_TRUE(MatchWildcard("*", "*"));
    EXPECT_FALSE(MatchWildcard("*a", "*"));
    EXPECT_FALSE(MatchWildcard("*ab", "*b"));
    EXPECT_TRUE(MatchWildcard("xab", "*b"));
    EXPECT_FALSE(MatchWildcard("a*xb", "a*b"));
    EXPECT_TRUE(MatchWildcard("*a", "**"));
}

// The reference implementation would not terminate in a reasonable time.
TEST(WildcardMatchTest, MatchesAdversarialPatternsInPolynomialTime) {
    std::string const name(255, 'a');
    EXPECT_FALSE(MatchWildcard(name, "*a*a*a*a*a*a*a*b"));
    std::string stars;
    for (int i = 0; i < 255; ++i)
        stars += "*a";
    EXPECT_TRUE(MatchWildcard(name, stars.c_str()));
    EXPECT_FALSE(MatchWildcard(name, (stars + "b").c_str()));
    EXPECT_FALSE(MatchWildcard(name, (stars + "a").c_str()));
}

TEST(WildcardMatchTest, MatchesLongNames) {
    for (std::size_t length : {254, 255, 256, 257, 5'000}) {
        std::string const name = std::string(length - 1, 'x') + 'y';
        for (std::string const& pattern : {std::string("*"), std::string("x*y"), name})
            EXPECT_TRUE(MatchWildcard(name, pattern.c_str())) << length << ' ' << pattern;
        for (std::string const& pattern : {std::string("x*z"), name + '?'})
            EXPECT_FALSE(MatchWildcard(name, pattern.c_str())) << length << ' ' << pattern;
    }
    std::string const name(255, 'a');
    EXPECT_EQ(0u, AllocationsOf([&] { MatchWildcard(name, "a*a?*"); }));
}

} // namespace
