// Tests the path functions that files/FileLocation.h declares outside of the class.
#include "files/FileLocation.h"

#include <strings.h>

#include "tests/files/FileTest.h"

namespace {

TEST(FileLocationPathsTest, AbsolutePathBeginsWithASlash) {
    EXPECT_TRUE(IsAbsolutePath("/") && IsAbsolutePath("/a"));
    EXPECT_FALSE(IsAbsolutePath("a/b") || IsAbsolutePath("") || IsAbsolutePath(nullptr));
}

TEST(FileLocationPathsTest, SplitsAWildcardOffTheLastComponent) {
    struct Case {
        char const* pattern;
        // The length of the pattern; -1 for no wildcard.
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
TEST(FileLocationPathsTest, ComparisonAgreesWithRepeatedCallsOfParent) {
    std::string const paths[] = {"/",      "//a",  "/a",     "/A",     "/a/b",  "/a//b",  "/a/b/c",
                                 "//a/b",  "/A/B", "/ab",    "/a/b.c", "/.",    "/..",    "/a/..",
                                 "/a/./b", "///a", "/b/a/b", "/\xE9",  "/\xC9", "/\xE9/x"};
    for (std::string const& ancestor : paths) {
        for (std::string const& candidate : paths) {
            bool expected = false;
            for (FileLocation step = At(candidate);; step = step.Parent()) {
                expected = expected || strcasecmp(At(ancestor).Text(), step.Text()) == 0;
                if (step.IsRoot())
                    break;
            }
            EXPECT_EQ(expected, EqualOrDescendant(At(ancestor), At(candidate)))
                << "ancestor " << ancestor << ", candidate " << candidate;
            bool const same = strcasecmp(At(ancestor).Text(), At(candidate).Text()) == 0;
            EXPECT_EQ(expected && !same, IsDescendant(At(ancestor), At(candidate)))
                << "ancestor " << ancestor << ", candidate " << candidate;
        }
    }
}

TEST(FileLocationPathsTest, ComparisonThrowsAtTheTopOfARelativePath) {
    EXPECT_TRUE(EqualOrDescendant(At("a"), At("a")));
    EXPECT_TRUE(EqualOrDescendant(At("a"), At("a/b")));
    EXPECT_EQ("InvalidFileLocation" + On("a"),
              Thrown([] { EqualOrDescendant(At("/x"), At("a/b/c")); }));
    EXPECT_EQ("InvalidFileLocation" + On("a"), Thrown([] { IsDescendant(At("/x"), At("a")); }));
}

// The comparison of a path of 200,000 components takes time linear in its length.
TEST(FileLocationPathsTest, ComparesADeepPathInLinearTime) {
    std::string path;
    for (int i = 0; i < 200'000; ++i)
        path += "/d";
    EXPECT_FALSE(EqualOrDescendant(At("/e"), At(path)));
    EXPECT_TRUE(EqualOrDescendant(At("/D"), At(path)));
}

// The date in the name, or the description of the exception.
std::string DateIn(std::string const& path) {
    unsigned int year = 1;
    unsigned int month = 2;
    unsigned int day = 3;
    std::string const thrown =
        Thrown([&] { GetDateFromNameInFileLocation(At(path), year, month, day); });
    return thrown != "nothing"
               ? thrown
               : std::to_string(year) + '-' + std::to_string(month) + '-' + std::to_string(day);
}

TEST(FileLocationPathsTest, DateIsReadFromNamesOfAtLeastNineBytes) {
    EXPECT_EQ("2024-1-31", DateIn("/logs/20240131x"));
    EXPECT_EQ("2024-1-31", DateIn("20240131.log"));
    for (char const* path : {"/logs/20240131", "/logs/x", ""})
        EXPECT_EQ("IllegalFileName", DateIn(path));
    EXPECT_EQ("IllegalFileNameLength", DateIn("/"));
    EXPECT_EQ("IllegalFileNameReserved", DateIn("/20240131x/.."));
    // Deliberate: the digits are not validated. 'a' counts as '0' + 49, ':' as '0' + 10, '.' as '0'
    // - 2.
    EXPECT_EQ("9999-99-99", DateIn("999999999"));
    EXPECT_EQ("0-13-45", DateIn("00001345x"));
    EXPECT_EQ(std::to_string(49 * 1111) + "-110-" + std::to_string(0u - 22), DateIn("aaaa::..x"));
    EXPECT_EQ("185000-0-0", DateIn("\xE9" + std::string("0000000x")));
}

} // namespace
