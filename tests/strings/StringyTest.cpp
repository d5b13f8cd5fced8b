#include "strings/Stringy.h"

#include <cctype>
#include <climits>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "tests/strings/OtherLocale.h"
#include "tests/strings/StringyText.h"

namespace {

static_assert(!std::is_polymorphic_v<Stringy>);
static_assert(std::is_base_of_v<DebuggableException, StringyLengthTooLong>);
static_assert(sizeof(StringyLengthTooLong) == sizeof(DebuggableException));

// Null and the empty text look alike from outside, but for comparisons that ignore case.
bool IsEmptyText(Stringy const& string) {
    return string.GetLength() == 0 && string.EqualIgnoringCase(string);
}

bool LiesInside(Stringy const& string) {
    std::less<char const*> const before;
    char const* const text = string;
    char const* const object = reinterpret_cast<char const*>(&string);
    return !before(text, object) && before(text, object + sizeof(string));
}

// Beginnings of a text without repetitions that are shorter than 251 bytes.
std::string Text(std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i)
        text += static_cast<char>(1 + i % 251);
    return text;
}

void ExpectText(std::string const& expected, Stringy const& string) {
    EXPECT_EQ(expected, Bytes(string));
    EXPECT_EQ('\0', static_cast<char const*>(string)[expected.size()]);
}

// The sizes around the border between the object and the heap.
std::size_t const lengths[] = {0, 1, 2, 100, 126, 127, 128, 129, 200, 1000};

TEST(StringyTest, ExceptionNamesItself) {
    EXPECT_STREQ("20StringyLengthTooLong", StringyLengthTooLong().what());
}

TEST(StringyTest, ThereAreTwoEmptyStrings) {
    EXPECT_TRUE(IsNull(Stringy()));
    EXPECT_TRUE(IsNull(Stringy(static_cast<char const*>(nullptr))));
    EXPECT_TRUE(IsNull(Stringy("abc", 0)));
    EXPECT_TRUE(IsNull(Stringy(static_cast<char const*>(nullptr), 0)));
    EXPECT_TRUE(IsNull(Stringy(static_cast<unsigned char const*>(nullptr), 0)));
    EXPECT_TRUE(IsNull(Stringy(ConstData())));
    EXPECT_TRUE(IsNull(Stringy(ConstData("abc", 0))));
    EXPECT_TRUE(IsEmptyText(Stringy("")));
    EXPECT_STREQ("", Stringy());
    EXPECT_STREQ("", Stringy(""));
}

TEST(StringyTest, TextOf127CharactersLiesInsideAndOf128OnTheHeap) {
    for (std::size_t length : lengths) {
        std::string const text = Text(length);
        unsigned int const count = static_cast<unsigned int>(length);
        unsigned char const* const bytes = reinterpret_cast<unsigned char const*>(text.data());
        Stringy const fromText(text.c_str()), fromCount(text.c_str(), count),
            fromBytes(bytes, count), fromRange{ConstData(text)};
        Stringy const copy(fromText);
        for (Stringy const* string : {&fromText, &fromCount, &fromBytes, &fromRange, &copy}) {
            ExpectText(text, *string);
            if (length != 0) {
                EXPECT_EQ(length <= 127, LiesInside(*string)) << length;
            }
        }
    }
}

TEST(StringyTest, CountedBytesAreCopiedAsTheyAre) {
    std::string const bytes("a\0b\0", 4);
    EXPECT_EQ(bytes, Bytes(Stringy(bytes.data(), 4)));
    EXPECT_EQ(bytes, Bytes(Stringy(ConstData(bytes))));
    EXPECT_STREQ("a", Stringy(bytes.data(), 4));
    EXPECT_EQ(bytes, Bytes(Stringy(Stringy(bytes.data(), 4))));
    EXPECT_EQ("ab", Bytes(Stringy("abc", 2)));
}

