#include "files/FileLocation.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <type_traits>

#include <strings.h>

#include "files/FileErrors.h"
#include "tests/files/At.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ZeroBytes.h"

namespace {

TEST(FileLocationTest, HasTheLayoutOfThePlatformsLocationAndConvertsByCopying) {
    static_assert(sizeof(FileLocation) == sizeof(UnixPlatform::FileLocation));
    static_assert(std::is_convertible_v<UnixPlatform::FileLocation, FileLocation>);
    UnixPlatform::FileLocation const parent = At("/a/b").Parent();
    FileLocation const portable = parent;
    EXPECT_STREQ("/a", portable.Text());
    EXPECT_NE(parent.Text(), portable.Text());
}

TEST(FileLocationTest, MakersKeepTheTextLessItsTrailingSlashes) {
    EXPECT_STREQ("/a/b", MakeFileLocation("/a/b///").Text());
    EXPECT_STREQ("/", MakeFileLocation("///").Text());
    EXPECT_STREQ("a", MakeFileLocation("a").Text());
    EXPECT_TRUE(MakeFileLocation("").IsEmpty());
    EXPECT_TRUE(MakeFileLocation(static_cast<char const*>(nullptr)).IsEmpty());
    EXPECT_TRUE(MakeFileLocation(ConstData()).IsEmpty());
    EXPECT_STREQ("/a/b", MakeFileLocation(ConstData("/a/b/c", 5)).Text());
    EXPECT_STREQ("/a/b/c", MakeRelativeFileLocation(At("/a"), "b/c/").Text());
    EXPECT_THROW(MakeRelativeFileLocation(FileLocation(), "b"), EmptyFileLocationError);
}

// Cut to 32 bits, three bytes would be left.
TEST(FileLocationTest, TextBeyond32BitsIsRefusedAndNotCut) {
    ZeroBytes const zeros((std::size_t{1} << 32) + 3);
    if (zeros.WhyNot() != nullptr)
        GTEST_SKIP() << zeros.WhyNot();
    EXPECT_THROW(MakeFileLocation(zeros.Bytes()), std::length_error);
    EXPECT_THROW(MakeFileLocation(ConstData(zeros.Bytes().begin, std::size_t{1} << 32)),
                 std::length_error);
    EXPECT_THROW(FileLocation(At("/a"), zeros.Bytes()), IllegalFileNameLength);
}

TEST(FileLocationTest, ChildIsNamedByAValidatedName) {
    EXPECT_STREQ("/a/b", FileLocation(At("/a"), "b").Text());
    EXPECT_STREQ("/a/b", FileLocation(At("/a"), ConstData("b")).Text());
    EXPECT_STREQ("/a/b", FileLocation(At("/a"), FileName("b")).Text());
    EXPECT_STREQ("//x", FileLocation(At("/"), "x").Text());
    EXPECT_THROW(FileLocation(At("/a"), "b/c"), IllegalFileName);
    EXPECT_THROW(FileLocation(At("/a"), ConstData("b/c")), IllegalFileName);
    EXPECT_STREQ("/a/b/c", At("/a").Relative("b/c").Text());
    EXPECT_THROW(FileLocation(At("/a"), ".."), IllegalFileNameReserved);
    EXPECT_THROW(FileLocation(At("/a"), ""), IllegalFileNameLength);
    EXPECT_THROW(FileLocation(At("/a"), ConstData()), IllegalFileNameLength);
    EXPECT_THROW(FileLocation(At("/a"), std::string(256, 'n')), IllegalFileNameLength);
}

TEST(FileLocationTest, NullNameGivesACopyOfTheParent) {
    char const* const none = nullptr;
    EXPECT_STREQ("/a", FileLocation(At("/a"), none).Text());
    EXPECT_TRUE(FileLocation(FileLocation(), none).IsEmpty());
}

TEST(FileLocationTest, NothingStandsBelowTheEmptyLocation) {
    EXPECT_THROW(FileLocation(FileLocation(), "b"), EmptyFileLocationError);
    EXPECT_THROW(FileLocation(FileLocation(), FileName("b")), EmptyFileLocationError);
    EXPECT_THROW(FileLocation(FileLocation(), FileName()), EmptyFileLocationError);
    EXPECT_THROW(FileLocation().Child(FileName("b")), EmptyFileLocationError);
}

// A name that nobody validated is not validated here either.
TEST(FileLocationTest, FileNameIsTakenAsItIs) {
    EXPECT_STREQ("/a", FileLocation(At("/a"), FileName()).Text());
    FileName unchecked;
    unchecked.SafeSet("b/c", 3);
    EXPECT_STREQ("/a/b/c", FileLocation(At("/a"), unchecked).Text());
}

TEST(FileLocationTest, ChildAndSibling) {
    EXPECT_STREQ("/a/b", At("/a").Child(FileName("b")).Text());
    EXPECT_STREQ("//b", At("/a").Sibling(FileName("b")).Text());
    EXPECT_STREQ("/a/c", At("/a/b").Sibling(FileName("c")).Text());
    EXPECT_STREQ("/a/b", At("/a").Child(At("/x/b").Name()).Text());
    EXPECT_THROW(At("/").Sibling(FileName("b")), RootHasNoParent);
    EXPECT_THROW(At("a").Sibling(FileName("b")), InvalidFileLocation);
    EXPECT_THROW(FileLocation().Sibling(FileName("b")), EmptyFileLocationError);
}

TEST(FileLocationTest, RequireNonEmpty) {
    EXPECT_NO_THROW(At("a").RequireNonEmpty());
    try {
        FileLocation().RequireNonEmpty();
        ADD_FAILURE() << "nothing thrown";
    } catch (EmptyFileLocationError const& error) {
        EXPECT_EQ(0, error.GetCode());
        EXPECT_STREQ("File error \"22EmptyFileLocationError\"", error.what());
    }
}

TEST(FileLocationTest, ShortLocationsCostNoAllocation) {
    EXPECT_EQ(0u, AllocationsOf([] {
                  FileLocation const location = MakeFileLocation("/a/b");
                  FileLocation const child(location, "c");
                  location.Child(FileName("c"));
                  FileLocation copy = child.Parent();
                  copy = location.Sibling(FileName("d"));
                  EqualOrDescendant(location, child);
              }));
}

TEST(FileLocationTest, AbsolutePathBeginsWithASlash) {
    EXPECT_TRUE(IsAbsolutePath("/"));
    EXPECT_TRUE(IsAbsolutePath("/a"));
    EXPECT_FALSE(IsAbsolutePath("a/b"));
    EXPECT_FALSE(IsAbsolutePath(""));
    EXPECT_FALSE(IsAbsolutePath(nullptr));
}

TEST(FileLocationTest, WildcardInTheLastComponentIsSplitOff) {
    FileLocation location;
    char const* pattern = "/a/b/*.txt";
    EXPECT_EQ(pattern + 5, MakeFileLocationWithWildcard(pattern, location));
    EXPECT_STREQ("/a/b", location.Text());

    EXPECT_EQ(nullptr, MakeFileLocationWithWildcard("/a/b/c.txt", location));
    EXPECT_STREQ("/a/b/c.txt", location.Text());

    pattern = "*.txt";
    EXPECT_EQ(pattern, MakeFileLocationWithWildcard(pattern, location));
    EXPECT_TRUE(location.IsEmpty());

    EXPECT_EQ(nullptr, MakeFileLocationWithWildcard("/a*/b", location));
    EXPECT_STREQ("/a*/b", location.Text());

    pattern = "/?";
    EXPECT_EQ(pattern + 1, MakeFileLocationWithWildcard(pattern, location));
    EXPECT_STREQ("/", location.Text());

    EXPECT_EQ(nullptr, MakeFileLocationWithWildcard("/a/b/", location));
    EXPECT_STREQ("/a/b", location.Text());

    EXPECT_THROW(MakeFileLocationWithWildcard("", location), EmptyFileLocationError);
    EXPECT_THROW(MakeFileLocationWithWildcard(nullptr, location), EmptyFileLocationError);
    EXPECT_STREQ("/a/b", location.Text());
}

TEST(FileLocationTest, EqualOrDescendant) {
    EXPECT_TRUE(EqualOrDescendant(At("/a"), At("/a")));
    EXPECT_TRUE(EqualOrDescendant(At("/a"), At("/a/b/c")));
    EXPECT_TRUE(EqualOrDescendant(At("/"), At("/a/b")));
    EXPECT_TRUE(EqualOrDescendant(At("/"), At("/")));
    EXPECT_TRUE(EqualOrDescendant(At("a"), At("a/b")));
    EXPECT_FALSE(EqualOrDescendant(At("/a/b"), At("/a")));
    EXPECT_FALSE(EqualOrDescendant(At("/a"), At("/ab")));
    EXPECT_FALSE(EqualOrDescendant(At("/a/b"), At("/a/c/b")));
}

// Deliberate, though the file system tells them apart.
TEST(FileLocationTest, ComparisonIgnoresTheCaseOfAsciiLetters) {
    EXPECT_TRUE(EqualOrDescendant(At("/Tmp"), At("/tmp/x")));
    EXPECT_TRUE(EqualOrDescendant(At("/tmp"), At("/TMP")));
    EXPECT_FALSE(IsDescendant(At("/tmp"), At("/TMP")));
    EXPECT_TRUE(IsDescendant(At("/tmp"), At("/TMP/x")));
    EXPECT_FALSE(EqualOrDescendant(At("/\xE9"), At("/\xC9")));
}

TEST(FileLocationTest, ComparisonNormalisesNothing) {
    EXPECT_FALSE(EqualOrDescendant(At("/a"), At("//a")));
    EXPECT_FALSE(EqualOrDescendant(At("//a"), At("/a")));
    EXPECT_FALSE(EqualOrDescendant(At("/b"), At("/a/../b")));
    EXPECT_TRUE(EqualOrDescendant(At("/a"), At("/a//b")));
    EXPECT_TRUE(EqualOrDescendant(At("/"), At("//x")));
}

TEST(FileLocationTest, ComparisonRefusesEmptyLocations) {
    EXPECT_THROW(EqualOrDescendant(FileLocation(), At("/a")), EmptyFileLocationError);
    EXPECT_THROW(EqualOrDescendant(At("/a"), FileLocation()), EmptyFileLocationError);
    EXPECT_THROW(EqualOrDescendant(FileLocation(), FileLocation()), EmptyFileLocationError);
    EXPECT_THROW(IsDescendant(FileLocation(), At("/a")), EmptyFileLocationError);
    EXPECT_THROW(IsDescendant(At("/a"), FileLocation()), EmptyFileLocationError);
    EXPECT_THROW(IsDescendant(FileLocation(), FileLocation()), EmptyFileLocationError);
}

TEST(FileLocationTest, RelativeCandidateEndsWithoutAParent) {
    EXPECT_TRUE(EqualOrDescendant(At("a"), At("a")));
    try {
        EqualOrDescendant(At("/x"), At("a/b/c"));
        ADD_FAILURE() << "nothing thrown";
    } catch (InvalidFileLocation const& error) {
        EXPECT_STREQ("File error \"19InvalidFileLocation\" on \"a\"", error.what());
    }
    EXPECT_THROW(IsDescendant(At("/x"), At("a")), InvalidFileLocation);
}

TEST(FileLocationTest, IsDescendantWantsAStep) {
    EXPECT_FALSE(IsDescendant(At("/a"), At("/a")));
    EXPECT_TRUE(IsDescendant(At("/a"), At("/a/b")));
    EXPECT_TRUE(IsDescendant(At("/"), At("/a")));
    EXPECT_FALSE(IsDescendant(At("/"), At("/")));
    EXPECT_FALSE(IsDescendant(At("/a/b"), At("/a")));
}

TEST(FileLocationTest, ComparisonAgreesWithClimbingByParent) {
    std::string const paths[] = {"/",      "//a",   "/a",     "/A",   "/a/b",   "/a//b",
                                 "/a/b/c", "//a/b", "/A/B",   "/ab",  "/a/b.c", "/.",
                                 "/..",    "/a/..", "/a/./b", "///a", "/b/a/b"};
    for (std::string const& ancestor : paths) {
        for (std::string const& candidate : paths) {
            bool expected = false;
            for (FileLocation step = At(candidate);; step = step.Parent()) {
                expected = expected || strcasecmp(At(ancestor).Text(), step.Text()) == 0;
                if (step.IsRoot())
                    break;
            }
            EXPECT_EQ(expected, EqualOrDescendant(At(ancestor), At(candidate)))
                << ancestor << " and " << candidate;
            bool const same = strcasecmp(At(ancestor).Text(), At(candidate).Text()) == 0;
            EXPECT_EQ(expected && !same, IsDescendant(At(ancestor), At(candidate)))
                << ancestor << " and " << candidate;
        }
    }
}

// Climbing 200,000 steps is no more work than reading the path once.
TEST(FileLocationTest, DeepPathIsClimbedAtOnce) {
    std::string path;
    for (int i = 0; i < 200'000; ++i)
        path += "/d";
    EXPECT_FALSE(EqualOrDescendant(At("/e"), At(path)));
    EXPECT_TRUE(EqualOrDescendant(At("/D"), At(path)));
}

struct Date {
    unsigned int year = 1;
    unsigned int month = 2;
    unsigned int day = 3;
};

Date DateIn(std::string const& path) {
    Date date;
    GetDateFromNameInFileLocation(At(path), date.year, date.month, date.day);
    return date;
}

void ExpectDate(unsigned int year, unsigned int month, unsigned int day, std::string const& path) {
    Date const date = DateIn(path);
    EXPECT_EQ(year, date.year);
    EXPECT_EQ(month, date.month);
    EXPECT_EQ(day, date.day);
}

TEST(FileLocationTest, DateInAName) {
    ExpectDate(2024, 1, 31, "/logs/20240131x");
    ExpectDate(2024, 1, 31, "20240131.log");
    ExpectDate(9999, 99, 99, "999999999");
}

TEST(FileLocationTest, NameWithADateHasAtLeastNineBytes) {
    EXPECT_THROW(DateIn("/logs/20240131"), IllegalFileName);
    EXPECT_THROW(DateIn("/logs/x"), IllegalFileName);
    EXPECT_THROW(DateIn(""), IllegalFileName);
    EXPECT_THROW(DateIn("/"), IllegalFileNameLength);
    EXPECT_THROW(DateIn("/20240131x/.."), IllegalFileNameReserved);
}

// Deliberate: whatever stands there is weighted as if it were digits.
TEST(FileLocationTest, DateIsNotTestedToBeOne) {
    // 'a' is '0' + 49, ':' is '0' + 10, '.' is '0' - 2.
    ExpectDate(49 * 1111, 10 * 11, 0u - 2 * 11, "aaaa::..x");
    ExpectDate(0, 13, 45, "00001345x");
    // 0xE9 is '0' + 185.
    ExpectDate(185 * 1000, 0, 0,
               "\xE9"
               "0000000x");
}

} // namespace
