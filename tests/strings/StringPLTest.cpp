#include "strings/StringPL.h"

#include <cctype>
#include <new>
#include <optional>
#include <type_traits>

#include "fuzz/RandomInputs.h"
#include "fuzz/StringPLProperties.h"
#include "tests/strings/OtherLocale.h"
#include "tests/strings/Relations.h"
#include "tests/support/FailingAllocation.h"

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

TEST(StringPLTest, EmptyStringsOfCapacity1ShareOneBlock) {
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

// All strings of capacity 1 share one block.
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

TEST(StringPLTest, CaseMappingAgreesWithTheCLibraryForEveryByte) {
    for (int byte = 1; byte < 256; ++byte) {
        std::string const text(1, static_cast<char>(byte));
        StringPL string(text.c_str());
        string.MakeLower();
        ExpectText(std::string(1, static_cast<char>(std::tolower(byte))), 2, string);
        string.MakeUpper();
        ExpectText(std::string(1, static_cast<char>(std::toupper(byte))), 2, string);
    }
}

TEST(StringPLTest, CaseMappingAndSearchFollowTheLocale) {
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

TEST(StringPLTest, ArgumentsOfReplaceMayBePartsOfTheString) {
    StringPL string("ab-ab-cd");
    string.Replace(string.AsChar() + 7, string.AsChar() + 5);
    ExpectText("ab-ab-c-cd", 11, string);
    string.ReplaceNoCase(string.AsChar() + 9, string.AsChar() + 7);
    ExpectText("ab-ab-c-c-cd", 13, string);
}

char const longText[] = "a text that is so long that no string class would keep it inside itself";

// Makes each allocation of `operation` on a new string fail in turn. Expects the text `failed`
// after each failure, and `done` after success.
template <class Operation>
void ExpectAfterFailure(char const* start, char const* failed, char const* done,
                        Operation operation) {
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t n) {
        // Constructed each time; an allocation of the constructor is the first one.
        std::optional<StringPL> string;
        try {
            string.emplace(start);
            operation(*string);
            EXPECT_STREQ(done, *string);
        } catch (std::bad_alloc const&) {
            if (!string)
                return;
            EXPECT_STREQ(failed, *string) << "with allocation " << n << " failing";
            EXPECT_EQ(static_cast<int>(std::strlen(failed)), string->GetLength());
        }
        FailingAllocation const none(1000);
        *string += "!";
        EXPECT_TRUE(string->Contains('!')) << "the string remains usable";
    });
    EXPECT_LT(0u, failures);
}

TEST(StringPLAllocationTest, EmptyStringsAllocateNothing) {
    EXPECT_EQ(0u, AllocationsOf([] {
                  StringPL string, other;
                  StringPL const fromNull(static_cast<char const*>(nullptr));
                  StringPL const fromText("");
                  StringPL const fromCount("abc", 0);
                  StringPL const copy(fromText);
                  string = "";
                  string = other;
                  string += "";
                  string.Append("x", 0);
                  string.MakeEmpty();
                  string.MakeLower();
                  string.Replace("a", "b");
                  StringPL const part = string.Mid(0, 3);
                  StringPL const sum = string + "";
              }));
}

TEST(StringPLAllocationTest, OtherStringsAllocateOnce) {
    StringPL const source(longText);
    EXPECT_EQ(1u, AllocationsOf([] { StringPL const string(longText); }));
    EXPECT_EQ(1u, AllocationsOf([] { StringPL const string(longText, 3); }));
    EXPECT_EQ(1u, AllocationsOf([&] { StringPL const string(source); }));
    EXPECT_EQ(1u, AllocationsOf([&] { StringPL const string = source.Mid(3, 20); }));
    StringPL target("x");
    EXPECT_EQ(1u, AllocationsOf([&] { target = source; }));
    EXPECT_EQ(1u, AllocationsOf([&] { target.Replace("text", "word"); }));
}

TEST(StringPLAllocationTest, GrowingVectorCopiesNoText) {
    std::vector<StringPL> strings;
    strings.emplace_back(longText);
    char const* const block = strings.front().AsChar();
    EXPECT_EQ(1u, AllocationsOf([&] { strings.reserve(100); }));
    EXPECT_EQ(block, strings.front().AsChar());
}

TEST(StringPLAllocationTest, RejectsCapacityAboveLimitBeforeAllocating) {
    StringPL string("abc");
    EXPECT_EQ(0u, AllocationsOf([&] {
                  // The header has to fit into 32 bits too, so the limit is 4,294,967,287.
                  for (unsigned int const count : {0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFF7})
                      EXPECT_THROW(StringPL("x", count), StringPLOutOfBoundsException);
                  // The second count would fit, but the capacity doubles.
                  for (unsigned int const count : {0xFFFFFFFF, 0x80000000})
                      EXPECT_THROW(string.Append("x", count), StringPLOutOfBoundsException);
              }));
    EXPECT_STREQ("abc", string);
    EXPECT_EQ(4u, string.GetBufferLength());
}