TEST(StringyTest, CountWithoutRoomForANulIsTooLong) {
    char const* const text = "abc";
    unsigned char const* const bytes = reinterpret_cast<unsigned char const*>(text);
    EXPECT_THROW(Stringy(text, 0xFFFFFFFF), StringyLengthTooLong);
    EXPECT_THROW(Stringy(bytes, 0xFFFFFFFF), StringyLengthTooLong);
    EXPECT_THROW(Stringy(static_cast<char const*>(nullptr), 0xFFFFFFFF), StringyLengthTooLong);
}

TEST(StringyTest, NumbersBecomeDecimalDigits) {
    EXPECT_STREQ("0", Stringy(0));
    EXPECT_STREQ("-1", Stringy(-1));
    EXPECT_STREQ("2147483647", Stringy(INT_MAX));
    EXPECT_STREQ("-2147483648", Stringy(INT_MIN));
    EXPECT_STREQ("4294967295", Stringy(UINT_MAX));
    EXPECT_STREQ("0", Stringy(0u));
    EXPECT_STREQ("18446744073709551615", Stringy(ULLONG_MAX));
    EXPECT_STREQ("0", Stringy(0ull));
}

TEST(StringyTest, CopyKeepsTheKindOfEmpty) {
    EXPECT_TRUE(IsNull(Stringy(Stringy())));
    Stringy const emptyText("");
    EXPECT_TRUE(IsEmptyText(Stringy(emptyText)));
}

TEST(StringyTest, AssignmentDoesNotKeepTheEmptyText) {
    Stringy target("abc");
    target = Stringy("");
    EXPECT_TRUE(IsNull(target)); // Deliberate, unlike a copy.
    EXPECT_STREQ("", target);
    target = Stringy(Text(500).c_str());
    target = Stringy();
    EXPECT_TRUE(IsNull(target));
}

TEST(StringyTest, AssignmentsBetweenAllSizesGiveTheSameTextAndPlace) {
    for (std::size_t from : lengths) {
        for (std::size_t to : lengths) {
            std::string const text = Text(to);
            Stringy target(Text(from).c_str());
            target = Stringy(text.c_str());
            ExpectText(text, target);
            Stringy byText(Text(from).c_str());
            byText = text.c_str();
            ExpectText(text, byText);
            if (to != 0) {
                EXPECT_EQ(to <= 127, LiesInside(target));
                EXPECT_EQ(to <= 127, LiesInside(byText));
            }
        }
    }
}

TEST(StringyTest, AssigningAnEmptyTextByPointerKeepsItNotNull) {
    Stringy target("abc");
    target = "";
    EXPECT_TRUE(IsEmptyText(target));
    target = static_cast<char const*>(nullptr);
    EXPECT_TRUE(IsNull(target));
    target = static_cast<char const*>(nullptr);
    EXPECT_TRUE(IsNull(target));
}

TEST(StringyTest, AssigningItselfDoesNothing) {
    for (std::size_t length : lengths) {
        Stringy target(Text(length).c_str());
        char const* const before = target;
        Stringy const& itself = target;
        target = itself;
        target = static_cast<char const*>(target);
        EXPECT_EQ(before, static_cast<char const*>(target));
        ExpectText(Text(length), target);
    }
    Stringy emptyText("");
    Stringy const& itself = emptyText;
    emptyText = itself;
    EXPECT_TRUE(IsEmptyText(emptyText));
}

TEST(StringyTest, APartOfItsOwnTextCanBeAssigned) {
    for (std::size_t length : {5u, 127u, 128u, 140u, 400u}) {
        std::string const text = Text(length);
        for (std::size_t offset : {1u, 2u, 4u}) {
            Stringy target(text.c_str());
            target = static_cast<char const*>(target) + offset;
            ExpectText(text.substr(offset), target);
            EXPECT_EQ(length - offset <= 127, LiesInside(target));
        }
    }
}

TEST(StringyTest, AssignmentsCanBeChained) {
    Stringy a, b;
    a = b = "x";
    EXPECT_STREQ("x", a);
    a = b = Stringy("y");
    EXPECT_STREQ("y", a);
}

