// Counts the allocations of a StringPL, and tests its text after a failed allocation.
#include "strings/StringPL.h"

#include <new>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"

namespace {

// Longer than a text that fits into a small object.
char const longText[] = "a text that is so long that no string class would keep it inside itself";

// Makes each allocation of `operation` on a new string fail in turn. Expects that the string
// contains `failed` after each failure, and `done` after success.
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
                  // The second text would fit, but the capacity doubles.
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

TEST(StringPLAllocationTest, FailureKeepsTheText) {
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
}

} // namespace
