#include "strings/Stringy.h"

#include <cctype>
#include <climits>
#include <new>
#include <type_traits>

#include "fuzz/RandomInputs.h"
#include "fuzz/StringyProperties.h"
#include "tests/strings/OtherLocale.h"
#include "tests/strings/Relations.h"
#include "tests/support/FailingAllocation.h"

namespace {

// Returns all bytes, including those after an embedded NUL.
std::string Bytes(Stringy const& string) {
    return std::string(static_cast<char const*>(string), string.GetLength());
}

// Returns whether the string is null: only then EqualIgnoringCase with itself returns false.
bool IsNull(Stringy const& string) {
    return string.GetLength() == 0 && !string.EqualIgnoringCase(string);
}

static_assert(!std::is_polymorphic_v<Stringy>);
static_assert(std::is_base_of_v<DebuggableException, StringyLengthTooLong>);
static_assert(sizeof(StringyLengthTooLong) == sizeof(DebuggableException));

bool LiesInside(Stringy const& string) {
    std::less<char const*> const before;
    char const* const text = string;
    char const* const object = reinterpret_cast<char const*>(&string);
    return !before(text, object) && before(text, object + sizeof(string));
}

// Returns `length` bytes that repeat only after 251 bytes.
std::string Text(std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i)
        text += static_cast<char>(1 + i % 251);
    return text;
}

// Lengths around, far below and far above the limit for text inside the object.
std::size_t const lengths[] = {0, 1, 2, 100, 126, 127, 128, 129, 200, 1000};

TEST(StringyTest, RandomOperationsAgreeWithModel) {
    ForRandomInputs(51, 4000, 300, "aAbB\xE4\xC4,", StringyProperties::Check);
    ForRandomInputs(52, 2000, 300, " \t\n\r,x", StringyProperties::Check);
}

TEST(StringyTest, RelationsAgreeWithBytes) {
    ExpectRelationsOfBytes<Stringy>();
    char const* const null = nullptr;
    EXPECT_TRUE(Stringy("") == null && null == Stringy() && null < Stringy("a"));
}

TEST(StringyTest, WhatReturnsTheNameOfTheExceptionType) {
    EXPECT_STREQ("20StringyLengthTooLong", StringyLengthTooLong().what());
}

TEST(StringyTest, NullPointerOrZeroCountMakesTheNullString) {
    char const* const null = nullptr;
    unsigned char const* const noBytes = nullptr;
    for (Stringy const& string :
         {Stringy(), Stringy(null), Stringy("abc", 0), Stringy(null, 0), Stringy(noBytes, 0),
          Stringy(ConstData()), Stringy(ConstData("abc", 0)), Stringy(Stringy())}) {
        EXPECT_TRUE(IsNull(string));
        EXPECT_STREQ("", string);
    }
    Stringy const empty("");
    EXPECT_FALSE(IsNull(empty) || IsNull(Stringy(empty)));
    EXPECT_STREQ("", empty);
}

TEST(StringyTest, ConstructedOrAssignedTextIsInsideTheObjectUpTo127Bytes) {
    for (std::size_t length : lengths) {
        std::string const text = Text(length);
        unsigned int const count = static_cast<unsigned int>(length);
        Stringy const fromText(text.c_str()), copy(fromText), fromCount(text.c_str(), count),
            fromBytes(reinterpret_cast<unsigned char const*>(text.data()), count);
        Stringy assigned(Text(200).c_str()), assignedString("x");
        assigned = text.c_str();
        assignedString = fromText;
        for (Stringy const* const string : std::initializer_list<Stringy const*>{
                 &fromText, &copy, &fromCount, &fromBytes, &assigned, &assignedString}) {
            EXPECT_EQ(text, Bytes(*string));
            EXPECT_STREQ(text.c_str(), *string);
            EXPECT_TRUE(length == 0 || LiesInside(*string) == (length <= 127)) << length;
        }
    }
}

