// Tests the path functions that files/FileLocation.h declares outside of the class.
#include "files/FileLocation.h"

#include "tests/files/FileTest.h"

namespace {

TEST(FileLocationPathsTest, NullPathIsNotAbsolute) { EXPECT_FALSE(IsAbsolutePath(nullptr)); }

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

// The comparison of a path of 200,000 components takes time linear in its length.
TEST(FileLocationPathsTest, ComparesADeepPathInLinearTime) {
    std::string path;
    for (int i = 0; i < 200'000; ++i)
        path += "/d";
    EXPECT_FALSE(EqualOrDescendant(At("/e"), At(path)));
    EXPECT_TRUE(EqualOrDescendant(At("/D"), At(path)));
}

// Deliberate: the digits are not validated. '.' counts as '0' - 2.
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
