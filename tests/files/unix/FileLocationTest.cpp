#include "files/unix/FileLocation.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "tests/files/Texts.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ZeroBytes.h"

namespace {

using Location = UnixPlatform::FileLocation;

Location At(std::string const& path) {
    Location location;
    location.SetFullPathName(path.data(), static_cast<unsigned int>(path.size()));
    return location;
}

std::string Joined(std::string const& parent, std::string const& name) {
    Location location;
    location.Set(At(parent), name);
    return location.Text();
}

// The rules once more, on strings.
std::string Trimmed(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

// Nothing where there is no parent.
std::optional<std::string> ParentByTheRule(std::string const& path) {
    for (std::size_t i = path.size(); i-- > 0;) {
        if (path[i] == '/') {
            if (path == "/")
                return std::nullopt;
            return i == 0 ? "/" : Trimmed(path.substr(0, i));
        }
    }
    return std::nullopt;
}

std::string JoinedByTheRule(std::string const& parent, std::string name) {
    if (name.empty())
        return parent;
    std::string const separator = name[0] == '/' ? "" : "/";
    while (!name.empty() && name.back() == '/')
        name.pop_back();
    return parent + separator + name;
}

TEST(UnixFileLocationTest, IsEmptyByDefault) {
    Location const location;
    EXPECT_TRUE(location.IsEmpty());
    EXPECT_STREQ("", location.Text());
    EXPECT_EQ(0u, location.StoredLength());
    EXPECT_EQ(0u, location.Bytes().Length());
}

TEST(UnixFileLocationTest, TrailingSlashesAreDroppedWhileMoreThanOneByteRemains) {
    EXPECT_STREQ("a", At("a/").Text());
    EXPECT_STREQ("/", At("//").Text());
    EXPECT_STREQ("/", At("/").Text());
    EXPECT_STREQ("/", At("///").Text());
    EXPECT_STREQ("/a/b", At("/a/b///").Text());
    EXPECT_STREQ("x", At("x").Text());
    EXPECT_TRUE(At("").IsEmpty());
    EXPECT_EQ(4u, At("/a/b///").StoredLength());
}

TEST(UnixFileLocationTest, PathIsNotNormalised) {
    for (char const* path : {"//a", "/a//b", "/a/./b", "/a/../b", "..", ".", "a/..", "\\a", "c:"})
        EXPECT_STREQ(path, At(path).Text());
}

TEST(UnixFileLocationTest, NullIsTheEmptyPath) {
    Location location = At("/a");
    location.SetFullPathName(nullptr, 0);
    EXPECT_TRUE(location.IsEmpty());
}

TEST(UnixFileLocationTest, PathEndsAtItsFirstNul) {
    Location const location = At(Bytes("/a\0/b"));
    EXPECT_STREQ("/a", location.Text());
    EXPECT_EQ(2u, location.Bytes().Length());
    EXPECT_EQ(5u, location.StoredLength());
    EXPECT_EQ(2u, Location(location).StoredLength());
    EXPECT_STREQ("/", location.Parent().Text());
    EXPECT_TRUE(At(Bytes("\0/b")).IsEmpty());
}

// Deliberate: not even a shorter length does anything.
TEST(UnixFileLocationTest, OwnTextFromItsStartIsLeftAsItIs) {
    for (std::string const& path : {std::string("/a/b"), "/a/" + std::string(200, 'b')}) {
        Location location = At(path);
        location.SetFullPathName(location.Text(), 2);
        EXPECT_EQ(path, location.Text());
        EXPECT_EQ(path.size(), location.StoredLength());
    }
}

TEST(UnixFileLocationTest, LocationCanBeSetFromAPartOfItself) {
    for (std::size_t length : {20, 127, 128, 300}) {
        std::string path;
        while (path.size() < length)
            path.push_back(static_cast<char>('a' + path.size() % 26));
        for (std::size_t start = 1; start < length; ++start) {
            Location location = At(path);
            location.SetFullPathName(location.Text() + start,
                                     static_cast<unsigned int>(length - start));
            ASSERT_EQ(path.substr(start), location.Text()) << length << ' ' << start;
        }
    }
}

TEST(UnixFileLocationTest, SetTakesPartsOfTheLocationItself) {
    for (std::size_t length : {10, 60, 63, 64, 127, 128, 300}) {
        std::string const path = '/' + std::string(length - 1, 'p');
        Location location = At(path);
        location.Set(location, location.Bytes());
        EXPECT_EQ(path + path, location.Text());
        location.Set(At("/q"), ConstData(location.Text() + 1));
        EXPECT_EQ("/q/" + (path + path).substr(1), location.Text());
        location.Set(location, ConstData());
        EXPECT_EQ("/q/" + (path + path).substr(1), location.Text());
    }
}

TEST(UnixFileLocationTest, CopiesAreReal) {
    for (std::size_t length : {1, 127, 128, 1'000}) {
        std::string const path(length, 'p');
        Location original = At(path);
        Location const copy(original);
        Location assigned = At("other");
        assigned = original;
        original.SetFullPathName("changed", 7);
        EXPECT_EQ(path, copy.Text());
        EXPECT_EQ(path, assigned.Text());
        Location const& self = assigned;
        assigned = self;
        EXPECT_EQ(path, assigned.Text());
    }
}

TEST(UnixFileLocationTest, LocationGrowsAndShrinksBetweenItsOwnBytesAndABlock) {
    std::mt19937 random(2);
    Location location;
    for (int round = 0; round < 2'000; ++round) {
        std::string const path = RandomBytes(random, random() % 260, "ab");
        location.SetFullPathName(path.data(), static_cast<unsigned int>(path.size()));
        ASSERT_EQ(path, location.Text()) << "round " << round;
    }
}

TEST(UnixFileLocationTest, PathOfUpTo127BytesCostsNoAllocation) {
    std::string const path = '/' + std::string(124, 'p') + "/x";
    ASSERT_EQ(127u, path.size());
    EXPECT_EQ(0u, AllocationsOf([&] {
                  Location const location = At(path);
                  Location copy(location);
                  copy = location.Parent();
                  copy = copy.Relative("x");
                  location.Name();
                  location.IsRoot();
              }));
}

TEST(UnixFileLocationTest, LongerPathHasOneBlockOfItsLengthAndANul) {
    for (std::size_t length : {128, 300, 5'000}) {
        std::string const path(length, 'p');
        AllocationCounter const counter;
        Location const location = At(path);
        EXPECT_EQ(1u, counter.Count());
        EXPECT_EQ(length + 1, counter.Bytes());
    }
}

TEST(UnixFileLocationTest, SetJoinsWithASlash) {
    EXPECT_EQ("/a/b", Joined("/a", "b"));
    EXPECT_EQ("a/b", Joined("a", "b"));
    EXPECT_EQ("/a/b/c", Joined("/a", "b/c"));
    EXPECT_EQ("/a/b", Joined("/a", "b//"));
    EXPECT_EQ("/a", Joined("/a", ""));
    EXPECT_EQ("/a/..", Joined("/a", ".."));
}

// Deliberate: nobody looks at the end of the parent.
TEST(UnixFileLocationTest, ChildOfTheRootHasADoubledSlash) {
    Location child;
    child.Set(At("/"), ConstData("x"));
    EXPECT_STREQ("//x", child.Text());
    EXPECT_STREQ("/", child.Parent().Text());
    EXPECT_STREQ("x", child.Name().Text());
}

// Deliberate: the length counts a slash that was not written, until a copy measures the text.
TEST(UnixFileLocationTest, NameWithALeadingSlashLeavesTheStoredLengthOneAboveTheText) {
    for (std::size_t length : {1, 100, 123, 124, 125, 126, 127, 128, 255}) {
        std::string const name = '/' + std::string(length, 'n');
        Location location;
        location.Set(At("/a"), name);
        EXPECT_EQ("/a" + name, location.Text());
        EXPECT_EQ(2 + name.size(), location.Bytes().Length());
        EXPECT_EQ(2 + name.size() + 1, location.StoredLength());
        EXPECT_EQ(2 + name.size(), Location(location).StoredLength());
        EXPECT_EQ("/a" + name, Location(location).Text());

        Location below;
        below.Set(location, ConstData("b"));
        EXPECT_EQ("/a" + name + "/b", below.Text());
        EXPECT_EQ("/a" + name, below.Parent().Text());
        EXPECT_STREQ("/a", location.Parent().Text());
        EXPECT_EQ(name.substr(1), location.Name().Text());
        EXPECT_EQ("/a" + name, location.Relative("").Text());
    }
}

TEST(UnixFileLocationTest, NameOfSlashesGivesTheParent) {
    for (char const* name : {"/", "//", "///"}) {
        EXPECT_EQ("/a", Joined("/a", name));
        EXPECT_EQ("/", Joined("/", name));
    }
}

TEST(UnixFileLocationTest, NothingStandsBelowTheEmptyLocation) {
    Location location = At("/before");
    EXPECT_THROW(location.Set(Location(), ConstData("a")), EmptyFileLocationError);
    EXPECT_THROW(location.Set(Location(), ConstData()), EmptyFileLocationError);
    EXPECT_THROW(Location().Relative("a"), EmptyFileLocationError);
    EXPECT_STREQ("/before", location.Text());
}

TEST(UnixFileLocationTest, RelativeTakesSeveralComponentsAndTestsNone) {
    EXPECT_STREQ("/a/b/c", At("/a").Relative("b/c").Text());
    EXPECT_STREQ("/a/../b", At("/a").Relative("../b").Text());
    EXPECT_STREQ("/a/b", At("/a").Relative("/b").Text());
    EXPECT_STREQ("/a//b", At("/a").Relative("//b").Text());
    EXPECT_STREQ("/a", At("/a").Relative("").Text());
}

TEST(UnixFileLocationTest, JoinsByTheRule) {
    std::vector<std::string> const texts = AllTexts("/a.", 4);
    for (std::string const& parent : texts) {
        if (parent.empty())
            continue;
        for (std::string const& name : texts) {
            std::string const expected = JoinedByTheRule(Trimmed(parent), name);
            ASSERT_EQ(expected, Joined(parent, name)) << parent << " and " << name;
        }
    }
}

TEST(UnixFileLocationTest, Parent) {
    EXPECT_STREQ("/", At("/a").Parent().Text());
    EXPECT_STREQ("/a", At("/a/b").Parent().Text());
    EXPECT_STREQ("a", At("a/b").Parent().Text());
    EXPECT_STREQ("/a", At("/a///b").Parent().Text());
    EXPECT_STREQ("/", At("///a").Parent().Text());
    EXPECT_STREQ("/a", At("/a/..").Parent().Text());
}

TEST(UnixFileLocationTest, LocationWithoutAParentNamesItself) {
    EXPECT_THROW(Location().Parent(), EmptyFileLocationError);
    try {
        At("/").Parent();
        ADD_FAILURE() << "nothing thrown";
    } catch (RootHasNoParent const& error) {
        EXPECT_STREQ("File error \"15RootHasNoParent\" on \"/\"", error.what());
    }
    try {
        At("a").Parent();
        ADD_FAILURE() << "nothing thrown";
    } catch (InvalidFileLocation const& error) {
        EXPECT_STREQ("File error \"19InvalidFileLocation\" on \"a\"", error.what());
    }
}

TEST(UnixFileLocationTest, ParentAndNameByTheRule) {
    for (std::string const& text : AllTexts("/a.", 7)) {
        if (text.empty())
            continue;
        std::string const path = Trimmed(text);
        Location const location = At(text);
        ASSERT_EQ(path, location.Text());
        ASSERT_EQ(path == "/", location.IsRoot());
        std::optional<std::string> const expected = ParentByTheRule(path);
        if (expected) {
            ASSERT_EQ(*expected, location.Parent().Text()) << path;
            ASSERT_EQ(*expected, MakeString(UnixPlatform::ParentPath(location.Bytes()))) << path;
        } else {
            ASSERT_THROW(location.Parent(), FileIOError) << path;
        }
        std::string const name = path.substr(path.rfind('/') + 1);
        if (name.empty())
            ASSERT_THROW(location.Name(), IllegalFileNameLength) << path;
        else if (name == "." || name == "..")
            ASSERT_THROW(location.Name(), IllegalFileNameReserved) << path;
        else
            ASSERT_EQ(name, location.Name().Text()) << path;
    }
}

TEST(UnixFileLocationTest, Name) {
    EXPECT_STREQ("b", At("/a/b").Name().Text());
    EXPECT_STREQ("a", At("a").Name().Text());
    EXPECT_TRUE(Location().Name().IsEmpty());
    EXPECT_THROW(At("/").Name(), IllegalFileNameLength);
    EXPECT_THROW(At("/a/..").Name(), IllegalFileNameReserved);
    EXPECT_THROW(At('/' + std::string(256, 'n')).Name(), IllegalFileNameLength);
    EXPECT_EQ(std::string(255, 'n'), At('/' + std::string(255, 'n')).Name().Text());
}

TEST(UnixFileLocationTest, OnlyTheSingleSlashIsTheRoot) {
    EXPECT_TRUE(At("/").IsRoot());
    EXPECT_TRUE(At("//").IsRoot()) << "since it is kept as one";
    EXPECT_FALSE(At("/a").IsRoot());
    EXPECT_FALSE(At(".").IsRoot());
    EXPECT_THROW(Location().IsRoot(), EmptyFileLocationError);
}

TEST(UnixFileLocationTest, ParentPathIsAPartOfThePath) {
    ConstData const path("/a//b");
    ConstData const parent = UnixPlatform::ParentPath(path);
    EXPECT_EQ(path.begin, parent.begin);
    EXPECT_EQ(2u, parent.Length());
    EXPECT_THROW(UnixPlatform::ParentPath(ConstData()), EmptyFileLocationError);
    EXPECT_THROW(UnixPlatform::ParentPath("/"), RootHasNoParent);
    EXPECT_THROW(UnixPlatform::ParentPath("a"), InvalidFileLocation);
}

TEST(UnixFileLocationTest, FailedAllocationLeavesTheLocationAsItWas) {
    Location location = At("/before");
    std::string const path(200, 'p');
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        try {
            location.Set(location, path);
        } catch (std::bad_alloc const&) {
            EXPECT_STREQ("/before", location.Text());
        }
    });
    EXPECT_EQ(1u, failures);
    EXPECT_EQ("/before/" + path, location.Text());
}

constexpr std::size_t fourGiB = std::size_t{1} << 32;

TEST(UnixFileLocationTest, PathBeyond32BitsIsRefusedAndNotCut) {
    ZeroBytes const zeros(fourGiB + 3);
    if (zeros.WhyNot() != nullptr)
        GTEST_SKIP() << zeros.WhyNot();
    Location location = At("/before");
    EXPECT_THROW(location.Set(At("/parent"), zeros.Bytes()), std::length_error);
    // With the parent's two bytes and the slash it is one too long.
    EXPECT_THROW(location.Set(At("/p"), ConstData(zeros.Bytes().begin, fourGiB - 3)),
                 std::length_error);
    EXPECT_STREQ("/before", location.Text());
}

// The block of the longest path is asked for, with its NUL, and refused: nobody needs the memory.
TEST(UnixFileLocationTest, LongestPathIsMeasuredIn64Bits) {
    ZeroBytes const zeros(fourGiB);
    if (zeros.WhyNot() != nullptr)
        GTEST_SKIP() << zeros.WhyNot();
    Location location = At("/before");
    {
        AllocationCounter const counter;
        FailingAllocation const failing(1);
        EXPECT_THROW(location.Set(At("/p"), ConstData(zeros.Bytes().begin, fourGiB - 4)),
                     std::bad_alloc);
        EXPECT_EQ(fourGiB, counter.Bytes());
    }
    AllocationCounter const counter;
    FailingAllocation const failing(1);
    EXPECT_THROW(
        location.SetFullPathName(reinterpret_cast<char const*>(zeros.Bytes().begin), 0xFFFFFFFF),
        std::bad_alloc);
    EXPECT_EQ(fourGiB, counter.Bytes());
    EXPECT_STREQ("/before", location.Text());
}

// What the split yields: the directory part, "|", the wildcard component, or "-" for none.
std::string Split(char const* pattern) {
    ConstData directory("not touched");
    char const* const wildcard = MakeFileLocationWithWildcardUnix(pattern, directory);
    if (wildcard != nullptr &&
        (wildcard < pattern || wildcard > pattern + std::string(pattern).size()))
        return "outside";
    return MakeString(directory) + '|' + (wildcard == nullptr ? "-" : wildcard);
}

TEST(UnixFileLocationTest, SplitsInFrontOfAWildcardInTheLastComponent) {
    EXPECT_EQ("/a/b/|*.txt", Split("/a/b/*.txt"));
    EXPECT_EQ("/a/b/|c?", Split("/a/b/c?"));
    EXPECT_EQ("/|*", Split("/*"));
    EXPECT_EQ("|*.txt", Split("*.txt"));
    EXPECT_EQ("|?", Split("?"));
    EXPECT_EQ("/a/b/c.txt|-", Split("/a/b/c.txt"));
    EXPECT_EQ("/a*/b|-", Split("/a*/b"));
    EXPECT_EQ("/a/*/|-", Split("/a/*/"));
    EXPECT_EQ("/|-", Split("/"));
    EXPECT_EQ("//|*", Split("//*"));
    ConstData directory;
    EXPECT_THROW(MakeFileLocationWithWildcardUnix(nullptr, directory), EmptyFileLocationError);
    EXPECT_THROW(MakeFileLocationWithWildcardUnix("", directory), EmptyFileLocationError);
}

TEST(UnixFileLocationTest, WildcardOfAPlatformLocation) {
    Location location = At("/before");
    char const* const pattern = "/a/b/*.txt";
    EXPECT_EQ(pattern + 5, UnixPlatform::MakeFileLocationWithWildcard(pattern, location));
    EXPECT_STREQ("/a/b", location.Text());
    EXPECT_THROW(UnixPlatform::MakeFileLocationWithWildcard("", location), EmptyFileLocationError);
    EXPECT_STREQ("/a/b", location.Text());
}

} // namespace
