// What reads a StringPL: searching, parts, comparing.
#include "strings/StringPL.h"

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/strings/OtherLocale.h"
#include "tests/strings/Relations.h"

namespace {

using OutOfBounds = StringPLOutOfBoundsException;

int const lowest = -2147483647 - 1;
int const highest = 2147483647;

// Random texts of few letters, so that they often meet.
class Texts {
public:
    explicit Texts(unsigned int seed) : random(seed) {}

    std::string Next(std::size_t least, std::size_t most) {
        std::string result(least + random() % (most - least + 1), ' ');
        for (char& c : result)
            c = "aAbB\xE4\xC4"[random() % 6];
        return result;
    }

    int Number(int least, int most) {
        return least + static_cast<int>(random() % static_cast<unsigned int>(most - least + 1));
    }

private:
    std::mt19937 random;
};

int Sign(int number) { return (number > 0) - (number < 0); }

TEST(StringPLSearchingTest, FindGivesTheFirstOccurrenceFromTheStartOn) {
    StringPL const string("abcabc");
    EXPECT_EQ(0, string.Find("abc", 0));
    EXPECT_EQ(3, string.Find("abc", 1));
    EXPECT_EQ(3, string.Find("abc", 3));
    EXPECT_EQ(-1, string.Find("abc", 4));
    EXPECT_EQ(-1, string.Find("abd", 0));
    EXPECT_EQ(-1, string.Find("abcabca", 0));
    EXPECT_EQ(-1, string.Find("c", 100));
    EXPECT_EQ(-1, string.Find("ABC", 0));
}

TEST(StringPLSearchingTest, AnEmptyPatternIsFoundAtTheStartIfThatIsWithinTheLength) {
    StringPL const string("hello");
    EXPECT_EQ(3, string.Find("", 3));
    EXPECT_EQ(5, string.Find("", 5));
    EXPECT_EQ(-1, string.Find("", 6));
    EXPECT_EQ(3, string.FindNoCase("", 3));
    EXPECT_EQ(5, string.FindNoCase("", 5));
    EXPECT_EQ(-1, string.FindNoCase("", 6));
    EXPECT_EQ(0, StringPL().Find("", 0));
    EXPECT_EQ(-1, StringPL().Find("", 1));
    EXPECT_EQ(0, StringPL().FindNoCase("", 0));
}

TEST(StringPLSearchingTest, ANegativeStartIsBadForEveryPattern) {
    for (StringPL const& string : {StringPL("hello"), StringPL()}) {
        for (int start : {-1, -5, lowest}) {
            EXPECT_THROW(string.Find("l", start), OutOfBounds);
            EXPECT_THROW(string.Find("", start), OutOfBounds);
            EXPECT_THROW(string.Find("longer than all", start), OutOfBounds);
            EXPECT_THROW(string.FindNoCase("l", start), OutOfBounds);
            EXPECT_THROW(string.FindNoCase("", start), OutOfBounds);
            EXPECT_THROW(string.FindNoCase("longer than all", start), OutOfBounds);
            EXPECT_THROW(string.Find('l', start), OutOfBounds);
        }
    }
}

TEST(StringPLSearchingTest, AStartBeyondTheEndFindsNothing) {
    StringPL const string("hello");
    for (int start : {6, 1000, highest}) {
        EXPECT_EQ(-1, string.Find("l", start));
        EXPECT_EQ(-1, string.Find("", start));
        EXPECT_EQ(-1, string.FindNoCase("l", start));
        EXPECT_EQ(-1, string.FindNoCase("", start));
        EXPECT_EQ(-1, string.Find('l', start));
    }
}

TEST(StringPLSearchingTest, FindNoCaseIgnoresTheCaseOfBothSides) {
    StringPL const string("xxAbCaBc");
    EXPECT_EQ(2, string.FindNoCase("abc", 0));
    EXPECT_EQ(2, string.FindNoCase("ABC", 0));
    EXPECT_EQ(5, string.FindNoCase("aBC", 3));
    EXPECT_EQ(-1, string.FindNoCase("abd", 0));
    EXPECT_EQ(-1, string.FindNoCase("xxabcabcd", 0));
}

TEST(StringPLSearchingTest, FindOfAByteGivesItsFirstIndexFromTheStartOn) {
    StringPL const string("hello");
    EXPECT_EQ(2, string.Find('l', 0));
    EXPECT_EQ(2, string.Find('l', 2));
    EXPECT_EQ(3, string.Find('l', 3));
    EXPECT_EQ(-1, string.Find('l', 4));
    EXPECT_EQ(-1, string.Find('l', 5));
    EXPECT_EQ(-1, string.Find('z', 0));
    EXPECT_EQ(-1, string.Find('\0', 0)); // The terminating NUL is none of the string's bytes.
    EXPECT_EQ(1, StringPL("\xFF\xE4").Find('\xE4', 0));
    EXPECT_EQ(1, StringPL("a", 2).Find('\0', 0));
}

TEST(StringPLSearchingTest, ReverseFindCountsItsStartFromTheEnd) {
    StringPL const string("abcabca");
    EXPECT_EQ(6, string.ReverseFind('a', 0));
    EXPECT_EQ(3, string.ReverseFind('a', 1));
    EXPECT_EQ(3, string.ReverseFind('a', 3));
    EXPECT_EQ(0, string.ReverseFind('a', 4));
    EXPECT_EQ(0, string.ReverseFind('a', 6));
    EXPECT_EQ(-1, string.ReverseFind('a', 7));
    EXPECT_EQ(-1, string.ReverseFind('a', highest));
    EXPECT_EQ(-1, string.ReverseFind('b', 6));
    EXPECT_EQ(-1, string.ReverseFind('z', 0));
    EXPECT_EQ(-1, StringPL().ReverseFind('a', 0));
}

TEST(StringPLSearchingTest, ReverseFindFromBeyondTheEndIsBad) {
    EXPECT_THROW(StringPL("abc").ReverseFind('a', -1), OutOfBounds);
    EXPECT_THROW(StringPL("abc").ReverseFind('a', lowest), OutOfBounds);
    EXPECT_THROW(StringPL().ReverseFind('a', -1), OutOfBounds);
}

TEST(StringPLSearchingTest, ContainsIsAFindFromTheBeginning) {
    StringPL const string("Hello");
    EXPECT_TRUE(string.Contains("ell"));
    EXPECT_FALSE(string.Contains("ELL"));
    EXPECT_TRUE(string.Contains(""));
    EXPECT_TRUE(string.Contains('o'));
    EXPECT_FALSE(string.Contains('O'));
    EXPECT_TRUE(string.ContainsNoCase("hELL"));
    EXPECT_TRUE(string.ContainsNoCase(""));
    EXPECT_FALSE(string.ContainsNoCase("help"));
    EXPECT_TRUE(StringPL().Contains(""));
    EXPECT_FALSE(StringPL().Contains("a"));
}

TEST(StringPLSearchingTest, SearchesGoOnBehindAnInnerNul) {
    StringPL string("ab\0", 3);
    string += "cdcd";
    EXPECT_EQ(3, string.Find("cd", 0));
    EXPECT_EQ(5, string.Find("cd", 4));
    EXPECT_EQ(-1, string.Find("bc", 0));
    EXPECT_EQ(3, string.FindNoCase("CD", 0));
    EXPECT_EQ(6, string.ReverseFind('d', 0));
    EXPECT_EQ(2, string.Find('\0', 0));
}

TEST(StringPLSearchingTest, SearchesEndAtTheStoredLength) {
    StringPL string("abcdef");
    string.SetStringLength(4);
    EXPECT_EQ(-1, string.Find("de", 0));
    EXPECT_EQ(3, string.Find("d", 0));
    EXPECT_EQ(-1, string.FindNoCase("DE", 0));
    EXPECT_EQ(-1, string.Find('e', 0));
    EXPECT_EQ(3, string.ReverseFind('d', 0));
}

TEST(StringPLSearchingTest, RandomSearchesAgreeWithTheirDefinitions) {
    unsigned int const seed = 43;
    Texts texts(seed);
    for (int round = 0; round < 20000; ++round) {
        std::string const text = texts.Next(0, 20), pattern = texts.Next(0, 3);
        int const start = texts.Number(0, 22);
        StringPL const string(text.c_str());
        std::size_t const found = text.find(pattern, static_cast<std::size_t>(start));
        int const expected = found == std::string::npos ? -1 : static_cast<int>(found);
        int ignoringCase = -1;
        int const length = static_cast<int>(pattern.size());
        for (int i = start; i + length <= string.GetLength(); ++i) {
            if (string.Mid(i, length).CompareNoCase(pattern.c_str()) == 0) {
                ignoringCase = i;
                break;
            }
        }
        ASSERT_EQ(expected, string.Find(pattern.c_str(), start))
            << "seed " << seed << ": " << text << ", " << pattern << ", " << start;
        ASSERT_EQ(ignoringCase, string.FindNoCase(pattern.c_str(), start))
            << "seed " << seed << ": " << text << ", " << pattern << ", " << start;
    }
}

TEST(StringPLSearchingTest, CaseIsThatOfTheLocale) {
    EXPECT_EQ(-1, StringPL("\xC4pfel").FindNoCase("\xE4P", 0));
    OtherLocale const german("de_DE", "ISO-8859-1");
    if (german.WhyNot() != nullptr)
        GTEST_SKIP() << german.WhyNot();
    StringPL string("ein \xC4pfel");
    EXPECT_EQ(4, string.FindNoCase("\xE4P", 0));
    EXPECT_EQ(0, string.CompareNoCase("EIN \xE4PFEL"));
    string.ReplaceNoCase("\xE4", "A");
    EXPECT_STREQ("ein Apfel", string);
}

TEST(StringPLSearchingTest, MidCutsACountThatRunsPastTheEnd) {
    StringPL const string("hello");
    EXPECT_STREQ("ell", string.Mid(1, 3));
    EXPECT_STREQ("hello", string.Mid(0, 100));
    EXPECT_STREQ("hello", string.Mid(0, highest));
    EXPECT_STREQ("lo", string.Mid(3, highest));
    EXPECT_STREQ("", string.Mid(2, 0));
    EXPECT_EQ(4u, string.Mid(1, 3).GetBufferLength());
}

TEST(StringPLSearchingTest, MidFromTheLengthIsEmptyAndFromBehindItIsBad) {
    StringPL const string("hello");
    EXPECT_TRUE(string.Mid(5, 1).IsEmpty());
    EXPECT_TRUE(string.Mid(5).IsEmpty());
    EXPECT_THROW(string.Mid(6, 0), OutOfBounds);
    EXPECT_THROW(string.Mid(6), OutOfBounds);
    EXPECT_THROW(string.Mid(1000), OutOfBounds);
    EXPECT_THROW(string.Mid(highest), OutOfBounds);
    EXPECT_THROW(string.Mid(highest, 0), OutOfBounds);
    EXPECT_THROW(string.Mid(-1, 1), OutOfBounds);
    EXPECT_THROW(string.Mid(-1), OutOfBounds);
    EXPECT_THROW(string.Mid(lowest), OutOfBounds);
    EXPECT_THROW(string.Mid(0, -1), OutOfBounds);
    EXPECT_THROW(string.Mid(5, lowest), OutOfBounds);
}

TEST(StringPLSearchingTest, MidWithoutACountGoesToTheEnd) {
    StringPL const string("hello");
    EXPECT_STREQ("hello", string.Mid(0));
    EXPECT_STREQ("o", string.Mid(4));
    EXPECT_TRUE(StringPL().Mid(0).IsEmpty());
}

TEST(StringPLSearchingTest, LeftAndRightCutTheirCount) {
    StringPL const string("hello");
    EXPECT_STREQ("he", string.Left(2));
    EXPECT_STREQ("hello", string.Left(6));
    EXPECT_STREQ("hello", string.Left(highest));
    EXPECT_STREQ("", string.Left(0));
    EXPECT_STREQ("lo", string.Right(2));
    EXPECT_STREQ("hello", string.Right(6));
    EXPECT_STREQ("hello", string.Right(highest));
    EXPECT_STREQ("", string.Right(0));
    for (int count : {-1, lowest}) {
        EXPECT_THROW(string.Left(count), OutOfBounds);
        EXPECT_THROW(string.Right(count), OutOfBounds);
        EXPECT_THROW(StringPL().Left(count), OutOfBounds);
        EXPECT_THROW(StringPL().Right(count), OutOfBounds);
    }
}

TEST(StringPLSearchingTest, PartsKeepTheirCountBehindAnInnerNul) {
    StringPL string("ab\0", 3);
    string += "cd";
    EXPECT_EQ(4, string.Left(4).GetLength());
    EXPECT_STREQ("ab", string.Left(4));
    EXPECT_STREQ("cd", string.Right(2));
    EXPECT_STREQ("d", string.Mid(4));
}

TEST(StringPLSearchingTest, ComparisonsGiveWhatTheCLibraryGives) {
    unsigned int const seed = 44;
    Texts texts(seed);
    for (int round = 0; round < 5000; ++round) {
        std::string const left = texts.Next(0, 4), right = texts.Next(0, 4);
        StringPL const string(left.c_str());
        ASSERT_EQ(Sign(std::strcmp(left.c_str(), right.c_str())),
                  Sign(string.Compare(right.c_str())))
            << "seed " << seed << ": " << left << ", " << right;
        ASSERT_EQ(Sign(strcasecmp(left.c_str(), right.c_str())),
                  Sign(string.CompareNoCase(right.c_str())));
        ASSERT_EQ(left == right, string.Equals(right.c_str()));
        ASSERT_EQ(strcasecmp(left.c_str(), right.c_str()) == 0,
                  string.EqualsIgnoringCase(right.c_str()));
    }
}

TEST(StringPLSearchingTest, HighBytesSortAboveLetters) {
    EXPECT_GT(StringPL("\xE4").Compare("z"), 0);
    EXPECT_LT(StringPL("z").Compare("\xE4"), 0);
}

TEST(StringPLSearchingTest, TheEighteenRelationsAgreeWithTheBytes) {
    ExpectRelationsOfBytes<StringPL>();
}

TEST(StringPLSearchingTest, RelationsSeeNothingBehindTheFirstNul) {
    StringPL const string("ab\0cd", 5);
    EXPECT_TRUE(string == "ab");
    EXPECT_TRUE(string == StringPL("ab"));
    EXPECT_TRUE("ab" >= string);
    EXPECT_FALSE(string != StringPL("ab\0xy", 5));
}

} // namespace
