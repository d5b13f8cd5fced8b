// Counts the allocations of a Stringy, and tests its text after a failed allocation.
#include "strings/Stringy.h"

#include <new>

#include <gtest/gtest.h>

#include "tests/strings/StringyText.h"
#include "tests/support/FailingAllocation.h"

namespace {

std::string const
    longestInside(127, 'a'); // The length of the longest text that is stored in the object.
std::string const shortestHeapText(128, 'b');
std::string const heapText(300, 'c');

TEST(StringyAllocationTest, TextOfUpTo127BytesAllocatesNothing) {
    EXPECT_EQ(0u, AllocationsOf([] {
                  Stringy string(longestInside.c_str());
                  Stringy const counted(longestInside.c_str(), 127);
                  Stringy const range{ConstData(longestInside)};
                  Stringy const copy(string);
                  Stringy const number(18446744073709551615ull);
                  Stringy path("/proc/");
                  path += "4711";
                  path += 'x';
                  path += Stringy("y");
                  path += ConstData("z");
                  string = copy;
                  string = "abc";
                  Stringy const part = copy.Mid(3, 100) + Stringy("sum");
                  path.StripLeadingAndTrailingWhite();
                  path.TrimLeft();
                  EXPECT_TRUE(path == "/proc/4711xyz");
                  EXPECT_TRUE(path.StartsWithIgnoringCase("/PROC"));
                  EXPECT_EQ(9u, path.Replace('/', '.') + 7);
              }));
}

// The bytes are not read before the allocation succeeds.
TEST(StringyAllocationTest, LongestCountIsAllocated) {
    FailingAllocation const failing(1);
    EXPECT_THROW(Stringy("abc", 0xFFFFFFFE), std::bad_alloc);
}

TEST(StringyAllocationTest, LongerTextAllocatesItsExactSize) {
    AllocationCounter const counter;
    Stringy const string(shortestHeapText.c_str());
    EXPECT_EQ(1u, counter.Count());
    EXPECT_EQ(129u, counter.Bytes());
    Stringy sum(string);
    EXPECT_EQ(2u * 129, counter.Bytes());
    sum += 'x';
    EXPECT_EQ(3u, counter.Count());
    EXPECT_EQ(2u * 129 + 130, counter.Bytes());
    sum += "yz";
    EXPECT_EQ(2u * 129 + 130 + 132, counter.Bytes());
    sum = heapText.c_str();
    EXPECT_EQ(2u * 129 + 130 + 132 + 301, counter.Bytes());
    sum = string;
    EXPECT_EQ(3u * 129 + 130 + 132 + 301, counter.Bytes());
}

TEST(StringyAllocationTest, AssignedShortTextFreesTheArray) {
    Stringy string(heapText.c_str());
    EXPECT_EQ(0u, AllocationsOf([&] { string = longestInside.c_str(); }));
    EXPECT_EQ(longestInside, Bytes(string));
    string = heapText.c_str();
    Stringy const small("abc");
    EXPECT_EQ(0u, AllocationsOf([&] { string = small; }));
    EXPECT_STREQ("abc", string);
}

// Makes each allocation of `operation` on a new string fail in turn. Expects the given text after
// each failure, and `done` after success.
template <class Operation>
void ExpectTexts(std::string const& start, std::vector<std::string> const& failed,
                 std::string const& done, Operation operation) {
    for (std::size_t n = 1; n <= failed.size() + 1; ++n) {
        Stringy string(start.c_str());
        bool hasFailed = false;
        {
            FailingAllocation const failing(n);
            try {
                operation(string);
            } catch (std::bad_alloc const&) {
                hasFailed = true;
            }
            EXPECT_EQ(hasFailed, failing.HasFailed());
        }
        EXPECT_EQ(n <= failed.size(), hasFailed) << "allocation " << n;
        EXPECT_EQ(hasFailed ? failed[n - 1] : done, Bytes(string)) << "allocation " << n;
        string += "!"; // The string remains usable.
        EXPECT_EQ((hasFailed ? failed[n - 1] : done) + "!", Bytes(string));
    }
}

// Deliberate: the assignment of a string frees the old array first.
TEST(StringyAllocationTest, OnlyStringAssignmentLosesTheTextOnFailure) {
    Stringy const source(heapText.c_str());
    for (std::string const& old : {std::string("old"), shortestHeapText}) {
        ExpectTexts(old, {""}, heapText, [&](Stringy& string) { string = source; });
        ExpectTexts(old, {old}, heapText, [](Stringy& string) { string = heapText.c_str(); });
        ExpectTexts(old, {old}, old + heapText,
                    [](Stringy& string) { string += heapText.c_str(); });
        ExpectTexts(old, {old}, old + heapText, [&](Stringy& string) { string += source; });
        ExpectTexts(old, {old}, old + heapText,
                    [](Stringy& string) { string += ConstData(heapText); });
    }
    ExpectTexts(shortestHeapText, {shortestHeapText}, shortestHeapText + "x",
                [](Stringy& string) { string += 'x'; });
    ExpectTexts(shortestHeapText, {shortestHeapText}, shortestHeapText + shortestHeapText,
                [](Stringy& string) { string += string; });
}

TEST(StringyAllocationTest, FailedStrippingKeepsTheOldTextOrLeavesNull) {
    // The resulting string is constructed first, and then assigned.
    std::string const padded = " " + heapText + " ";
    ExpectTexts(padded, {padded, ""}, heapText,
                [](Stringy& string) { string.StripLeadingAndTrailingWhite(); });
    ExpectTexts(padded, {padded, ""}, heapText + " ", [](Stringy& string) { string.TrimLeft(); });
}

TEST(StringyAllocationTest, FailedConstructionsLeakNothing) {
    Stringy const source(heapText.c_str());
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        try {
            Stringy const text(heapText.c_str());
            Stringy const counted(heapText.c_str(), 200);
            Stringy const range{ConstData(heapText)};
            Stringy const copy(source);
            Stringy const part = source.Mid(1);
            Stringy const sum = source + 'x';
            EXPECT_EQ(301u, sum.GetLength());
        } catch (std::bad_alloc const&) {
        }
    });
    EXPECT_EQ(7u, failures);
}

TEST(StringyAllocationTest, FailedSplitKeepsTheItemsSoFar) {
    std::string const text = heapText + "," + heapText;
    bool sawOne = false;
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        std::vector<Stringy> items;
        try {
            Stringy::SplitSeparatedStringsIntoArray(text.c_str(), ',', items, 10, false);
            EXPECT_EQ(2u, items.size());
        } catch (std::bad_alloc const&) {
            EXPECT_GE(1u, items.size());
            sawOne |= items.size() == 1 && items[0] == Stringy(heapText.c_str());
        }
    });
    EXPECT_LT(0u, failures);
    EXPECT_TRUE(sawOne);
}

} // namespace
