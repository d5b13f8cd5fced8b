#include "files/unix/FileStats.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "tests/files/Files.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;

bool IsAllZero(struct stat const& record) {
    auto const* const bytes = reinterpret_cast<unsigned char const*>(&record);
    return std::all_of(bytes, bytes + sizeof(record), [](unsigned char byte) { return byte == 0; });
}

bool AreEqual(struct stat const& left, struct stat const& right) {
    return memcmp(&left, &right, sizeof(left)) == 0;
}

class FileStatsTest : public testing::Test {
protected:
    FileStatsTest() { WriteWholeFile(directory / "file", "hello"); }

    int Get(std::string const& name) { return stats.get((directory / name).c_str()); }

    TemporaryDirectory directory;
    FileStats stats;
};

TEST_F(FileStatsTest, HasNothingThereAtFirst) {
    EXPECT_EQ(stats.State(), StatsNothingThere);
    EXPECT_TRUE(IsAllZero(stats.Target()));
    EXPECT_TRUE(IsAllZero(stats.Link()));
}

TEST_F(FileStatsTest, StatesHaveTheirNumbers) {
    EXPECT_EQ(StatsValid, 0);
    EXPECT_EQ(StatsValidThroughLink, 1);
    EXPECT_EQ(StatsBrokenLink, 2);
    EXPECT_EQ(StatsNothingThere, 3);
    EXPECT_GE(sizeof(FileStats), sizeof(int) + 2 * sizeof(struct stat));
}

TEST_F(FileStatsTest, AFileIsValidWithOneCall) {
    SystemCalls calls;
    EXPECT_EQ(Get("file"), 0);
    EXPECT_THAT(calls.Log(), ElementsAre("lstat " + directory / "file"));
    EXPECT_EQ(stats.State(), StatsValid);
    EXPECT_TRUE(AreEqual(stats.Target(), stats.Link()));
    EXPECT_EQ(stats.Target().st_size, 5);
    EXPECT_TRUE(stats.IsRegularFile());
    EXPECT_FALSE(stats.IsDirectory());
}

TEST_F(FileStatsTest, ADirectoryIsValid) {
    EXPECT_EQ(Get("."), 0);
    EXPECT_EQ(stats.State(), StatsValid);
    EXPECT_TRUE(stats.IsDirectory());
    EXPECT_FALSE(stats.IsRegularFile());
}

TEST_F(FileStatsTest, ALinkCountsAsWhatItPointsAt) {
    fs::create_symlink("file", directory / "link");
    EXPECT_EQ(Get("link"), 0);
    EXPECT_EQ(stats.State(), StatsValidThroughLink);
    EXPECT_TRUE(stats.IsRegularFile());
    EXPECT_EQ(stats.Target().st_size, 5);
    EXPECT_TRUE(S_ISLNK(stats.Link().st_mode));
    EXPECT_EQ(stats.Link().st_size, 4) << "the length of the link's text";

    fs::create_symlink(".", directory / "here");
    EXPECT_EQ(Get("here"), 0);
    EXPECT_EQ(stats.State(), StatsValidThroughLink);
    EXPECT_TRUE(stats.IsDirectory());

    fs::create_symlink("link", directory / "linkToLink");
    EXPECT_EQ(Get("linkToLink"), 0);
    EXPECT_EQ(stats.State(), StatsValidThroughLink);
    EXPECT_TRUE(stats.IsRegularFile());
}

TEST_F(FileStatsTest, ALinkToAMissingFileIsBrokenWithTheErrorOfItsTarget) {
    fs::create_symlink("missing", directory / "link");
    EXPECT_EQ(Get("file"), 0); // What was there before must go.
    EXPECT_EQ(Get("link"), ENOENT);
    EXPECT_EQ(stats.State(), StatsBrokenLink);
    EXPECT_TRUE(IsAllZero(stats.Target()));
    EXPECT_TRUE(S_ISLNK(stats.Link().st_mode));
    EXPECT_FALSE(stats.IsDirectory());
    EXPECT_FALSE(stats.IsRegularFile());
}

TEST_F(FileStatsTest, LinksInARingAndThroughAFileAreBroken) {
    fs::create_symlink("ring", directory / "ring");
    EXPECT_EQ(Get("ring"), ELOOP);
    EXPECT_EQ(stats.State(), StatsBrokenLink);
    fs::create_symlink("file/below", directory / "through");
    EXPECT_EQ(Get("through"), ENOTDIR);
    EXPECT_EQ(stats.State(), StatsBrokenLink);
}

TEST_F(FileStatsTest, WhatCannotBeExaminedIsNotThere) {
    struct Case {
        char const* name;
        int error;
    };
    for (Case const& one : {Case{"missing", ENOENT}, Case{"file/below", ENOTDIR}}) {
        EXPECT_EQ(Get("file"), 0);
        EXPECT_EQ(Get(one.name), one.error);
        EXPECT_EQ(stats.State(), StatsNothingThere);
        EXPECT_TRUE(IsAllZero(stats.Target()));
        EXPECT_TRUE(IsAllZero(stats.Link()));
    }
    EXPECT_EQ(stats.get(""), ENOENT);
    EXPECT_EQ(Get(std::string(256, 'x')), ENAMETOOLONG);
}

TEST_F(FileStatsTest, WhatIsOutOfReachIsNotThere) {
    PrivateMachine::Run([&] {
        fs::create_directory(directory / "closed");
        WriteWholeFile(directory / "closed/file", "");
        fs::create_symlink("closed/file", directory / "link");
        fs::permissions(directory / "closed", fs::perms(0));
        fs::permissions(directory.path(), fs::perms(0755));
        PrivateMachine::DropPrivileges();
        EXPECT_EQ(Get("closed/file"), EACCES);
        EXPECT_EQ(stats.State(), StatsNothingThere);
        EXPECT_EQ(Get("link"), EACCES);
        EXPECT_EQ(stats.State(), StatsBrokenLink);
        EXPECT_EQ(Get("closed"), 0);
        EXPECT_TRUE(stats.IsDirectory());
    });
}

TEST_F(FileStatsTest, OtherKindsAreNeitherFileNorDirectory) {
    ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(Get("pipe"), 0);
    EXPECT_FALSE(stats.IsDirectory() || stats.IsRegularFile());
    EXPECT_EQ(stats.get("/dev/null"), 0);
    EXPECT_FALSE(stats.IsDirectory() || stats.IsRegularFile());
    EXPECT_EQ(stats.State(), StatsValid);
}

} // namespace
