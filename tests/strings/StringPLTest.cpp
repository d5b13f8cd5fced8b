#include "strings/StringPL.h"

#include <type_traits>

#include "fuzz/RandomInputs.h"
#include "fuzz/StringPLProperties.h"
#include "tests/strings/OtherLocale.h"
#include "tests/strings/Relations.h"

namespace {

static_assert(!std::is_polymorphic_v<StringPL>);
static_assert(std::is_nothrow_move_constructible_v<StringPL>, "a growing vector moves it");
static_assert(!std::is_base_of_v<DebuggableException, StringPLOutOfBoundsException>);
static_assert(sizeof(StringPLOutOfBoundsException) == sizeof(std::exception));

void ExpectText(std::string const& expected, unsigned int capacity, StringPL const& string) {
    EXPECT_EQ(expected, std::string(string.AsChar(), static_cast<std::size_t>(string.GetLength())));
    EXPECT_EQ(capacity, string.GetBufferLength());
}

TEST(StringPLTest, RandomOperationsAgreeWithModel) {
    ForRandomInputs(41, 4000, 300, "aAbB\xE4\xC4-", StringPLProperties::Check);
}

TEST(StringPLTest, RelationsAgreeWithBytes) {
    ExpectRelationsOfBytes<StringPL>();
    StringPL const string("ab\0cd", 5);
    EXPECT_TRUE(string == "ab" && "ab" >= string && !(string != StringPL("ab\0xy", 5)))
        << "up to the first NUL";
}

TEST(StringPLTest, WhatReturnsTheExceptionNameWithoutItsLength) {
    EXPECT_STREQ("StringPLOutOfBoundsException", StringPLOutOfBoundsException().what());
}

TEST(StringPLTest, EmptyStringsShareTheirBlock) {
    char const* const null = nullptr;
    StringPL assigned("abc");
    assigned = null;
    StringPL const fromText("");
    for (StringPL const& empty : {StringPL(), StringPL(null), fromText, StringPL(null, 5),
                                  StringPL("abc", 0), StringPL(fromText), assigned}) {
        ExpectText("", 1, empty);
        EXPECT_EQ(StringPL().AsChar(), empty.AsChar());
    }
}

// Deliberate: the length is the count, even if a NUL precedes it.
TEST(StringPLTest, ConstructorCopiesUpToItsCountOrANul) {
    char source[] = "hello";
    StringPL const string(source);
    source[0] = 'j';
    ExpectText("hello", 6, string);
    ExpectText("hel", 4, StringPL("hello", 3));
    ExpectText(std::string("ab\0\0\0", 5), 6, StringPL("ab", 5));
    ExpectText(std::string("ab\0\0\0", 5), 6, StringPL("ab\0cd", 5));
}

TEST(StringPLTest, AssignmentsCanBeChained) {
    StringPL a, b;
    a = b = "x";
    ExpectText("x", 2, a);
}

TEST(StringPLTest, SetStringLengthChangesOnlyTheLength) {
    StringPL string("hello");
    string.SetStringLength(3);
    EXPECT_EQ(3, string.GetLength());
    EXPECT_STREQ("hello", string); // Deliberate: no NUL is written.
    EXPECT_EQ(-1, string.Find("lo", 0));
    EXPECT_EQ(1, string.Find("el", 0));
    EXPECT_EQ(-1, string.FindNoCase("LO", 0));
    EXPECT_EQ(-1, string.Find('o', 0));
    EXPECT_EQ(2, string.ReverseFind('l', 0));
    string += "";
    EXPECT_STREQ("hel", string);
    string += "p";
    ExpectText("help", 6, string);
}

// All empty strings share one block.
TEST(StringPLTest, MakeEmptyRestoresTheLengthOfTheSharedBlock) {
    StringPL string;
    string.SetStringLength(0);
    string.SetStringLength(3);
    EXPECT_EQ(3, string.GetLength());
    string.MakeEmpty();
    ExpectText("", 1, string);
    ExpectText("", 1, StringPL());
}

TEST(StringPLTest, AppendReadsNothingAfterTheNul) {
    std::vector<char> const text{'a', 'b', '\0'};
    StringPL string;
    string.Append(text.data(), 6);
    ExpectText(std::string("ab\0\0\0\0", 6), 8, string);
}

TEST(StringPLTest, FormatReservesOneMoreByte) {
    for (std::size_t length : {0u, 1u, 61u, 62u, 63u, 64u, 125u, 126u, 127u, 254u, 255u, 3000u}) {
        std::string const text(length, 'q');
        unsigned int capacity = 64;
        while (capacity < length + 2)
            capacity *= 2;
        StringPL string;
        string.Format("%s", text.c_str());
        ExpectText(text, capacity, string);
    }
}

TEST(StringPLTest, FormatKeepsASufficientBlock) {
    StringPL string(std::string(99, 'x').c_str());
    char const* const before = string.AsChar();
    for (int const width : {1, 98}) {
        string.Format("%*s", width, "");
        ExpectText(std::string(static_cast<std::size_t>(width), ' '), 100, string);
        EXPECT_EQ(before, string.AsChar());
    }
    string.Format("%99s", "");
    ExpectText(std::string(99, ' '), 200, string);
}

TEST(StringPLTest, FormatConvertsAllArgumentsInEachPass) {
    std::string const text(500, 'w');
    StringPL string;
    string.Format("%d %s %lld %s%c %05.1f", 1, text.c_str(), 1LL << 40, "end", 0, 2.25);
    ExpectText("1 " + text + " 1099511627776 end" + std::string(1, '\0') + " 002.2", 1024, string);
}

TEST(StringPLTest, FormatThatCannotConvertLeavesAnEmptyString) {
    // The C locale cannot encode this character: each pass fails, and the blocks double up to the
    // limit. Only their start is written.
    StringPL string("old");
    wchar_t const unknown[] = {0x20AC, 0};
    EXPECT_THROW(string.Format("%ls", unknown), StringPLOutOfBoundsException);
    ExpectText("", 1, string);
    string += "x";
    ExpectText("x", 2, string);
}

TEST(StringPLTest, CaseMappingFollowsTheLocale) {
    EXPECT_EQ(-1, StringPL("\xC4pfel").FindNoCase("\xE4P", 0));
    OtherLocale const german("de_DE", "ISO-8859-1");
    if (german.WhyNot() != nullptr)
        GTEST_SKIP() << german.WhyNot();
    StringPL string("ein \xC4pfel");
    EXPECT_EQ(4, string.FindNoCase("\xE4P", 0));
    EXPECT_EQ(0, string.CompareNoCase("EIN \xE4PFEL"));
    string.MakeLower();
    EXPECT_STREQ("ein \xE4pfel", string);
    string.MakeUpper();
    EXPECT_STREQ("EIN \xC4PFEL", string);
    string.ReplaceNoCase("\xE4", "A");
    EXPECT_STREQ("EIN APFEL", string);
}

TEST(StringPLTest, ReplacementsMayBePartsOfTheString) {
    StringPL string("ab-ab-cd");
    string.Replace(string.AsChar() + 7, string.AsChar() + 5);
    ExpectText("ab-ab-c-cd", 11, string);
    string.ReplaceNoCase(string.AsChar() + 9, string.AsChar() + 7);
    ExpectText("ab-ab-c-c-cd", 13, string);
}

} // namespace
