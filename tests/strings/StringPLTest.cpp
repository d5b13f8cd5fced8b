#include "strings/StringPL.h"

#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "data/DebuggableException.h"

namespace {

static_assert(!std::is_polymorphic_v<StringPL>);
static_assert(std::is_nothrow_move_constructible_v<StringPL>, "a growing vector moves it");
static_assert(std::is_base_of_v<std::exception, StringPLOutOfBoundsException>);
static_assert(!std::is_base_of_v<DebuggableException, StringPLOutOfBoundsException>);
static_assert(sizeof(StringPLOutOfBoundsException) == sizeof(std::exception));

void ExpectText(std::string const& expected, StringPL const& string) {
    EXPECT_EQ(expected, string.AsChar());
    EXPECT_EQ(static_cast<int>(expected.size()), string.GetLength());
    EXPECT_EQ(expected.empty(), string.IsEmpty());
}

void ExpectText(std::string const& expected, unsigned int capacity, StringPL const& string) {
    ExpectText(expected, string);
    EXPECT_EQ(capacity, string.GetBufferLength());
}

// All bytes of a string, by its length.
std::string Bytes(StringPL const& string) {
    return std::string(string.AsChar(), static_cast<std::size_t>(string.GetLength()));
}

TEST(StringPLTest, ExceptionNamesItself) {
    EXPECT_STREQ("StringPLOutOfBoundsException", StringPLOutOfBoundsException().what());
    try {
        StringPL().GetAt(0);
        FAIL() << "read behind the end";
    } catch (std::exception const& caught) {
        EXPECT_STREQ("StringPLOutOfBoundsException", caught.what());
    }
}

TEST(StringPLTest, HandlerOfDebuggableExceptionLetsTheExceptionPass) {
    bool passed = false;
    try {
        StringPL().GetAt(0);
    } catch (DebuggableException const&) {
        FAIL() << "stopped by the wrong root";
    } catch (std::exception const&) {
        passed = true;
    }
    EXPECT_TRUE(passed);
}

TEST(StringPLTest, DefaultIsEmpty) { ExpectText("", 1, StringPL()); }

TEST(StringPLTest, AllEmptyStringsOfAConstructorShareTheirCharacters) {
    char const* const shared = StringPL().AsChar();
    StringPL const fromNull(static_cast<char const*>(nullptr));
    StringPL const fromText("");
    StringPL const fromNullAndCount(nullptr, 5);
    StringPL const fromCount("abc", 0);
    StringPL const copy(fromText);
    for (StringPL const* empty : {&fromNull, &fromText, &fromNullAndCount, &fromCount, &copy}) {
        ExpectText("", 1, *empty);
        EXPECT_EQ(shared, empty->AsChar());
    }
}

TEST(StringPLTest, TextIsCopiedIntoExactlyWhatItNeeds) {
    char source[] = "hello";
    StringPL const string(source);
    source[0] = 'j';
    ExpectText("hello", 6, string);
    EXPECT_NE(static_cast<char const*>(source), string.AsChar());
}

TEST(StringPLTest, CountCutsTheText) {
    ExpectText("hel", 4, StringPL("hello", 3));
    ExpectText("hello", 6, StringPL("hello", 5));
}

TEST(StringPLTest, CountBeyondTheTextFillsWithNulsAndKeepsTheCountAsLength) {
    StringPL const string("ab", 5);
    EXPECT_EQ(5, string.GetLength());
    EXPECT_EQ(6u, string.GetBufferLength());
    EXPECT_EQ(std::string("ab\0\0\0", 5), Bytes(string));
}

TEST(StringPLTest, NulAmongCountedBytesEndsTheTextButNotTheLength) {
    StringPL const string("ab\0cd", 5);
    EXPECT_EQ(5, string.GetLength());
    EXPECT_STREQ("ab", string.AsChar());
    EXPECT_EQ(std::string("ab\0\0\0", 5), Bytes(string));
}

TEST(StringPLTest, CopyKeepsTheLengthAndTheTextUpToItsFirstNul) {
    StringPL source("ab\0", 3);
    source += "cd";
    EXPECT_EQ(std::string("ab\0cd", 5), Bytes(source));
    StringPL const copy(source);
    EXPECT_EQ(5, copy.GetLength());
    EXPECT_EQ(6u, copy.GetBufferLength());
    EXPECT_EQ(std::string("ab\0\0\0", 5), Bytes(copy));
}

TEST(StringPLTest, AssignmentEndsAtTheFirstNulOfItsSource) {
    StringPL const source("ab\0cd", 5);
    StringPL target("old");
    target = source;
    ExpectText("ab", 3, target);
}

TEST(StringPLTest, CopyTakesItsLengthNotItsCapacity) {
    StringPL source("abc");
    source += "d";
    ExpectText("abcd", 8, source);
    StringPL const copy(source);
    ExpectText("abcd", 5, copy);
    EXPECT_NE(source.AsChar(), copy.AsChar());
}

TEST(StringPLTest, AMovedStringKeepsItsBlockAndLeavesAnEmptyOne) {
    StringPL source("abc");
    source += "d";
    char const* const block = source.AsChar();
    StringPL target(std::move(source));
    EXPECT_EQ(block, target.AsChar());
    ExpectText("abcd", 8, target);
    ExpectText("", 1, source);
    EXPECT_EQ(StringPL().AsChar(), source.AsChar());
    source += "x";
    ExpectText("x", 2, source);
    ExpectText("abcd", 8, target);
    StringPL empty;
    ExpectText("", 1, StringPL(std::move(empty)));
}

// Deliberate: the capacity of an assigned string is exact, wherever the text comes from.
TEST(StringPLTest, AssignmentCopiesAlsoFromAStringThatIsAboutToGo) {
    StringPL source("abc");
    source += "d";
    StringPL target("old");
    target = std::move(source);
    ExpectText("abcd", 5, target);
    ExpectText("abcd", 8, source);
    target = StringPL("abc") + "d";
    ExpectText("abcd", 5, target);
}

TEST(StringPLTest, CapacityOverTheLimitIsRefused) {
    // The header has to fit in 32 bits too, so the limit is 4,294,967,287.
    EXPECT_THROW(StringPL("x", 0xFFFFFFFF), StringPLOutOfBoundsException);
    EXPECT_THROW(StringPL("x", 0xFFFFFFFE), StringPLOutOfBoundsException);
    EXPECT_THROW(StringPL("x", 0xFFFFFFF7), StringPLOutOfBoundsException);
    StringPL string("abc");
    EXPECT_THROW(string.Append("x", 0xFFFFFFFF), StringPLOutOfBoundsException);
    // Room for these would do, but the capacity only ever doubles.
    EXPECT_THROW(string.Append("x", 0x80000000), StringPLOutOfBoundsException);
    ExpectText("abc", 4, string);
}

TEST(StringPLTest, AssigningATextReplacesTheBlockByAnExactOne) {
    StringPL string("a long text that goes away");
    string = "new";
    ExpectText("new", 4, string);
    string = "";
    ExpectText("", 1, string);
    EXPECT_EQ(StringPL().AsChar(), string.AsChar());
}

TEST(StringPLTest, AssigningNullEmptiesTheString) {
    StringPL string("abc");
    string = static_cast<char const*>(nullptr);
    ExpectText("", 1, string);
    string = static_cast<char const*>(nullptr);
    ExpectText("", 1, string);
}

TEST(StringPLTest, AssigningItsOwnCharactersDoesNothing) {
    StringPL string("abc");
    string += "d";
    char const* const before = string.AsChar();
    string = string.AsChar();
    EXPECT_EQ(before, string.AsChar());
    ExpectText("abcd", 8, string);
    StringPL const& itself = string;
    string = itself;
    EXPECT_EQ(before, string.AsChar());
    ExpectText("abcd", 8, string);
}

TEST(StringPLTest, APartOfItsOwnTextCanBeAssigned) {
    StringPL string("hello world");
    string = string.AsChar() + 6;
    ExpectText("world", 6, string);
}

TEST(StringPLTest, AssigningAStringCopiesIt) {
    StringPL source("source");
    StringPL target("something longer");
    target = source;
    source.MakeEmpty();
    ExpectText("source", 7, target);
}

TEST(StringPLTest, AssignmentsCanBeChained) {
    StringPL a, b;
    a = b = "x";
    ExpectText("x", 2, a);
    ExpectText("x", 2, b);
}

TEST(StringPLTest, ConvertsToItsCharactersForNothing) {
    StringPL const string("abc");
    char const* const text = string;
    EXPECT_EQ(string.AsChar(), text);
}

TEST(StringPLTest, MakeEmptyKeepsTheBlock) {
    StringPL string("hello");
    char const* const before = string.AsChar();
    string.MakeEmpty();
    ExpectText("", 6, string);
    EXPECT_EQ(before, string.AsChar());
    string += "12345";
    ExpectText("12345", 6, string);
    EXPECT_EQ(before, string.AsChar());
}

TEST(StringPLTest, MakeEmptyOfAnEmptyStringIsHarmless) {
    StringPL string;
    string.MakeEmpty();
    ExpectText("", 1, string);
    ExpectText("", 1, StringPL());
}

TEST(StringPLTest, SetStringLengthChangesNothingButTheNumber) {
    StringPL string("hello");
    string.SetStringLength(3);
    EXPECT_EQ(3, string.GetLength());
    EXPECT_STREQ("hello", string.AsChar()); // Deliberate: no NUL is written.
    string.SetStringLength(0);
    EXPECT_TRUE(string.IsEmpty());
    EXPECT_STREQ("hello", string.AsChar());
    string.SetStringLength(5);
    ExpectText("hello", 6, string);
}

TEST(StringPLTest, SetStringLengthOfAnEmptyStringToNothingIsHarmless) {
    StringPL string;
    string.SetStringLength(0);
    ExpectText("", 1, StringPL());
}

TEST(StringPLTest, MakeEmptySetsRightALengthThatWasOverwritten) {
    // All empty strings are one block, so each of them shows the number until it is set right.
    StringPL string;
    string.SetStringLength(3);
    EXPECT_EQ(3, string.GetLength());
    string.MakeEmpty();
    ExpectText("", 1, string);
    ExpectText("", 1, StringPL());
}

TEST(StringPLTest, AppendingGoesOnAtTheStoredLength) {
    StringPL string("hello");
    string.SetStringLength(3);
    string += "";
    EXPECT_STREQ("hel", string.AsChar());
    string.SetStringLength(2);
    string += "x";
    ExpectText("hex", 6, string);
}

TEST(StringPLTest, GetAtReadsWithinTheLengthOnly) {
    StringPL const string("abc");
    EXPECT_EQ('a', string.GetAt(0));
    EXPECT_EQ('c', string.GetAt(2));
    EXPECT_THROW(string.GetAt(3), StringPLOutOfBoundsException); // Deliberate: not the NUL.
    EXPECT_THROW(string.GetAt(4), StringPLOutOfBoundsException);
    EXPECT_THROW(string.GetAt(-1), StringPLOutOfBoundsException);
    EXPECT_THROW(string.GetAt(-2147483647 - 1), StringPLOutOfBoundsException);
    EXPECT_THROW(StringPL().GetAt(0), StringPLOutOfBoundsException);
    EXPECT_EQ('\0', StringPL("a", 2).GetAt(1));
}

} // namespace
