#include "files/unix/TemporaryLocations.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileTrees.h"
#include "tests/files/EmptyTmp.h"
#include "tests/files/Entries.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

// What directory and prefix stay below together.
constexpr std::size_t limit = 4088;

UnixPlatform::FileLocation At(std::string const& path) { return MakeFileLocation(ConstData(path)); }

// A directory below `parent` whose path has exactly so many bytes.
std::string DirectoryOfLength(std::string const& parent, std::size_t length) {
    std::string path = parent;
    while (path.size() + 200 < length)
        path += '/' + std::string(149, 'd');
    path += '/' + std::string(length - path.size() - 1, 'd');
    CreateDirectoryTree(MakeFileLocation(ConstData(path)));
    return path;
}

TEST(UnixTemporaryLocationsTest, DirectoryIsTheSameWhateverTheEnvironmentSays) {
    WithEmptyTmp([] {
        for (char const* name : {"TMPDIR", "TMP", "TEMP", "TEMPDIR", "HOME"})
            setenv(name, "/opt", 1);
        EXPECT_EQ("/tmp"_bytes, UnixPlatform::TemporaryFileDirLocation().Bytes());
    });
}

TEST(UnixTemporaryLocationsTest, FirstCallAloneLooksAtTheDirectory) {
    WithEmptyTmp([] {
        SystemCalls calls;
        UnixPlatform::TemporaryFileDirLocation();
        EXPECT_THAT(calls.Log(), ElementsAre("lstat /tmp"));
        UnixPlatform::TemporaryFileDirLocation();
        EXPECT_THAT(calls.Log(), ElementsAre("lstat /tmp"));
    });
}

TEST(UnixTemporaryLocationsTest, FirstCallCreatesTheDirectoryAndIsRepeatedIfThatFails) {
    WithEmptyTmp([] {
        SystemCalls calls;
        // The search for what is missing asks for "/tmp" and "/", the creation for "/tmp" again.
        calls.Fail("lstat", ENOENT);
        calls.Fail("lstat", ENOENT, 1);
        calls.Fail("mkdir", EROFS);
        EXPECT_THROW(UnixPlatform::TemporaryFileDirLocation(), FileIOError);
        EXPECT_EQ(1u, calls.Count("mkdir /tmp 777"));
        EXPECT_EQ("/tmp"_bytes, UnixPlatform::TemporaryFileDirLocation().Bytes());
    });
}

TEST(UnixTemporaryLocationsTest, SessionDirectoryHasTheUserBehindADot) {
    WithEmptyTmp([] {
        using UnixPlatform::UISessionDefaultDirectory;
        EXPECT_EQ("/tmp/Veska/ClientUI/.u"_bytes, UISessionDefaultDirectory("u").Bytes());
        EXPECT_EQ("/tmp/Veska/ClientUI"_bytes, UISessionDefaultDirectory("").Bytes());
        EXPECT_TRUE(fs::is_empty("/tmp"));
    });
}

TEST(UnixTemporaryLocationsTest, UserOfTheSessionIsNotValidated) {
    WithEmptyTmp([] {
        using UnixPlatform::UISessionDefaultDirectory;
        EXPECT_EQ("/tmp/Veska/ClientUI/./../x"_bytes, UISessionDefaultDirectory("/../x/").Bytes());
        std::string const nulInside("a\0b", 3);
        EXPECT_EQ("/tmp/Veska/ClientUI/.a"_bytes, UISessionDefaultDirectory(nulInside).Bytes());
        std::string const longUser(5000, 'u');
        EXPECT_EQ(ConstData("/tmp/Veska/ClientUI/." + longUser),
                  UISessionDefaultDirectory(longUser).Bytes());
    });
}

TEST(UnixTemporaryLocationsTest, FileIsCreatedByTheSystemAndClosedAtOnce) {
    TemporaryDirectory const directory;
    SystemCalls calls;
    auto const made = UnixPlatform::CreateUniqueFileLocation(At(directory.path()), "pre");
    EXPECT_THAT(calls.Log(), ElementsAre("mkstemp " + directory / "preXXXXXX", "close"));
    EXPECT_THAT(made.Text(), MatchesRegex(directory / "pre[0-9A-Za-z]{6}"));
    EXPECT_EQ("file ", DescribeEntry(made.Text()));
    EXPECT_EQ(0600u, ModeOf(made.Text()));
    EXPECT_THAT(DescriptorsOn(made.Text()), IsEmpty());
}

TEST(UnixTemporaryLocationsTest, DirectoryIsCreatedByTheSystem) {
    TemporaryDirectory const directory;
    SystemCalls calls;
    auto const made = UnixPlatform::CreateUniqueDirLocation(At(directory.path()), "pre");
    EXPECT_THAT(calls.Log(), ElementsAre("mkdtemp " + directory / "preXXXXXX"));
    EXPECT_THAT(made.Text(), MatchesRegex(directory / "pre[0-9A-Za-z]{6}"));
    EXPECT_EQ("directory", DescribeEntry(made.Text()));
    EXPECT_TRUE(fs::is_empty(made.Text()));
    EXPECT_EQ(0700u, ModeOf(made.Text()));
}

TEST(UnixTemporaryLocationsTest, NoPrefixGivesSixCharactersAlone) {
    TemporaryDirectory const directory;
    for (char const* prefix : {static_cast<char const*>(nullptr), ""}) {
        auto const file = UnixPlatform::CreateUniqueFileLocation(At(directory.path()), prefix);
        EXPECT_THAT(file.Text(), MatchesRegex(directory / "[0-9A-Za-z]{6}"));
        auto const made = UnixPlatform::CreateUniqueDirLocation(At(directory.path()), prefix);
        EXPECT_THAT(made.Text(), MatchesRegex(directory / "[0-9A-Za-z]{6}"));
    }
}

