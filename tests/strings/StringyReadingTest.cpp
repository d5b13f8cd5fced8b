// What reads a Stringy, and what cuts parts out of it: searching, comparing, trimming, splitting.
#include "strings/Stringy.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/strings/Relations.h"
#include "tests/strings/StringyText.h"

namespace {

TEST(StringyReadingTest, FindGivesTheFirstAndFindFromRightTheLastIndex) {
    Stringy const string("abcabc");
    EXPECT_EQ(0, string.Find('a'));
    EXPECT_EQ(2, string.Find('c'));
    EXPECT_EQ(-1, string.Find('d'));
    EXPECT_EQ(3, string.FindFromRight('a'));
    EXPECT_EQ(5, string.FindFromRight('c'));
    EXPECT_EQ(-1, string.FindFromRight('d'));
    EXPECT_EQ(1, Stringy("a\xE4z").Find('\xE4'));
    for (Stringy const& empty : {Stringy(), Stringy("")}) {
        EXPECT_EQ(-1, empty.Find('a'));
        EXPECT_EQ(-1, empty.FindFromRight('a'));
    }
}

TEST(StringyReadingTest, TheTerminatingNulIsNotInTheText) {
    EXPECT_EQ(-1, Stringy("abc").Find('\0'));
    EXPECT_EQ(-1, Stringy("abc").FindFromRight('\0'));
    EXPECT_EQ(-1, Stringy().Find('\0'));
    EXPECT_EQ(1, Stringy("a\0b\0", 4).Find('\0'));
    EXPECT_EQ(3, Stringy("a\0b\0", 4).FindFromRight('\0'));
}

TEST(StringyReadingTest, ContainsFindsAText) {
    Stringy const string("hello");
    EXPECT_TRUE(string.Contains("ell"));
    EXPECT_TRUE(string.Contains("hello"));
    EXPECT_TRUE(string.Contains(""));
    EXPECT_FALSE(string.Contains("elo"));
    EXPECT_FALSE(string.Contains("hello!"));
    EXPECT_FALSE(string.Contains("ELL"));
    EXPECT_TRUE(Stringy("").Contains(""));
    EXPECT_FALSE(Stringy("").Contains("a"));
}

TEST(StringyReadingTest, NullContainsNullAndNothingElse) {
    EXPECT_TRUE(Stringy().Contains(nullptr));
    EXPECT_FALSE(Stringy().Contains(""));
    EXPECT_FALSE(Stringy().Contains("a"));
    EXPECT_FALSE(Stringy("a").Contains(nullptr));
    EXPECT_FALSE(Stringy("").Contains(nullptr));
}

TEST(StringyReadingTest, EveryStringStartsWithNothing) {
    for (Stringy const& string : {Stringy(), Stringy(""), Stringy("abc")}) {
        EXPECT_TRUE(string.StartsWith(nullptr));
        EXPECT_TRUE(string.StartsWith(""));
        EXPECT_TRUE(string.StartsWithIgnoringCase(static_cast<char const*>(nullptr)));
        EXPECT_TRUE(string.StartsWithIgnoringCase(""));
        EXPECT_TRUE(string.StartsWithIgnoringCase(Stringy()));
        EXPECT_TRUE(string.StartsWithIgnoringCase(Stringy("")));
    }
}

TEST(StringyReadingTest, PrefixesAreNoLongerThanTheString) {
    Stringy const string("abc");
    EXPECT_TRUE(string.StartsWith("ab"));
    EXPECT_TRUE(string.StartsWith("abc"));
    EXPECT_FALSE(string.StartsWith("abcd"));
    EXPECT_FALSE(string.StartsWith("aB"));
    EXPECT_FALSE(string.StartsWith("b"));
    EXPECT_FALSE(Stringy().StartsWith("a"));
    EXPECT_FALSE(Stringy("").StartsWith("a"));
}

TEST(StringyReadingTest, PrefixesIgnoringCaseIgnoreThatOfAsciiOnly) {
    Stringy const string("aBc\xE4");
    EXPECT_TRUE(string.StartsWithIgnoringCase("Ab"));
    EXPECT_TRUE(string.StartsWithIgnoringCase("ABC\xE4"));
    EXPECT_FALSE(string.StartsWithIgnoringCase("ABC\xC4"));
    EXPECT_FALSE(string.StartsWithIgnoringCase("aBc\xE4x"));
    EXPECT_TRUE(string.StartsWithIgnoringCase(Stringy("Ab")));
    EXPECT_TRUE(string.StartsWithIgnoringCase(Stringy("ABC\xE4")));
    EXPECT_FALSE(string.StartsWithIgnoringCase(Stringy("b")));
    EXPECT_FALSE(string.StartsWithIgnoringCase(Stringy("aBc\xE4x")));
    EXPECT_FALSE(Stringy().StartsWithIgnoringCase("a"));
    EXPECT_FALSE(Stringy().StartsWithIgnoringCase(Stringy("a")));
}

TEST(StringyReadingTest, CompareTreatsBothEmptiesAlike) {
    for (Stringy const& empty : {Stringy(), Stringy("")}) {
        EXPECT_EQ(0, empty.Compare(Stringy()));
        EXPECT_EQ(0, empty.Compare(Stringy("")));
        EXPECT_EQ(-1, empty.Compare(Stringy("a")));
        EXPECT_EQ(1, Stringy("a").Compare(empty));
    }
    EXPECT_LT(Stringy("a").Compare(Stringy("b")), 0);
    EXPECT_GT(Stringy("b").Compare(Stringy("a")), 0);
    EXPECT_EQ(0, Stringy("a").Compare(Stringy("a")));
    EXPECT_GT(Stringy("\xE4").Compare(Stringy("a")), 0);
    EXPECT_EQ(0, Stringy("a\0b", 3).Compare(Stringy("a")));
}

TEST(StringyReadingTest, CompareNoCaseTellsNullFromTheEmptyText) {
    EXPECT_EQ(0, Stringy().CompareNoCase(Stringy()));
    EXPECT_EQ(-1, Stringy().CompareNoCase(Stringy("")));
    EXPECT_EQ(1, Stringy("").CompareNoCase(Stringy()));
    EXPECT_EQ(-1, Stringy().CompareNoCase(Stringy("a")));
    EXPECT_EQ(1, Stringy("a").CompareNoCase(Stringy()));
    EXPECT_EQ(0, Stringy("").CompareNoCase(Stringy("")));
}

TEST(StringyReadingTest, CompareNoCaseComparesRaisedBytesAndTheNul) {
    EXPECT_EQ(0, Stringy("aBc").CompareNoCase(Stringy("AbC")));
    EXPECT_EQ('A' - 'B', Stringy("a").CompareNoCase(Stringy("B")));
    // The NUL of the shorter one meets a byte of the longer one.
    EXPECT_EQ(-'C', Stringy("ab").CompareNoCase(Stringy("abc")));
    EXPECT_EQ('C', Stringy("abc").CompareNoCase(Stringy("ab")));
    EXPECT_EQ(-'A', Stringy("").CompareNoCase(Stringy("a")));
    EXPECT_EQ('_' - 'A', Stringy("_").CompareNoCase(Stringy("a")));
    // Unlike Compare, this sees what stands behind an inner NUL.
    EXPECT_EQ('X' - 'Y', Stringy("a\0x", 3).CompareNoCase(Stringy("a\0y", 3)));
}

TEST(StringyReadingTest, NullEqualsNothingIgnoringCase) {
    EXPECT_FALSE(Stringy().EqualIgnoringCase(Stringy())); // Deliberate.
    EXPECT_FALSE(Stringy().EqualIgnoringCase(Stringy("")));
    EXPECT_FALSE(Stringy("").EqualIgnoringCase(Stringy()));
    EXPECT_TRUE(Stringy("").EqualIgnoringCase(Stringy("")));
    EXPECT_TRUE(Stringy("aBc").EqualIgnoringCase(Stringy("AbC")));
    EXPECT_FALSE(Stringy("abc").EqualIgnoringCase(Stringy("abcd")));
    EXPECT_FALSE(Stringy("\xE4").EqualIgnoringCase(Stringy("\xC4")));
}

TEST(StringyReadingTest, TheEighteenRelationsAgreeWithTheBytes) {
    ExpectRelationsOfBytes<Stringy>();
}

TEST(StringyReadingTest, RelationsTakeANullPointerAsAnEmptyString) {
    char const* const null = nullptr;
    EXPECT_TRUE(Stringy("") == null);
    EXPECT_TRUE(null == Stringy());
    EXPECT_TRUE(null < Stringy("a"));
    EXPECT_TRUE(Stringy("a") > null);
}

TEST(StringyReadingTest, PartsAreClamped) {
    Stringy const string("hello");
    EXPECT_STREQ("", string.Left(-5));
    EXPECT_STREQ("he", string.Left(2));
    EXPECT_STREQ("hello", string.Left(5));
    EXPECT_STREQ("hello", string.Left(INT_MAX));
    EXPECT_STREQ("", string.Right(-5));
    EXPECT_STREQ("", string.Right(0));
    EXPECT_STREQ("lo", string.Right(2));
    EXPECT_STREQ("hello", string.Right(INT_MAX));
    EXPECT_STREQ("he", string.Mid(-5, 2));
    EXPECT_STREQ("", string.Mid(1, -2));
    EXPECT_STREQ("ell", string.Mid(1, 3));
    EXPECT_STREQ("ello", string.Mid(1, INT_MAX));
    EXPECT_STREQ("", string.Mid(5, 1));
    EXPECT_STREQ("", string.Mid(100, 2));
    EXPECT_STREQ("lo", string.Mid(3));
    EXPECT_STREQ("", string.Mid(5));
    EXPECT_STREQ("", string.Mid(100));
    EXPECT_STREQ("hello", string.Mid(-3));
    EXPECT_STREQ("hello", string.Mid(INT_MIN));
    EXPECT_STREQ("", string.Mid(INT_MIN, INT_MIN));
}

TEST(StringyReadingTest, EveryPartAgreesWithTheOneOfAPlainString) {
    std::string const text = "0123456789";
    Stringy const string(text.c_str());
    for (int start = -3; start <= 13; ++start) {
        std::size_t const from = static_cast<std::size_t>(std::min(std::max(start, 0), 10));
        EXPECT_EQ(text.substr(from), Bytes(string.Mid(start)));
        EXPECT_EQ(text.substr(0, from), Bytes(string.Left(start)));
        EXPECT_EQ(text.substr(10 - from), Bytes(string.Right(start)));
        for (int count = -3; count <= 13; ++count) {
            std::size_t const kept = static_cast<std::size_t>(std::max(count, 0));
            EXPECT_EQ(text.substr(from, kept), Bytes(string.Mid(start, count)));
        }
    }
}

TEST(StringyReadingTest, EmptyPartsAndPartsOfNullAreNull) {
    EXPECT_TRUE(IsNull(Stringy().Left(3)));
    EXPECT_TRUE(IsNull(Stringy().Right(3)));
    EXPECT_TRUE(IsNull(Stringy().Mid(0, 3)));
    EXPECT_TRUE(IsNull(Stringy().Mid(2)));
    EXPECT_TRUE(IsNull(Stringy("").Mid(0)));
    EXPECT_TRUE(IsNull(Stringy("abc").Left(0)));
}

TEST(StringyReadingTest, PartsOfLongTextsMayBeLong) {
    std::string const text(300, 'a');
    Stringy const string(text.c_str());
    EXPECT_EQ(text.substr(0, 200), Bytes(string.Left(200)));
    EXPECT_EQ(text.substr(0, 127), Bytes(string.Right(127)));
}

TEST(StringyReadingTest, SubstringAfterTheLastSeparatorIsStripped) {
    EXPECT_STREQ("c", Stringy("a/b/c").SubstringAfterLastSeparator('/'));
    EXPECT_STREQ("c d", Stringy("a/ \tc d\r\n").SubstringAfterLastSeparator('/'));
    EXPECT_TRUE(IsNull(Stringy("a/").SubstringAfterLastSeparator('/')));
    EXPECT_TRUE(IsNull(Stringy("a/  ").SubstringAfterLastSeparator('/')));
    EXPECT_STREQ("a", Stringy("/a").SubstringAfterLastSeparator('/'));
}

TEST(StringyReadingTest, WithoutASeparatorNothingStandsBehindIt) {
    // Deliberate: not the whole string.
    EXPECT_TRUE(IsNull(Stringy("abc").SubstringAfterLastSeparator('/')));
    EXPECT_TRUE(IsNull(Stringy("").SubstringAfterLastSeparator('/')));
    EXPECT_TRUE(IsNull(Stringy().SubstringAfterLastSeparator('/')));
}

Stringy Trimmed(Stringy string) {
    string.TrimLeft();
    return string;
}

Stringy Stripped(Stringy string) {
    string.StripLeadingAndTrailingWhite();
    return string;
}

TEST(StringyReadingTest, TrimLeftTakesLeadingWhiteSpace) {
    EXPECT_STREQ("a b ", Trimmed(" \t\n\ra b "));
    EXPECT_STREQ("a", Trimmed("a"));
    EXPECT_TRUE(IsNull(Trimmed(" \t\n\r")));
    EXPECT_TRUE(IsNull(Trimmed(Stringy())));
}

TEST(StringyReadingTest, TrimLeftLeavesAStringWithoutLeadingWhiteSpaceUntouched) {
    Stringy string(std::string(200, 'a').c_str());
    char const* const before = string;
    string.TrimLeft();
    EXPECT_EQ(before, static_cast<char const*>(string));
    // The empty text has none either.
    EXPECT_FALSE(IsNull(Trimmed("")));
}

TEST(StringyReadingTest, StripTakesWhiteSpaceFromBothEnds) {
    EXPECT_STREQ("a b", Stripped(" \t\n\ra b\r\n\t "));
    EXPECT_STREQ("a", Stripped("a"));
    EXPECT_STREQ("a", Stripped(" a"));
    EXPECT_STREQ("a", Stripped("a "));
}

TEST(StringyReadingTest, StrippingNothingButWhiteSpaceGivesNull) {
    EXPECT_TRUE(IsNull(Stripped(" \t\n\r")));
    EXPECT_TRUE(IsNull(Stripped("")));
    EXPECT_TRUE(IsNull(Stripped(Stringy())));
    EXPECT_TRUE(IsNull(Stripped(std::string(300, ' ').c_str())));
    EXPECT_TRUE(IsNull(Stripped(Stringy(" \0abc", 5))));
}

TEST(StringyReadingTest, OnlyFourBytesAreWhiteSpace) {
    for (int byte = 1; byte < 256; ++byte) {
        char const text[] = {static_cast<char>(byte), 'x', static_cast<char>(byte), '\0'};
        bool const white = std::strchr(" \t\n\r", byte) != nullptr;
        EXPECT_EQ(white ? "x" : text, Bytes(Stripped(text))) << byte;
        EXPECT_EQ(white ? text + 1 : text, Bytes(Trimmed(text))) << byte;
    }
}

TEST(StringyReadingTest, LongTextsAreStrippedToo) {
    std::string const inner(250, 'x');
    EXPECT_EQ(inner, Bytes(Stripped((" " + inner + "\n").c_str())));
    EXPECT_EQ(inner + "\n", Bytes(Trimmed((" " + inner + "\n").c_str())));
    EXPECT_EQ("x", Bytes(Stripped((std::string(200, ' ') + "x" + std::string(200, ' ')).c_str())));
}

std::vector<std::string> Split(char const* text, char separator, unsigned int maximum, bool strip) {
    std::vector<Stringy> items;
    unsigned int const count =
        Stringy::SplitSeparatedStringsIntoArray(text, separator, items, maximum, strip);
    EXPECT_EQ(items.size(), count);
    std::vector<std::string> result;
    for (Stringy const& item : items)
        result.push_back(Bytes(item));
    return result;
}

using Items = std::vector<std::string>;

TEST(StringyReadingTest, SplittingKeepsEmptyItems) {
    EXPECT_EQ((Items{"a", "b", ""}), Split("a,b,", ',', 10, false));
    EXPECT_EQ((Items{"", "a", "", "b"}), Split(",a,,b", ',', 10, false));
    EXPECT_EQ((Items{"", ""}), Split(",", ',', 10, false));
    EXPECT_EQ((Items{"abc"}), Split("abc", ',', 10, false));
}

TEST(StringyReadingTest, SplittingStopsAtTheMaximumAndDropsTheRest) {
    EXPECT_EQ((Items{"a", "b"}), Split("a,b,c,d", ',', 2, false));
    EXPECT_EQ((Items{"a", "b"}), Split("a,b", ',', 2, false));
    EXPECT_EQ((Items{"a", "b", ""}), Split("a,b,", ',', 3, false));
    EXPECT_EQ((Items{"a", "b"}), Split("a,b,", ',', 2, false));
    EXPECT_EQ(Items{}, Split("a,b", ',', 0, false));
}

TEST(StringyReadingTest, NothingHasNoItems) {
    EXPECT_EQ(Items{}, Split(nullptr, ',', 10, false));
    EXPECT_EQ(Items{}, Split("", ',', 10, true));
    EXPECT_EQ(Items{}, Split("", '\0', 10, false));
}

TEST(StringyReadingTest, SplittingStripsEachItemOnDemand) {
    EXPECT_EQ((Items{" a ", "\tb", " "}), Split(" a ,\tb, ", ',', 10, false));
    EXPECT_EQ((Items{"a", "b", ""}), Split(" a ,\tb, ", ',', 10, true));
}

TEST(StringyReadingTest, SeparatorOfNulSplitsUntilTheMaximum) {
    char const text[] = "a\0b\0\0c";
    EXPECT_EQ((Items{"a", "b", "", "c"}), Split(text, '\0', 4, false));
    EXPECT_EQ((Items{"a", "b"}), Split(text, '\0', 2, false));
}

TEST(StringyReadingTest, ItemsAreAddedBehindWhatTheVectorHolds) {
    std::vector<Stringy> items{Stringy("x")};
    EXPECT_EQ(2u, Stringy::SplitSeparatedStringsIntoArray("a, b", ',', items, 10, false));
    ASSERT_EQ(3u, items.size());
    EXPECT_STREQ("x", items[0]);
    EXPECT_STREQ("a", items[1]);
    EXPECT_STREQ(" b", items[2]);
}

TEST(StringyReadingTest, StrippingCountsFromTheBeginningOfTheVector) {
    // Deliberate: so the vector is to be empty. Here the entry before the new one is stripped.
    std::vector<Stringy> items{Stringy(" x ")};
    EXPECT_EQ(1u, Stringy::SplitSeparatedStringsIntoArray(" a ", ',', items, 10, true));
    ASSERT_EQ(2u, items.size());
    EXPECT_STREQ("x", items[0]);
    EXPECT_STREQ(" a ", items[1]);
}

TEST(StringyReadingTest, EmptyItemsAreNull) {
    std::vector<Stringy> items;
    Stringy::SplitSeparatedStringsIntoArray(",", ',', items, 10, false);
    ASSERT_EQ(2u, items.size());
    EXPECT_TRUE(IsNull(items[0]));
    EXPECT_TRUE(IsNull(items[1]));
}

TEST(StringyReadingTest, JoinedItemsGiveTheTextBack) {
    unsigned int const seed = 52;
    std::mt19937 random(seed);
    for (int round = 0; round < 500; ++round) {
        std::string text(1 + random() % 300, ' ');
        for (char& c : text)
            c = "ab,"[random() % 3];
        std::string joined;
        for (std::string const& item : Split(text.c_str(), ',', UINT_MAX, false))
            joined += item + ',';
        ASSERT_EQ(text + ',', joined) << "seed " << seed;
    }
}

} // namespace