TEST(StringPLAllocationTest, HighestCapacityIsAllocated) {
    FailingAllocation const failing(1);
    EXPECT_THROW(StringPL("x", 0xFFFFFFF6), std::bad_alloc);
    EXPECT_TRUE(failing.HasFailed());
}

TEST(StringPLAllocationTest, ReadingAllocatesNothing) {
    StringPL const string(longText);
    EXPECT_EQ(0u, AllocationsOf([&] {
                  EXPECT_NE(-1, string.Find("string", 0));
                  EXPECT_NE(-1, string.FindNoCase("STRING", 0));
                  EXPECT_NE(-1, string.ReverseFind('t', 5));
                  EXPECT_TRUE(string.ContainsNoCase("ITSELF"));
                  EXPECT_TRUE(string.EqualsIgnoringCase(longText));
                  EXPECT_TRUE(string == longText);
                  EXPECT_NE(0, string.GetLength());
              }));
}

TEST(StringPLAllocationTest, AppendingAMillionBytesAllocates20Times) {
    // The capacities 2, 4, ... 1,048,576.
    EXPECT_EQ(20u, AllocationsOf([] {
                  StringPL string;
                  for (int i = 0; i < (1 << 20) - 1; ++i)
                      string += "x";
                  EXPECT_EQ((1 << 20) - 1, string.GetLength());
              }));
}

TEST(StringPLAllocationTest, FormatAllocatesAtMostOncePerPass) {
    EXPECT_EQ(1u, AllocationsOf([] { StringPL().Format("%s", "short"); }));
    EXPECT_EQ(2u, AllocationsOf([] { StringPL().Format("%s", longText); }));
    StringPL string(longText);
    EXPECT_EQ(0u, AllocationsOf([&] { string.Format("%d", 1); }));
    StringPL just64(std::string(63, 'x').c_str());
    EXPECT_EQ(0u, AllocationsOf([&] { just64.Format("%62s", ""); }));
}

TEST(StringPLAllocationTest, FailedAssignmentAppendOrReplaceKeepsTheText) {
    ExpectAfterFailure("old", "old", longText, [](StringPL& string) { string = longText; });
    ExpectAfterFailure("old", "old", longText,
                       [](StringPL& string) { string = StringPL(longText); });
    ExpectAfterFailure("old", "old", "oldxxx", [](StringPL& string) { string += "xxx"; });
    ExpectAfterFailure("old", "old", "oldxx", [](StringPL& string) { string.Append("xxx", 2); });
    ExpectAfterFailure("old", "old", "owd", [](StringPL& string) { string.Replace("l", "w"); });
    ExpectAfterFailure("old", "old", "ldx", [](StringPL& string) { string = string.Mid(1) + "x"; });
}

TEST(StringPLAllocationTest, FailedFormatLeavesAnEmptyString) {
    // Deliberate: Format frees the old block first.
    ExpectAfterFailure("old", "", longText,
                       [](StringPL& string) { string.Format("%s", longText); });
}

TEST(StringPLAllocationTest, FailedReplaceNoCaseKeepsReplacementsSoFar) {
    // Deliberate: each replacement creates a new string.
    bool sawNone = false, sawOne = false;
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        std::optional<StringPL> string;
        try {
            string.emplace("aXbx");
            string->ReplaceNoCase("x", "--");
            EXPECT_STREQ("a--b--", *string);
        } catch (std::bad_alloc const&) {
            sawNone |= string && *string == "aXbx";
            sawOne |= string && *string == "a--bx";
            EXPECT_TRUE(!string || *string == "aXbx" || *string == "a--bx");
        }
    });
    EXPECT_LT(0u, failures);
    EXPECT_TRUE(sawNone);
    EXPECT_TRUE(sawOne);
}

TEST(StringPLAllocationTest, FailedConstructionsLeakNothing) {
    StringPL const source(longText);
    AllocationCounter const counter;
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        try {
            StringPL const text(longText);
            StringPL const counted(longText, 5);
            StringPL const copy(source);
            StringPL const sum = source + "more";
            StringPL const part = source.Left(7);
            EXPECT_STREQ("a text ", part);
        } catch (std::bad_alloc const&) {
        }
    });
    EXPECT_EQ(6u, failures);
    EXPECT_EQ(0, counter.Held());
}

} // namespace
