#include "files/unix/UnixFileInfo.h"

#include <sys/time.h>

#include "tests/files/FileTest.h"

namespace {

using UnixPlatform::UnixFileInfo;

class UnixFileInfoTest : public OpenFileTest {
protected:
    UnixFileInfoTest() {
        SetTimes(1'000'000'000, 1'600'000'001);
        fs::create_symlink("file", directory / "link");
        fs::create_symlink("file", directory / "other link");
    }

    void SetTimes(long access, long modification) {
        timeval const times[2] = {{access, 123'456}, {modification, 654'321}};
        ASSERT_EQ(utimes(name.c_str(), times), 0);
    }

    FileLocation const missing = Here("missing");
};

TEST_F(UnixFileInfoTest, SetReturnsTheErrorNumber) {
    UnixFileInfo info;
    EXPECT_EQ(info.Set(file), 0);
    EXPECT_TRUE(info.IsRegularFile());
    EXPECT_EQ(info.Set(missing), ENOENT);
    EXPECT_TRUE(info.IsNothingThere());
    EXPECT_EQ(info.Set(FileLocation()), ENOENT);
    EXPECT_TRUE(UnixFileInfo(missing).IsNothingThere());
}

TEST_F(UnixFileInfoTest, TimesAreThoseOfTheTargetInWholeSeconds) {
    for (FileLocation const& where : {file, Here("link")}) {
        UnixFileInfo const info(where);
        EXPECT_EQ(info.AccessTime(), Instant(1'000'000'000'000'000));
        EXPECT_EQ(info.ModificationTime(), Instant(1'600'000'001'000'000));
    }
    SetTimes(-5, -1'000);
    EXPECT_EQ(UnixFileInfo(file).AccessTime(), Instant(-5'000'000));
    EXPECT_EQ(UnixFileInfo(file).ModificationTime(), Instant(-1'000'000'000));
    EXPECT_EQ(UnixFileInfo().AccessTime(), Instant(0));
    EXPECT_EQ(UnixFileInfo(missing).ModificationTime(), Instant(0));
}

TEST_F(UnixFileInfoTest, SettingTheTimeChangesOnlyTheObject) {
    UnixFileInfo info(file);
    info.SetModificationTime(Instant(5'999'999));
    EXPECT_EQ(info.ModificationTime(), Instant(5'000'000));
    EXPECT_EQ(info.AccessTime(), Instant(1'000'000'000'000'000));
    EXPECT_EQ(UnixFileInfo(file).ModificationTime(), Instant(1'600'000'001'000'000));
    EXPECT_EQ(info.Link().st_mtim.tv_sec, 1'600'000'001) << "only the record of the target changes";
    info.SetModificationTime(
        Instant(-1'500'000)); // Rounded towards zero, as by an integer division.
    EXPECT_EQ(info.ModificationTime(), Instant(-1'000'000));
}

// Deliberate: objects without an entry are not equal; see the contract.
TEST_F(UnixFileInfoTest, ComparisonIncludesEveryField) {
    UnixFileInfo const before(file);
    UnixFileInfo const link(Here("link"));
    EXPECT_TRUE(before == UnixFileInfo(file));
    EXPECT_TRUE(link == UnixFileInfo(link));
    EXPECT_FALSE(link == before) << "the state";
    EXPECT_FALSE(link == UnixFileInfo(Here("other link"))) << "the record of the link";
    UnixFileInfo changed(file);
    changed.SetModificationTime(Instant(0));
    EXPECT_FALSE(changed == before) << "the record of the target";
    SetTimes(1'000'000'000, 1'600'000'002);
    EXPECT_FALSE(before == UnixFileInfo(file));
    EXPECT_FALSE(UnixFileInfo() == UnixFileInfo());
    EXPECT_FALSE(before == UnixFileInfo(missing));
    EXPECT_FALSE(UnixFileInfo(missing) == before);
}

TEST_F(UnixFileInfoTest, FileTimesAndInstantsAreEqualNumbers) {
    for (std::int64_t count : {INT64_MIN, std::int64_t{-1}, std::int64_t{0}, INT64_MAX}) {
        EXPECT_EQ(UnixPlatform::FileTimeToInstant(Instant(count)), Instant(count));
        EXPECT_EQ(UnixPlatform::InstantToFileTime(Instant(count)), Instant(count));
    }
}

} // namespace
