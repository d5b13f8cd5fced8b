#include "files/FileLocation.h"

#include <new>
#include <stdexcept>

#include "tests/files/FileTest.h"
#include "tests/support/ZeroBytes.h"

namespace {

using Location = UnixPlatform::FileLocation;

FileLocation const nowhere;
constexpr std::size_t fourGiB = std::size_t{1} << 32;

// Returns the platform-level location of a text.
Location Full(std::string const& path) {
    Location location;
    location.SetFullPathName(path.data(), static_cast<unsigned int>(path.size()));
    return location;
}

Location Joined(Location const& parent, std::string const& name) {
    Location location;
    location.Set(parent, name);
    return location;
}

TEST(FileLocationTest, DefaultIsEmptyAndRejectsPathOperations) {
    EXPECT_TRUE(nowhere.IsEmpty());
    EXPECT_STREQ("", nowhere.Text());
    EXPECT_EQ(0u, nowhere.StoredLength());
    EXPECT_EQ(0u, nowhere.Bytes().Length());
    EXPECT_TRUE(nowhere.Name().IsEmpty());
    ExpectEachThrows(
        "EmptyFileLocationError",
        {[] { nowhere.RequireNonEmpty(); }, [] { nowhere.IsRoot(); }, [] { nowhere.Parent(); },
         [] { nowhere.Relative("a"); }, [] { nowhere.Child(FileName("b")); },
         [] { nowhere.Sibling(FileName("b")); }, [] { FileLocation(nowhere, "b"); },
         [] { FileLocation(nowhere, FileName("b")); }, [] { FileLocation(nowhere, FileName()); },
         [] { Joined(nowhere, ""); }, [] { MakeRelativeFileLocation(nowhere, "b"); },
         [] { UnixPlatform::ParentPath(ConstData()); }, [] { EqualOrDescendant(nowhere, nowhere); },
         [] { EqualOrDescendant(nowhere, At("/a")); }, [] { EqualOrDescendant(At("/a"), nowhere); },
         [] { IsDescendant(nowhere, At("/a")); }, [] { IsDescendant(At("/a"), nowhere); },
         [] {
             IsDescendant(nowhere, nowhere);
         }});
    EXPECT_NO_THROW(At("a").RequireNonEmpty());
}

TEST(FileLocationTest, BothLevelsShareOneLayoutAndConvertByCopying) {
    static_assert(sizeof(FileLocation) == sizeof(Location));
    static_assert(std::is_convertible_v<Location, FileLocation>);
    Location const parent = At("/a/b").Parent();
    FileLocation const portable = parent;
    EXPECT_STREQ("/a", portable.Text());
    EXPECT_NE(parent.Text(), portable.Text());
}

TEST(FileLocationTest, FactoriesDropTrailingSlashes) {
    EXPECT_STREQ("/a/b", MakeFileLocation("/a/b///").Text());
    EXPECT_EQ(4u, MakeFileLocation("/a/b///").StoredLength());
    EXPECT_STREQ("/", MakeFileLocation("///").Text());
    EXPECT_TRUE(MakeFileLocation("").IsEmpty());
    EXPECT_TRUE(MakeFileLocation(static_cast<char const*>(nullptr)).IsEmpty());
    EXPECT_TRUE(MakeFileLocation(ConstData()).IsEmpty());
    EXPECT_STREQ("/a/b", MakeFileLocation(ConstData("/a/b/c", 5)).Text());
    EXPECT_STREQ("/a/b/c", MakeRelativeFileLocation(At("/a"), "b/c/").Text());
    Location location = Full("/a");
    location.SetFullPathName(nullptr, 0);
    EXPECT_TRUE(location.IsEmpty());
}

TEST(FileLocationTest, ParentPathIsAViewOfThePath) {
    for (auto const& [text, parent] : Pairs{{"/a//b", "/a"}, {"/a", "/"}, {"//", "/"}}) {
        ConstData const path(text);
        EXPECT_EQ(path.begin, UnixPlatform::ParentPath(path).begin);
        EXPECT_EQ(ConstData(parent), UnixPlatform::ParentPath(path)) << text;
    }
    EXPECT_EQ("RootHasNoParent" + On("/"), Thrown([] { UnixPlatform::ParentPath("/"); }));
    EXPECT_EQ("InvalidFileLocation" + On("a"), Thrown([] { UnixPlatform::ParentPath("a"); }));
}

TEST(FileLocationTest, NameHasUpTo255Bytes) {
    EXPECT_THROW(Full('/' + std::string(256, 'n')).Name(), IllegalFileNameLength);
    EXPECT_EQ(std::string(255, 'n'), Full('/' + std::string(255, 'n')).Name().Text());
}

TEST(FileLocationTest, FailedJoinKeepsTheLocation) {
    Location location = Full("/before");
    EXPECT_THROW(location.Set(nowhere, ConstData("a")), EmptyFileLocationError);
    EXPECT_STREQ("/before", location.Text());
    // Deliberate: a slash is inserted even if the parent ends with one.
    EXPECT_STREQ("//x", Joined(Full("/"), "x").Text());
    EXPECT_STREQ("//x", FileLocation(At("/"), "x").Text());
}

TEST(FileLocationTest, ChildValidatesItsName) {
    EXPECT_STREQ("/a/b", FileLocation(At("/a"), "b").Text());
    EXPECT_STREQ("/a/b", FileLocation(At("/a"), ConstData("b")).Text());
    EXPECT_STREQ("/a/b", FileLocation(At("/a"), FileName("b")).Text());
    EXPECT_THROW(FileLocation(At("/a"), std::string("b/c")), IllegalFileName);
    EXPECT_THROW(FileLocation(At("/a"), ConstData()), IllegalFileNameLength);
    char const* const none = nullptr;
    EXPECT_STREQ("/a", FileLocation(At("/a"), none).Text()) << "a null name returns the parent";
    EXPECT_TRUE(FileLocation(nowhere, none).IsEmpty());
    // A FileName is not validated again.
    EXPECT_STREQ("/a", FileLocation(At("/a"), FileName()).Text());
    FileName unchecked;
    unchecked.SafeSet("b/c", 3);
    EXPECT_STREQ("/a/b/c", FileLocation(At("/a"), unchecked).Text());
}

TEST(FileLocationTest, EndsAtTheFirstNul) {
    Location const location = Full(Bytes("/a\0/b"));
    EXPECT_STREQ("/a", location.Text());
    EXPECT_EQ(2u, location.Bytes().Length());
    EXPECT_EQ(5u, location.StoredLength());
    EXPECT_EQ(2u, Location(location).StoredLength());
    EXPECT_STREQ("/", location.Parent().Text());
    EXPECT_TRUE(Full(Bytes("\0/b")).IsEmpty());
}

// Deliberate: the length includes a slash that is not written. A copy has the length of its text.
TEST(FileLocationTest, NameWithALeadingSlashStoresALengthOneTooLong) {
    for (std::size_t length : {1, 100, 123, 124, 125, 126, 127, 128, 255}) {
        std::string const name = '/' + std::string(length, 'n');
        Location const location = Joined(Full("/a"), name);
        EXPECT_EQ("/a" + name, location.Text());
        EXPECT_EQ(2 + name.size(), location.Bytes().Length());
        EXPECT_EQ(2 + name.size() + 1, location.StoredLength());
        EXPECT_EQ(2 + name.size(), Location(location).StoredLength());
        EXPECT_EQ("/a" + name + "/b", Text(Joined(location, "b")));
        EXPECT_EQ("/a" + name, Text(Joined(location, "b").Parent()));
        EXPECT_EQ("/a" + name, Text(location.Relative("")));
    }
}

// Deliberate: a shorter length has no effect either.
TEST(FileLocationTest, SetFromTheStartOfItsOwnTextHasNoEffect) {
    for (std::string const& path : {std::string("/a/b"), "/a/" + std::string(200, 'b')}) {
        Location location = Full(path);
        location.SetFullPathName(location.Text(), 2);
        EXPECT_EQ(path, location.Text());
        EXPECT_EQ(path.size(), location.StoredLength());
    }
}

TEST(FileLocationTest, CanBeSetFromAPartOfItself) {
    for (std::size_t length : {10, 60, 63, 64, 127, 128, 300}) {
        std::string const path = '/' + std::string(length - 1, 'p');
        Location location = Full(path);
        location.Set(location, location.Bytes());
        EXPECT_EQ(path + path, location.Text());
        location.Set(Full("/q"), ConstData(location.Text() + 1));
        EXPECT_EQ("/q/" + (path + path).substr(1), location.Text());
        location.Set(location, ConstData());
        EXPECT_EQ("/q/" + (path + path).substr(1), location.Text());
    }
}

TEST(FileLocationTest, CopiesShareNoBytes) {
    for (std::size_t length : {1, 127, 128, 1'000}) {
        std::string const path(length, 'p');
        Location original = Full(path);
        Location const copy(original);
        Location assigned = Full("other");
        assigned = original;
        original.SetFullPathName("changed", 7);
        EXPECT_EQ(path, copy.Text());
        Location const& self = assigned;
        assigned = self;
        EXPECT_EQ(path, assigned.Text());
    }
}

TEST(FileLocationTest, AllocatesOneBlockForPathsFrom128Bytes) {
    std::string const longestInside = '/' + std::string(124, 'p') + "/x";
    EXPECT_EQ(0u, AllocationsOf([&] {
                  FileLocation const location = Full(longestInside);
                  FileLocation copy(location);
                  copy = location.Parent();
                  copy = copy.Relative("x");
                  copy = location.Sibling(FileName("d"));
                  location.Name();
                  location.IsRoot();
                  FileLocation const child(At("/a/b"), "c");
                  EqualOrDescendant(At("/a/b").Child(FileName("c")), child);
              }));
    for (std::size_t length : {128, 300, 5'000}) {
        std::string const path(length, 'p');
        AllocationCounter const counter;
        Location const location = Full(path);
        EXPECT_EQ(1u, counter.Count());
        EXPECT_EQ(length + 1, counter.Bytes());
    }
}

TEST(FileLocationTest, FailedAllocationLeavesTheLocationAsItWas) {
    Location location = Full("/before");
    std::string const path(200, 'p');
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        if (Thrown([&] { location.Set(location, path); }) != "nothing") {
            EXPECT_STREQ("/before", location.Text());
        }
    });
    EXPECT_EQ(1u, failures);
    EXPECT_EQ("/before/" + path, location.Text());
}

// Truncated to 32 bits, the length would be 3.
TEST(FileLocationTest, RejectsTextsBeyond32Bits) {
    ZeroBytes const zeros(fourGiB + 3);
    if (zeros.WhyNot() != nullptr)
        GTEST_SKIP() << zeros.WhyNot();
    auto const first = [&](std::size_t count) {
        return ConstData(zeros.Bytes().begin, count);
    };
    EXPECT_THROW(MakeFileLocation(zeros.Bytes()), std::length_error);
    EXPECT_THROW(MakeFileLocation(first(fourGiB)), std::length_error);
    EXPECT_THROW(FileLocation(At("/a"), zeros.Bytes()), IllegalFileNameLength);
    Location location = Full("/before");
    EXPECT_THROW(location.Set(Full("/parent"), zeros.Bytes()), std::length_error);
    // With the two bytes of the parent and the slash, the length exceeds the limit by one.
    EXPECT_THROW(location.Set(Full("/p"), first(fourGiB - 3)), std::length_error);
    EXPECT_STREQ("/before", location.Text());
}

// The allocation of the longest path and its NUL is attempted, and fails.
TEST(FileLocationTest, ComputesTheLengthOfTheLongestPathIn64Bits) {
    ZeroBytes const zeros(fourGiB);
    if (zeros.WhyNot() != nullptr)
        GTEST_SKIP() << zeros.WhyNot();
    Location location = Full("/before");
    char const* const text = reinterpret_cast<char const*>(zeros.Bytes().begin);
    for (auto const& set :
         Operations{[&] { location.Set(Full("/p"), ConstData(text, fourGiB - 4)); },
                    [&] {
                        location.SetFullPathName(text, 0xFFFFFFFF);
                    }}) {
        AllocationCounter const counter;
        FailingAllocation const failing(1);
        EXPECT_THROW(set(), std::bad_alloc);
        EXPECT_EQ(fourGiB, counter.Bytes());
    }
    EXPECT_STREQ("/before", location.Text());
}

// The functions that are declared outside of the class.

TEST(FileLocationPathsTest, NullPathIsNotAbsolute) { EXPECT_FALSE(IsAbsolutePath(nullptr)); }

TEST(FileLocationPathsTest, SplitsAWildcardOffTheLastComponent) {
    struct Case {
        char const* pattern;
        // The offset of the last component if it has a wildcard, otherwise -1.
        int wildcard;
        char const* directory;
        char const* location;
    };
    for (Case const& split : std::vector<Case>{{"/a/b/*.txt", 5, "/a/b/", "/a/b"},
                                               {"/a/b/c?", 5, "/a/b/", "/a/b"},
                                               {"/*", 1, "/", "/"},
                                               {"//*", 2, "//", "/"},
                                               {"*.txt", 0, "", ""},
                                               {"?", 0, "", ""},
                                               {"/a/b/c.txt", -1, "/a/b/c.txt", "/a/b/c.txt"},
                                               {"/a*/b", -1, "/a*/b", "/a*/b"},
                                               {"/a/*/", -1, "/a/*/", "/a/*"},
                                               {"/", -1, "/", "/"}}) {
        SCOPED_TRACE(split.pattern);
        char const* const wildcard = split.wildcard < 0 ? nullptr : split.pattern + split.wildcard;
        ConstData part("not touched");
        EXPECT_EQ(wildcard, MakeFileLocationWithWildcardUnix(split.pattern, part));
        EXPECT_EQ(ConstData(split.directory), part);
        FileLocation location = At("/before");
        EXPECT_EQ(wildcard, MakeFileLocationWithWildcard(split.pattern, location));
        EXPECT_STREQ(split.location, location.Text());
        UnixPlatform::FileLocation platform = At("/before");
        EXPECT_EQ(wildcard, UnixPlatform::MakeFileLocationWithWildcard(split.pattern, platform));
        EXPECT_STREQ(split.location, platform.Text());
    }
    for (char const* const empty : {static_cast<char const*>(nullptr), ""}) {
        ConstData part;
        FileLocation location = At("/before");
        UnixPlatform::FileLocation& platform = location;
        EXPECT_THROW(MakeFileLocationWithWildcardUnix(empty, part), EmptyFileLocationError);
        EXPECT_THROW(MakeFileLocationWithWildcard(empty, location), EmptyFileLocationError);
        EXPECT_THROW(UnixPlatform::MakeFileLocationWithWildcard(empty, platform),
                     EmptyFileLocationError);
        EXPECT_STREQ("/before", location.Text());
    }
}

// Deliberate: the comparison is case-insensitive, although the file system is not, and paths are
// not normalized.
TEST(FileLocationPathsTest, ComparesPathsCaseInsensitivelyAsWritten) {
    for (auto const& [ancestor, path, expected] :
         std::vector<std::tuple<char const*, char const*, std::string>>{
             {"/a", "/a/b", "below"},
             {"/A", "/a/B/c", "below"},
             {"/", "/a", "below"},
             {"/", "/", "equal"},
             {"/A/b", "/a/B", "equal"},
             {"/a", "/ab", "no"},
             {"/a/b", "/a", "no"},
             {"/a", "//a", "no"},
             {"/a/b", "/a/./b", "no"},
             {"/a", "/b/../a", "no"},
             {"/a", "/a/../b", "below"},
             {"/\xC9", "/\xE9/x", "no"},
             {"a", "A/b", "below"},
             {"/x", "a/b/c", "InvalidFileLocation" + On("a")}}) {
        SCOPED_TRACE(std::string(ancestor) + ' ' + path);
        FileLocation const above = At(ancestor);
        FileLocation const below = At(path);
        std::string found;
        std::string const thrown = Thrown([&] {
            found = IsDescendant(above, below)        ? "below"
                    : EqualOrDescendant(above, below) ? "equal"
                                                      : "no";
        });
        EXPECT_EQ(expected, thrown == "nothing" ? found : thrown);
        if (expected == "below") {
            EXPECT_TRUE(EqualOrDescendant(above, below));
        }
    }
}

TEST(FileLocationPathsTest, ComparesADeepPathInLinearTime) {
    std::string path;
    for (int i = 0; i < 200'000; ++i)
        path += "/d";
    EXPECT_FALSE(EqualOrDescendant(At("/e"), At(path)));
    EXPECT_TRUE(EqualOrDescendant(At("/D"), At(path)));
}

// Deliberate: the digits are not validated. The value of '.' is '.' - '0', that is, -2.
TEST(FileLocationPathsTest, DateIsReadFromNamesOfAtLeastNineBytes) {
    unsigned int year = 1;
    unsigned int month = 2;
    unsigned int day = 3;
    EXPECT_THROW(GetDateFromNameInFileLocation(At("/logs/20240131"), year, month, day),
                 IllegalFileName);
    GetDateFromNameInFileLocation(At("/logs/202413..x"), year, month, day);
    EXPECT_EQ(std::tuple(2024u, 13u, 0u - 22), std::tuple(year, month, day));
}

} // namespace