TEST(StringyTest, AppendsAddTheBytesOfTextsStringsAndRanges) {
    for (std::size_t length : lengths) {
        for (std::size_t more : lengths) {
            std::string const start = Text(length), added = Text(more), sum = start + added;
            Stringy byText(start.c_str()), byString(start.c_str()), byRange(start.c_str());
            byText += added.c_str();
            byString += Stringy(added.c_str());
            byRange += ConstData(added);
            // Deliberate: appended to an empty string, 127 bytes are on the heap, except a range.
            bool const isInside = sum.size() <= 126 || (sum.size() == 127 && length != 0);
            EXPECT_EQ(isInside || sum.size() == 127, LiesInside(byRange) || sum.empty());
            for (Stringy const* string : {&byText, &byString})
                EXPECT_EQ(isInside, LiesInside(*string) || sum.empty()) << length << "+" << more;
            for (Stringy const* string : {&byText, &byString, &byRange}) {
                EXPECT_EQ(sum, Bytes(*string));
                EXPECT_STREQ(sum.c_str(), *string);
            }
        }
    }
}

TEST(StringyTest, AppendingAnEmptyTextHasNoEffect) {
    for (std::size_t length : lengths) {
        Stringy string(ConstData(Text(length)));
        char const* const before = string;
        string += '\0';
        string += "";
        string += static_cast<char const*>(nullptr);
        string += Stringy();
        string += Stringy("");
        string += ConstData("abc", 0);
        EXPECT_EQ(before, static_cast<char const*>(string));
        EXPECT_EQ(length == 0, IsNull(string));
    }
}

TEST(StringyTest, RejectsCountWithoutSpaceForANul) {
    char const* const text = "abc";
    EXPECT_THROW(Stringy(text, 0xFFFFFFFF), StringyLengthTooLong);
    EXPECT_THROW(Stringy(reinterpret_cast<unsigned char const*>(text), 0xFFFFFFFF),
                 StringyLengthTooLong);
    EXPECT_THROW(Stringy(static_cast<char const*>(nullptr), 0xFFFFFFFF), StringyLengthTooLong);
}

TEST(StringyTest, ConvertsTheLimitsOfNumbers) {
    EXPECT_STREQ("-2147483648", Stringy(INT_MIN));
    EXPECT_STREQ("2147483647", Stringy(INT_MAX));
    EXPECT_STREQ("4294967295", Stringy(UINT_MAX));
    EXPECT_STREQ("18446744073709551615", Stringy(ULLONG_MAX));
    EXPECT_STREQ("0", Stringy(0));
}

TEST(StringyTest, OperationsCanBeChained) {
    Stringy a, b;
    a = b = "x";
    EXPECT_STREQ("x", a);
    a = b = Stringy("y");
    ((a += 'a') += "b") += Stringy("c");
    EXPECT_STREQ("yabc-y", a + Stringy("-") + b);
    EXPECT_STREQ("yabcx", a + 'x');
    EXPECT_STREQ("yabc", a + '\0');
}

TEST(StringyTest, IndexBeyondTheTextReturnsNul) {
    EXPECT_EQ('\0', Stringy("abc")[UINT_MAX]);
    EXPECT_EQ('\0', Stringy()[0]);
    EXPECT_EQ('\0', Stringy()[7]);
}

TEST(StringyTest, NullContainsOnlyNull) {
    EXPECT_TRUE(Stringy().Contains(nullptr));
    EXPECT_FALSE(Stringy().Contains(""));
    EXPECT_FALSE(Stringy("a").Contains(nullptr));
    EXPECT_FALSE(Stringy("").Contains(nullptr));
}

TEST(StringyTest, EveryStringStartsWithNull) {
    for (Stringy const& string : {Stringy(), Stringy(""), Stringy("abc")}) {
        EXPECT_TRUE(string.StartsWith(nullptr));
        EXPECT_TRUE(string.StartsWithIgnoringCase(static_cast<char const*>(nullptr)));
        EXPECT_TRUE(string.StartsWithIgnoringCase(Stringy()));
    }
}

TEST(StringyTest, RangesAreClamped) {
    Stringy const string("hello");
    EXPECT_STREQ("hello", string.Left(INT_MAX));
    EXPECT_STREQ("hello", string.Right(INT_MAX));
    EXPECT_STREQ("ello", string.Mid(1, INT_MAX));
    EXPECT_STREQ("hello", string.Mid(INT_MIN));
    EXPECT_TRUE(IsNull(string.Mid(INT_MIN, INT_MIN)));
    EXPECT_TRUE(IsNull(string.Mid(INT_MAX)));
}