TEST(StringyTest, NothingToAppendChangesNothing) {
    for (std::size_t length : lengths) {
        Stringy string(Text(length).c_str());
        char const* const before = string;
        string += '\0';
        string += "";
        string += static_cast<char const*>(nullptr);
        string += Stringy();
        string += Stringy("");
        string += ConstData();
        EXPECT_EQ(before, static_cast<char const*>(string));
        ExpectText(Text(length), string);
    }
    Stringy null;
    null += '\0';
    null += "";
    null += static_cast<char const*>(nullptr);
    null += Stringy("");
    null += ConstData("abc", 0);
    EXPECT_TRUE(IsNull(null));
}

TEST(StringyTest, AppendsOfAllKindsAddTheirBytes) {
    for (std::size_t length : lengths) {
        for (std::size_t more : lengths) {
            std::string const start = Text(length), added = Text(more), sum = start + added;
            Stringy byText(start.c_str()), byString(start.c_str()), byRange(start.c_str());
            byText += added.c_str();
            byString += Stringy(added.c_str());
            byRange += ConstData(added);
            ExpectText(sum, byText);
            ExpectText(sum, byString);
            ExpectText(sum, byRange);
            if (!sum.empty()) {
                EXPECT_EQ(sum.size() <= 127, LiesInside(byRange));
                EXPECT_TRUE(sum.size() == 127 || LiesInside(byText) == LiesInside(byRange));
            }
        }
    }
}

TEST(StringyTest, ToAnEmptyStringATextOf127IsAppendedOnTheHeap) {
    // Deliberate: one byte sooner than anywhere else.
    std::string const text = Text(127);
    for (bool null : {true, false}) {
        Stringy byText, byString, byRange;
        if (!null)
            byText = byString = byRange = "";
        byText += text.c_str();
        byString += Stringy(text.c_str());
        byRange += ConstData(text);
        EXPECT_FALSE(LiesInside(byText));
        EXPECT_FALSE(LiesInside(byString));
        EXPECT_TRUE(LiesInside(byRange));
        for (Stringy const* string : {&byText, &byString, &byRange})
            ExpectText(text, *string);
    }
    Stringy notEmpty("x");
    notEmpty += Text(126).c_str();
    EXPECT_TRUE(LiesInside(notEmpty));
    Stringy of126, alsoOf126;
    of126 += Text(126).c_str();
    alsoOf126 += Stringy(Text(126).c_str());
    EXPECT_TRUE(LiesInside(of126));
    EXPECT_TRUE(LiesInside(alsoOf126));
}

TEST(StringyTest, BytesCanBeAppendedOneByOne) {
    Stringy string;
    std::string expected;
    for (int i = 0; i < 300; ++i) {
        char const byte = static_cast<char>(1 + i % 255);
        string += byte;
        expected += byte;
        ASSERT_EQ(expected, Bytes(string));
        ASSERT_EQ(expected.size() <= 127, LiesInside(string));
    }
}

TEST(StringyTest, RangesMayHoldNuls) {
    Stringy string("a");
    string += ConstData("\0b", 2);
    EXPECT_EQ(std::string("a\0b", 3), Bytes(string));
    Stringy other("x");
    other += string;
    EXPECT_EQ(std::string("xa\0b", 4), Bytes(other));
}

TEST(StringyTest, AStringCanBeAppendedToItself) {
    for (std::size_t length : {3u, 63u, 64u, 127u, 128u, 300u}) {
        std::string const text = Text(length);
        Stringy whole(text.c_str()), part(text.c_str()), range(text.c_str());
        whole += whole;
        part += static_cast<char const*>(part) + 1;
        range += ConstData(static_cast<char const*>(range), 2);
        ExpectText(text + text, whole);
        ExpectText(text + text.substr(1), part);
        ExpectText(text + text.substr(0, 2), range);
    }
}

TEST(StringyTest, SumLeavesItsSidesAlone) {
    Stringy const left("ab"), right("cd");
    EXPECT_STREQ("abcd", left + right);
    EXPECT_STREQ("abx", left + 'x');
    EXPECT_STREQ("ab", left + '\0');
    EXPECT_STREQ("ab-cd", left + "-" + right);
    EXPECT_STREQ("ab", left);
    EXPECT_STREQ("cd", right);
    EXPECT_STREQ("cd", Stringy() + right);
    EXPECT_TRUE(IsNull(Stringy() + Stringy()));
    EXPECT_TRUE(IsEmptyText(Stringy("") + Stringy()));
}

