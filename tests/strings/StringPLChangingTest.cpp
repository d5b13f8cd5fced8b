// What changes a StringPL: appending, formatting, case, replacing.
#include "strings/StringPL.h"

#include <cctype>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/strings/OtherLocale.h"

namespace {

void ExpectText(std::string const& expected, unsigned int capacity, StringPL const& string) {
    EXPECT_EQ(expected, string.AsChar());
    EXPECT_EQ(static_cast<int>(expected.size()), string.GetLength());
    EXPECT_EQ(capacity, string.GetBufferLength());
}

std::string Bytes(StringPL const& string) {
    return std::string(string.AsChar(), static_cast<std::size_t>(string.GetLength()));
}

TEST(StringPLChangingTest, ByteByByteTheCapacityGrowsInPowersOfTwo) {
    unsigned int const capacities[] = {2, 4, 4, 8, 8, 8, 8, 16, 16};
    StringPL byText, byCount;
    std::string expected;
    for (unsigned int capacity : capacities) {
        char const text[] = {static_cast<char>('a' + expected.size()), '\0'};
        expected += text;
        byText += text;
        byCount.Append(text, 1);
        ExpectText(expected, capacity, byText);
        ExpectText(expected, capacity, byCount);
    }
}

TEST(StringPLChangingTest, ACopiedStringDoublesItsExactSize) {
    StringPL string("abcd");
    string += "e";
    ExpectText("abcde", 10, string);
    string += "fghi";
    ExpectText("abcdefghi", 10, string);
    string += "j";
    ExpectText("abcdefghij", 20, string);
}

TEST(StringPLChangingTest, TheCapacityDoublesAsOftenAsItTakes) {
    StringPL string("ab");
    string += "0123456789";
    ExpectText("ab0123456789", 24, string);
    StringPL fromNothing;
    fromNothing += "01234567";
    ExpectText("01234567", 16, fromNothing);
}

TEST(StringPLChangingTest, AppendingNothingChangesNothing) {
    StringPL empty;
    empty += "";
    empty.Append("abc", 0);
    ExpectText("", 1, empty);
    EXPECT_EQ(StringPL().AsChar(), empty.AsChar());
    StringPL string("abc");
    char const* const before = string.AsChar();
    string += "";
    string.Append("x", 0);
    ExpectText("abc", 4, string);
    EXPECT_EQ(before, string.AsChar());
}

TEST(StringPLChangingTest, AppendTakesTheFirstBytesOnly) {
    StringPL string("ab");
    string.Append("cdefg", 3);
    ExpectText("abcde", 6, string);
}

TEST(StringPLChangingTest, AppendFillsWithNulsBehindANul) {
    StringPL string("ab");
    string.Append("c\0de", 4);
    EXPECT_EQ(std::string("abc\0\0\0", 6), Bytes(string));
    EXPECT_EQ(12u, string.GetBufferLength());
    string.Append("xyz", 3);
    EXPECT_EQ(std::string("abc\0\0\0xyz", 9), Bytes(string));
    string.Append("\0", 1);
    EXPECT_EQ(std::string("abc\0\0\0xyz\0", 10), Bytes(string));
    EXPECT_STREQ("abc", string.AsChar());
}

TEST(StringPLChangingTest, AppendNeverReadsBehindTheNulOfItsText) {
    // The byte behind the NUL is not ours to read.
    std::vector<char> const text{'a', 'b', '\0'};
    StringPL string;
    string.Append(text.data(), 6);
    EXPECT_EQ(std::string("ab\0\0\0\0", 6), Bytes(string));
}

TEST(StringPLChangingTest, AStringCanBeAppendedToItself) {
    StringPL string("abc");
    string += string;
    ExpectText("abcabc", 8, string);
    string += string.AsChar() + 5;
    ExpectText("abcabcc", 8, string);
    string += string.AsChar() + 6;
    ExpectText("abcabccc", 16, string);
    string += string.AsChar() + 2;
    ExpectText("abcabccccabccc", 16, string);
}

TEST(StringPLChangingTest, CountedBytesOfItselfEndAtItsOldEnd) {
    StringPL string;
    string += "abc";
    string += "d";
    string += "e";
    ExpectText("abcde", 8, string);
    string.Append(string.AsChar() + 3, 2);
    ExpectText("abcdede", 8, string);
    StringPL roomy("abc");
    roomy.Append("", 13);
    roomy.SetStringLength(3);
    roomy.Append(roomy.AsChar(), 6);
    EXPECT_EQ(std::string("abcabc\0\0\0", 9), Bytes(roomy));
}

TEST(StringPLChangingTest, SumLeavesItsLeftSideAlone) {
    StringPL const left("abc");
    StringPL const sum = left + "de";
    ExpectText("abc", 4, left);
    ExpectText("abcde", 8, sum);
    ExpectText("abc", 4, left + "");
    ExpectText("x", 2, StringPL() + "x");
    ExpectText("abcabc", 8, left + left);
    // The first sum has 8, its copy for the second one 5, and that doubles.
    ExpectText("abc-def", 10, left + "-" + "def");
}

TEST(StringPLChangingTest, AnyAppendingGivesTheSameTextAndTheStatedCapacity) {
    unsigned int const seed = 41;
    std::mt19937 random(seed);
    for (int round = 0; round < 300; ++round) {
        std::string const start(random() % 20, 's');
        StringPL string(start.c_str());
        std::string expected(start);
        std::size_t capacity = start.size() + 1;
        for (int step = 0; step < 20; ++step) {
            std::string const piece(random() % 30, static_cast<char>('a' + step));
            if (random() % 2 == 0)
                string += piece.c_str();
            else
                string.Append(piece.c_str(), static_cast<unsigned int>(piece.size()));
            expected += piece;
            while (capacity < expected.size() + 1)
                capacity *= 2;
            ASSERT_EQ(expected, string.AsChar()) << "seed " << seed << ", round " << round;
            ASSERT_EQ(static_cast<int>(expected.size()), string.GetLength());
            ASSERT_EQ(capacity, string.GetBufferLength());
        }
    }
}

TEST(StringPLChangingTest, FormatReplacesTheText) {
    StringPL string("old");
    string.Format("%s=%d %c %05.1f", "width", 42, 'x', 2.25);
    ExpectText("width=42 x 002.2", 64, string);
}

TEST(StringPLChangingTest, OutputOf62BytesFitsIn64And63TakeASecondPass) {
    for (std::size_t length : {0u, 1u, 61u, 62u, 63u, 64u, 125u, 126u, 127u, 254u, 255u, 3000u}) {
        std::string const text(length, 'q');
        StringPL string;
        string.Format("%s", text.c_str());
        // One byte more than the text and its NUL has to fit.
        unsigned int capacity = 64;
        while (capacity < length + 2)
            capacity *= 2;
        ExpectText(text, capacity, string);
    }
    StringPL string;
    string.Format("%62s", "");
    EXPECT_EQ(64u, string.GetBufferLength());
    string.Format("%63s", "");
    EXPECT_EQ(128u, string.GetBufferLength());
}

TEST(StringPLChangingTest, FormatReusesABlockThatIsLargeEnough) {
    StringPL string(std::string(99, 'x').c_str());
    char const* const before = string.AsChar();
    string.Format("%d", 7);
    ExpectText("7", 100, string);
    EXPECT_EQ(before, string.AsChar());
    string.Format("%98s", "");
    ExpectText(std::string(98, ' '), 100, string);
    EXPECT_EQ(before, string.AsChar());
    string.Format("%99s", "");
    ExpectText(std::string(99, ' '), 200, string);
}

TEST(StringPLChangingTest, FormatLeavesASmallBlockFor64Bytes) {
    StringPL string(std::string(62, 'x').c_str());
    EXPECT_EQ(63u, string.GetBufferLength());
    string.Format("%d", 7);
    ExpectText("7", 64, string);
}

TEST(StringPLChangingTest, FormatCountsAPrintedNul) {
    StringPL string;
    string.Format("a%cb", 0);
    EXPECT_EQ(std::string("a\0b", 3), Bytes(string));
}

TEST(StringPLChangingTest, FormatReadsItsArgumentsAnewInEachPass) {
    std::string const text(500, 'w');
    StringPL string;
    string.Format("%d %s %lld %s", 1, text.c_str(), 1LL << 40, "end");
    ExpectText("1 " + text + " 1099511627776 end", 1024, string);
}

TEST(StringPLChangingTest, OutputThatCannotBePrintedEndsAtTheLimitWithAnEmptyString) {
    // A wide character that the C locale does not know: each pass fails, and the blocks, never
    // touched beyond their head, double until the allocator refuses.
    StringPL string("old");
    wchar_t const unknown[] = {0x20AC, 0};
    EXPECT_THROW(string.Format("%ls", unknown), StringPLOutOfBoundsException);
    ExpectText("", 1, string);
    string += "x";
    ExpectText("x", 2, string);
}

TEST(StringPLChangingTest, CaseIsThatOfTheCLibraryForEveryByte) {
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all += static_cast<char>(byte);
    std::string lower, upper;
    for (char byte : all) {
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
        upper += static_cast<char>(std::toupper(static_cast<unsigned char>(byte)));
    }
    StringPL string(all.c_str());
    string.MakeLower();
    ExpectText(lower, 256, string);
    string = all.c_str();
    string.MakeUpper();
    ExpectText(upper, 256, string);
    EXPECT_NE(lower, upper);
}

TEST(StringPLChangingTest, CaseChangesInPlaceAndBehindANulToo) {
    StringPL string("ab\0", 3);
    string += "cD";
    char const* const before = string.AsChar();
    string.MakeUpper();
    EXPECT_EQ(std::string("AB\0CD", 5), Bytes(string));
    string.MakeLower();
    EXPECT_EQ(std::string("ab\0cd", 5), Bytes(string));
    EXPECT_EQ(before, string.AsChar());
    StringPL empty;
    empty.MakeUpper();
    empty.MakeLower();
    ExpectText("", 1, empty);
}

TEST(StringPLChangingTest, CaseFollowsTheLocale) {
    OtherLocale const german("de_DE", "ISO-8859-1");
    if (german.WhyNot() != nullptr)
        GTEST_SKIP() << german.WhyNot();
    StringPL string("\xC4pfel");
    string.MakeLower();
    EXPECT_STREQ("\xE4pfel", string);
    string.MakeUpper();
    EXPECT_STREQ("\xC4PFEL", string);
    StringPL longer("\xC4pfel, \xD6l und \xDC"
                    "bersee");
    longer.MakeLower();
    EXPECT_STREQ("\xE4pfel, \xF6l und \xFC"
                 "bersee",
                 longer);
}

TEST(StringPLChangingTest, ReplaceReplacesAllOccurrences) {
    StringPL string("a-b-c");
    string.Replace("-", " and ");
    ExpectText("a and b and c", 14, string);
    string.Replace(" and ", "");
    ExpectText("abc", 4, string);
    string.Replace("abc", "");
    ExpectText("", 1, string);
    EXPECT_EQ(StringPL().AsChar(), string.AsChar());
}

TEST(StringPLChangingTest, ReplacedOccurrencesDoNotOverlap) {
    StringPL string("aaa");
    string.Replace("aa", "b");
    ExpectText("ba", 3, string);
}

TEST(StringPLChangingTest, ReplaceIsNotCaughtInItsOwnReplacement) {
    StringPL string("xax");
    string.Replace("x", "xx");
    ExpectText("xxaxx", 6, string);
}

TEST(StringPLChangingTest, ReplaceOfNothingKeepsTheBlock) {
    StringPL string("abc");
    string += "d";
    char const* const before = string.AsChar();
    string.Replace("", "x");
    ExpectText("abcd", 8, string);
    EXPECT_EQ(before, string.AsChar());
}

TEST(StringPLChangingTest, ReplaceMakesTheCapacityExactAlsoWhereNothingMatches) {
    StringPL string("abc");
    string += "d";
    EXPECT_EQ(8u, string.GetBufferLength());
    string.Replace("x", "y");
    ExpectText("abcd", 5, string);
    StringPL emptied("abc");
    emptied.MakeEmpty();
    emptied.Replace("x", "y");
    ExpectText("", 1, emptied);
}

TEST(StringPLChangingTest, ReplaceTakesPartsOfItsOwnText) {
    StringPL string("ab-ab-cd");
    string.Replace(string.AsChar() + 7, string.AsChar() + 5);
    ExpectText("ab-ab-c-cd", 11, string);
}

TEST(StringPLChangingTest, ReplaceReachesBehindAnInnerNul) {
    StringPL string("ax\0", 3);
    string += "xb";
    string.Replace("x", "yy");
    EXPECT_EQ(std::string("ayy\0yyb", 7), Bytes(string));
}

TEST(StringPLChangingTest, ReplaceNoCaseReplacesEitherCase) {
    StringPL string("One oNE two ONE");
    string.ReplaceNoCase("one", "1");
    ExpectText("1 1 two 1", 10, string);
}

TEST(StringPLChangingTest, ReplaceNoCaseGoesOnBehindItsReplacement) {
    StringPL string("xaX");
    string.ReplaceNoCase("x", "xX");
    ExpectText("xXaxX", 6, string);
    StringPL overlapping("aAa");
    overlapping.ReplaceNoCase("AA", "b");
    ExpectText("ba", 3, overlapping);
}

TEST(StringPLChangingTest, ReplaceNoCaseKeepsTheBlockWhereNothingMatches) {
    StringPL string("abc");
    string += "d";
    char const* const before = string.AsChar();
    string.ReplaceNoCase("x", "y");
    string.ReplaceNoCase("", "y");
    ExpectText("abcd", 8, string);
    EXPECT_EQ(before, string.AsChar());
}

TEST(StringPLChangingTest, ReplaceNoCaseTakesPartsOfItsOwnText) {
    StringPL string("ab-AB-cD");
    string.ReplaceNoCase(string.AsChar() + 7, string.AsChar() + 5);
    ExpectText("ab-AB-c-cD", 11, string);
    StringPL whole("Ab");
    whole.ReplaceNoCase(whole, "x");
    ExpectText("x", 2, whole);
}

std::string Replaced(std::string const& text, std::string const& search,
                     std::string const& replacement, bool ignoringCase) {
    auto const folded = [&](std::string s) {
        for (char& c : s)
            c = ignoringCase ? static_cast<char>(std::tolower(static_cast<unsigned char>(c))) : c;
        return s;
    };
    std::string const haystack = folded(text), needle = folded(search);
    std::string result;
    std::size_t from = 0;
    for (std::size_t at; (at = haystack.find(needle, from)) != std::string::npos;) {
        result += text.substr(from, at - from) + replacement;
        from = at + needle.size();
    }
    return result + text.substr(from);
}

TEST(StringPLChangingTest, RandomReplacementsAgreeWithAPlainReplacement) {
    unsigned int const seed = 42;
    std::mt19937 random(seed);
    auto const text = [&](std::size_t least, std::size_t most) {
        std::string result(least + random() % (most - least + 1), ' ');
        for (char& c : result)
            c = "aAbB"[random() % 4];
        return result;
    };
    for (int round = 0; round < 3000; ++round) {
        std::string const whole = text(0, 24), search = text(1, 3), replacement = text(0, 4);
        StringPL exactly(whole.c_str()), ignoringCase(whole.c_str());
        exactly.Replace(search.c_str(), replacement.c_str());
        ignoringCase.ReplaceNoCase(search.c_str(), replacement.c_str());
        ASSERT_EQ(Replaced(whole, search, replacement, false), Bytes(exactly))
            << "seed " << seed << ": " << whole << ", " << search << ", " << replacement;
        ASSERT_EQ(Replaced(whole, search, replacement, true), Bytes(ignoringCase))
            << "seed " << seed << ": " << whole << ", " << search << ", " << replacement;
        ASSERT_EQ('\0', exactly.AsChar()[exactly.GetLength()]);
        ASSERT_EQ('\0', ignoringCase.AsChar()[ignoringCase.GetLength()]);
        ASSERT_EQ(static_cast<unsigned int>(exactly.GetLength()) + 1, exactly.GetBufferLength());
        ASSERT_EQ(static_cast<unsigned int>(ignoringCase.GetLength()) + 1,
                  ignoringCase.GetBufferLength());
    }
}

} // namespace