TEST(StringyTest, CaseMappingAgreesWithTheCLibraryForEveryByte) {
    for (int byte = 0; byte < 256; ++byte) {
        std::string const text(1, static_cast<char>(byte));
        Stringy string{ConstData(text)};
        string.MakeLower();
        EXPECT_EQ(std::string(1, static_cast<char>(std::tolower(byte))), Bytes(string));
        string.MakeUpper();
        EXPECT_EQ(std::string(1, static_cast<char>(std::toupper(byte))), Bytes(string));
    }
}

TEST(StringyTest, OnlyCaseMappingFollowsTheLocale) {
    OtherLocale const german("de_DE", "ISO-8859-1");
    if (german.WhyNot() != nullptr)
        GTEST_SKIP() << german.WhyNot();
    Stringy string("\xC4pfel");
    string.MakeLower();
    EXPECT_STREQ("\xE4pfel", string);
    string.MakeUpper();
    EXPECT_STREQ("\xC4PFEL", string);
    EXPECT_FALSE(string.StartsWithIgnoringCase("\xE4pfel"));
    EXPECT_FALSE(string.EqualIgnoringCase(Stringy("\xE4pfel")));
    EXPECT_EQ(0xC4 - 0xE4, string.CompareNoCase(Stringy("\xE4pfel")));
}

TEST(StringyTest, TrimLeftWithoutWhitespaceKeepsTheArray) {
    Stringy string(Text(200).c_str() + 40);
    char const* const before = string;
    string.TrimLeft();
    EXPECT_EQ(before, static_cast<char const*>(string));
}

// Deliberate: stripping starts at index 0 of the vector, so the vector should be empty.
TEST(StringyTest, SplitAppendsToTheVector) {
    std::vector<Stringy> items{Stringy(" x ")};
    EXPECT_EQ(2u, Stringy::SplitSeparatedStringsIntoArray("a, b", ',', items, 10, false));
    EXPECT_EQ((std::vector<Stringy>{" x ", "a", " b"}), items);
    EXPECT_EQ(1u, Stringy::SplitSeparatedStringsIntoArray(" c ", ',', items, 10, true));
    EXPECT_EQ((std::vector<Stringy>{"x", "a", " b", " c "}), items);
    EXPECT_EQ(0u, Stringy::SplitSeparatedStringsIntoArray(nullptr, ',', items, 10, false));
}

std::string const longestInside(127, 'a'); // The longest text inside the object.
std::string const shortestHeapText(128, 'b');
std::string const heapText(300, 'c');

TEST(StringyAllocationTest, Constructed127BytesAndShortAppendsAllocateNothing) {
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

TEST(StringyAllocationTest, AssignedShortTextAllocatesNothing) {
    Stringy string(heapText.c_str());
    EXPECT_EQ(0u, AllocationsOf([&] { string = longestInside.c_str(); }));
    EXPECT_EQ(longestInside, Bytes(string));
    string = heapText.c_str();
    Stringy const small("abc");
    EXPECT_EQ(0u, AllocationsOf([&] { string = small; }));
    EXPECT_STREQ("abc", string);
}

// Makes each allocation of `operation` on a new string fail in turn. Expects one text of `failed`
// after each failure, and `done` after success.
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
TEST(StringyAllocationTest, FailedOperatorsKeepTheTextExceptStringAssignment) {
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

TEST(StringyAllocationTest, FailedStrippingKeepsTheOldTextOrNone) {
    // The resulting string is constructed first, and then assigned.
    std::string const padded = " " + heapText + " ";
    ExpectTexts(padded, {padded, ""}, heapText,
                [](Stringy& string) { string.StripLeadingAndTrailingWhite(); });
    ExpectTexts(padded, {padded, ""}, heapText + " ", [](Stringy& string) { string.TrimLeft(); });
}

TEST(StringyAllocationTest, FailedConstructionsLeakNothing) {
    Stringy const source(heapText.c_str());
    AllocationCounter const counter;
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
    EXPECT_EQ(0, counter.Held());
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