TEST(StringyTest, AppendsCanBeChained) {
    Stringy string;
    ((string += 'a') += "b") += Stringy("c");
    EXPECT_STREQ("abc", string);
}

TEST(StringyTest, IndexGivesTheByteAndNulBehindTheText) {
    Stringy const string("abc");
    EXPECT_EQ('a', string[0]);
    EXPECT_EQ('c', string[2]);
    EXPECT_EQ('\0', string[3]);
    EXPECT_EQ('\0', string[5]);
    EXPECT_EQ('\0', string[UINT_MAX]);
    EXPECT_EQ('\0', Stringy()[0]);
    EXPECT_EQ('\0', Stringy()[7]);
    EXPECT_EQ('\xFF', Stringy("\xFF")[0]);
}

TEST(StringyTest, CaseIsThatOfTheCLibraryForEveryByte) {
    std::string all, lower, upper;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
        lower += static_cast<char>(std::tolower(byte));
        upper += static_cast<char>(std::toupper(byte));
    }
    Stringy string{ConstData(all)};
    string.MakeLower();
    ExpectText(lower, string);
    string = Stringy(ConstData(all));
    string.MakeUpper();
    ExpectText(upper, string);
    EXPECT_NE(lower, upper);
    Stringy null;
    null.MakeLower();
    null.MakeUpper();
    EXPECT_TRUE(IsNull(null));
}

TEST(StringyTest, CaseFollowsTheLocale) {
    OtherLocale const german("de_DE", "ISO-8859-1");
    if (german.WhyNot() != nullptr)
        GTEST_SKIP() << german.WhyNot();
    Stringy string("\xC4pfel");
    string.MakeLower();
    EXPECT_STREQ("\xE4pfel", string);
    string.MakeUpper();
    EXPECT_STREQ("\xC4PFEL", string);
    // Prefixes and comparisons know ASCII alone, whatever the locale.
    EXPECT_FALSE(string.StartsWithIgnoringCase("\xE4pfel"));
    EXPECT_FALSE(string.EqualIgnoringCase(Stringy("\xE4pfel")));
    EXPECT_EQ(0xC4 - 0xE4, string.CompareNoCase(Stringy("\xE4pfel")));
}

TEST(StringyTest, ReplaceCountsWhatItReplaces) {
    Stringy string("a/b/c");
    EXPECT_EQ(2u, string.Replace('/', '-'));
    EXPECT_STREQ("a-b-c", string);
    EXPECT_EQ(0u, string.Replace('/', '-'));
    EXPECT_EQ(1u, string.Replace('c', 'c'));
    EXPECT_EQ(0u, Stringy().Replace('a', 'b'));
    EXPECT_EQ(0u, Stringy("").Replace('a', 'b'));
}

TEST(StringyTest, ReplaceLeavesTheTerminatingNul) {
    Stringy string("a\0b", 3);
    EXPECT_EQ(1u, string.Replace('\0', '.'));
    ExpectText("a.b", string);
}

TEST(StringyTest, RandomAppendsAndAssignmentsAgreeWithAPlainString) {
    unsigned int const seed = 51;
    std::mt19937 random(seed);
    for (int round = 0; round < 300; ++round) {
        Stringy string;
        std::string expected;
        for (int step = 0; step < 12; ++step) {
            std::string const piece = Text(random() % 90);
            switch (random() % 6) {
            case 0:
                string = piece.c_str();
                expected = piece;
                break;
            case 1:
                string = Stringy(piece.c_str());
                expected = piece;
                break;
            case 2:
                string += 'x';
                expected += 'x';
                break;
            case 3:
                string += piece.c_str();
                expected += piece;
                break;
            case 4:
                string += Stringy(piece.c_str());
                expected += piece;
                break;
            default:
                string += ConstData(piece);
                expected += piece;
            }
            ASSERT_EQ(expected, Bytes(string)) << "seed " << seed << ", round " << round;
            ASSERT_STREQ(expected.c_str(), string);
        }
    }
}

} // namespace
