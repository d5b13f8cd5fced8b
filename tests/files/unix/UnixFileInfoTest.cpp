#include "files/unix/UnixFileInfo.h"

#include <cerrno>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/time.h>

#include "files/FileLocation.h"
#include "tests/files/Files.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using UnixPlatform::UnixFileInfo;

class UnixFileInfoTest : public testing::Test {
protected:
    UnixFileInfoTest() {
        WriteWholeFile(name, "hello");
        SetTimes(1'000'000'000, 1'600'000'001);
    }

    void SetTimes(long access, long modification) {
        timeval const times[2] = {{access, 123'456}, {modification, 654'321}};
        ASSERT_EQ(utimes(name.c_str(), times), 0);
    }

    TemporaryDirectory directory;
    std::string const name = directory / "file";
    FileLocation const file = MakeFileLocation(name.c_str());
    FileLocation const missing = MakeFileLocation((directory / "missing").c_str());
};

TEST_F(UnixFileInfoTest, SetYieldsTheErrorNumber) {
    UnixFileInfo info;
    EXPECT_EQ(info.Set(file), 0);
    EXPECT_TRUE(info.IsRegularFile());
    EXPECT_EQ(info.Set(missing), ENOENT);
    EXPECT_TRUE(info.IsNothingThere());
    EXPECT_EQ(info.Set(FileLocation()), ENOENT);
    EXPECT_TRUE(UnixFileInfo(missing).IsNothingThere());
}

TEST_F(UnixFileInfoTest, TimesAreWholeSecondsInMicroseconds) {
    UnixFileInfo const info(file);
    EXPECT_EQ(info.AccessTime(), Instant(1'000'000'000'000'000));
    EXPECT_EQ(info.ModificationTime(), Instant(1'600'000'001'000'000));
}

TEST_F(UnixFileInfoTest, TimesBeforeTheEpochAreNegative) {
    SetTimes(-5, -1'000);
    UnixFileInfo const info(file);
    EXPECT_EQ(info.AccessTime(), Instant(-5'000'000));
    EXPECT_EQ(info.ModificationTime(), Instant(-1'000'000'000));
}

TEST_F(UnixFileInfoTest, TimesOfALinkAreThoseOfItsTarget) {
    std::filesystem::create_symlink("file", directory / "link");
    UnixFileInfo const info(MakeFileLocation((directory / "link").c_str()));
    EXPECT_EQ(info.ModificationTime(), Instant(1'600'000'001'000'000));
}

TEST_F(UnixFileInfoTest, TimesOfNothingAreTheEpoch) {
    EXPECT_EQ(UnixFileInfo().AccessTime(), Instant(0));
    EXPECT_EQ(UnixFileInfo(missing).ModificationTime(), Instant(0));
}

TEST_F(UnixFileInfoTest, SettingTheTimeChangesTheObjectOnly) {
    UnixFileInfo info(file);
    info.SetModificationTime(Instant(5'999'999));
    EXPECT_EQ(info.ModificationTime(), Instant(5'000'000));
    EXPECT_EQ(info.AccessTime(), Instant(1'000'000'000'000'000));
    EXPECT_EQ(UnixFileInfo(file).ModificationTime(), Instant(1'600'000'001'000'000));
    EXPECT_EQ(info.Link().st_mtim.tv_sec, 1'600'000'001) << "only the target's record changes";
    info.SetModificationTime(Instant(-1'500'000)); // As a division of integers has it.
    EXPECT_EQ(info.ModificationTime(), Instant(-1'000'000));
}

TEST_F(UnixFileInfoTest, InfosOfOneUnchangedFileAreEqual) {
    EXPECT_TRUE(UnixFileInfo(file) == UnixFileInfo(file));
    UnixFileInfo const before(file);
    SetTimes(1'000'000'000, 1'600'000'002);
    EXPECT_FALSE(before == UnixFileInfo(file));
}

TEST_F(UnixFileInfoTest, EveryPartOfAnInfoCounts) {
    UnixFileInfo changed(file);
    changed.SetModificationTime(Instant(0));
    EXPECT_FALSE(changed == UnixFileInfo(file)) << "the target's record";
    std::filesystem::create_symlink("file", directory / "link");
    std::filesystem::create_symlink("file", directory / "other");
    UnixFileInfo const link(MakeFileLocation((directory / "link").c_str()));
    UnixFileInfo const other(MakeFileLocation((directory / "other").c_str()));
    EXPECT_FALSE(link == UnixFileInfo(file)) << "the state";
    EXPECT_FALSE(link == other) << "the link's record";
    EXPECT_TRUE(link == UnixFileInfo(link));
}

// Deliberate: see the contract.
TEST_F(UnixFileInfoTest, NothingIsNotEqualToNothing) {
    EXPECT_FALSE(UnixFileInfo() == UnixFileInfo());
    EXPECT_FALSE(UnixFileInfo(missing) == UnixFileInfo(missing));
    EXPECT_FALSE(UnixFileInfo(file) == UnixFileInfo(missing));
    EXPECT_FALSE(UnixFileInfo(missing) == UnixFileInfo(file));
}

TEST_F(UnixFileInfoTest, FileTimesAndInstantsAreTheSameNumber) {
    for (std::int64_t count : {INT64_MIN, std::int64_t{-1}, std::int64_t{0}, INT64_MAX}) {
        EXPECT_EQ(UnixPlatform::FileTimeToInstant(Instant(count)), Instant(count));
        EXPECT_EQ(UnixPlatform::InstantToFileTime(Instant(count)), Instant(count));
    }
}

} // namespace