// Deliberate.
TEST(UnixTemporaryLocationsTest, PrefixMayHoldDirectories) {
    TemporaryDirectory const directory;
    fs::create_directory(directory / "below");
    auto const made = UnixPlatform::CreateUniqueFileLocation(At(directory.path()), "below/x");
    EXPECT_THAT(made.Text(), MatchesRegex(directory / "below/x[0-9A-Za-z]{6}"));
}

// Deliberate.
TEST(UnixTemporaryLocationsTest, EmptyDirectoryMeansTheRoot) {
    SystemCalls calls;
    calls.Fail("mkstemp", EACCES);
    EXPECT_THROW(UnixPlatform::CreateUniqueFileLocation({}, "x"), CreateUniqueFileLocationFailed);
    EXPECT_THAT(calls.Log(), ElementsAre("mkstemp /xXXXXXX"));
}

TEST(UnixTemporaryLocationsTest, CodeOfAFailureTellsTheKindWhateverTheSystemSaid) {
    for (int error : {ENOENT, EACCES, EEXIST, ENOSPC, EMFILE, ENOTDIR, EINVAL}) {
        SystemCalls calls;
        calls.Fail("mkstemp", error);
        calls.Fail("mkdtemp", error);
        ExpectFileError<CreateUniqueFileLocationFailed>(
            0, "", [] { UnixPlatform::CreateUniqueFileLocation(At("/tmp"), "x"); });
        ExpectFileError<CreateUniqueFileLocationFailed>(
            1, "", [] { UnixPlatform::CreateUniqueDirLocation(At("/tmp"), "x"); });
    }
}

TEST(UnixTemporaryLocationsTest, MissingDirectoryIsNotCreated) {
    TemporaryDirectory const directory;
    ExpectFileError<CreateUniqueFileLocationFailed>(
        0, "", [&] { UnixPlatform::CreateUniqueFileLocation(At(directory / "missing"), "x"); });
    ExpectFileError<CreateUniqueFileLocationFailed>(
        1, "", [&] { UnixPlatform::CreateUniqueDirLocation(At(directory / "missing"), "x"); });
    EXPECT_TRUE(fs::is_empty(directory.path()));
}

TEST(UnixTemporaryLocationsTest, LongestDirectoryIsServed) {
    TemporaryDirectory const directory;
    std::string const deep = DirectoryOfLength(directory.path(), limit - 1);
    auto const file = UnixPlatform::CreateUniqueFileLocation(At(deep), nullptr);
    EXPECT_EQ(limit - 1 + 7, file.Bytes().Length());
    EXPECT_TRUE(fs::is_regular_file(file.Text()));
    auto const made = UnixPlatform::CreateUniqueDirLocation(At(deep), nullptr);
    EXPECT_TRUE(fs::is_directory(made.Text()));

    ExpectFileError<CreateUniqueFileLocationFailed>(
        0, "", [&] { UnixPlatform::CreateUniqueFileLocation(At(deep), "x"); });
    ExpectFileError<CreateUniqueFileLocationFailed>(
        1, "", [&] { UnixPlatform::CreateUniqueDirLocation(At(deep), "x"); });
    auto const shorter = UnixPlatform::CreateUniqueFileLocation(At(deep).Parent(), "xyz");
    EXPECT_TRUE(fs::is_regular_file(shorter.Text()));
}

// At each length the system is asked with the whole text, or not at all: nothing is ever cut.
TEST(UnixTemporaryLocationsTest, BeyondTheLimitTheSystemIsNotAsked) {
    std::string wrong;
    for (std::size_t prefixLength : {0, 1, 7, 100, 4000, 4087, 4088, 4089, 5000, 70'000})
        for (std::size_t total = std::max<std::size_t>(prefixLength, 4070); total < 4110; ++total) {
            std::string const directory(total - prefixLength, 'd');
            std::string const prefix(prefixLength, 'p');
            SystemCalls calls;
            calls.Fail("mkstemp", ENOENT);
            calls.Fail("mkdtemp", ENOENT);
            for (int kind : {0, 1})
                ExpectFileError<CreateUniqueFileLocationFailed>(kind, "", [&] {
                    kind == 0
                        ? UnixPlatform::CreateUniqueFileLocation(At(directory), prefix.c_str())
                        : UnixPlatform::CreateUniqueDirLocation(At(directory), prefix.c_str());
                });
            std::string const pattern = directory + '/' + prefix + "XXXXXX";
            std::vector<std::string> expected = {"mkstemp " + pattern, "mkdtemp " + pattern};
            if (total >= limit)
                expected.clear();
            if (calls.Log() != expected)
                wrong += std::to_string(total) + '-' + std::to_string(prefixLength) + ' ';
        }
    EXPECT_EQ("", wrong);
}

TEST(UnixTemporaryLocationsTest, TextsFarBeyondTheLimitAreRefused) {
    std::string const far(1'000'000, 'd');
    SystemCalls calls;
    ExpectFileError<CreateUniqueFileLocationFailed>(
        0, "", [&] { UnixPlatform::CreateUniqueFileLocation(At(far), far.c_str()); });
    ExpectFileError<CreateUniqueFileLocationFailed>(
        1, "", [&] { UnixPlatform::CreateUniqueDirLocation(At(far), nullptr); });
    ExpectFileError<CreateUniqueFileLocationFailed>(
        1, "", [&] { UnixPlatform::CreateUniqueDirLocation(At("/"), far.c_str()); });
    EXPECT_THAT(calls.Log(), IsEmpty());
}

} // namespace
