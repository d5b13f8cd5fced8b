// Tests permissions and free space.
#include <sys/statvfs.h>

#include "files/FileOperations.h"
#include "tests/files/FileTest.h"

namespace {

class FilePermissionsTest : public FileTest {
protected:
    std::string const file = directory / "file";
};

// Deliberate: to make a file writable, the umask is applied to the whole mode.
TEST_F(FilePermissionsTest, ReadOnlyClearsWriteBitsAndWritableSetsThemLessTheUmask) {
    MakeEntry(file, "file");
    for (mode_t const mask : {0u, 022u, 027u, 077u, 0222u, 0777u}) {
        Umask const scope(mask);
        for (mode_t mode = 0; mode <= 07777; mode += mask == 077 ? 1 : 3) {
            fs::permissions(file, fs::perms(mode));
            SetFileReadOnly(At(file), true);
            ASSERT_EQ(ModeOf(file), mode & ~0222u);
            fs::permissions(file, fs::perms(mode));
            SetFileReadOnly(At(file), false);
            ASSERT_EQ(ModeOf(file), (mode | 0222u) & ~mask);
        }
        EXPECT_EQ(umask(mask), mask) << "the umask is restored";
    }
    SystemCalls calls;
    SetFileReadOnly(At(file), true);
    EXPECT_EQ(calls.Count("umask"), 0u);
}

TEST_F(FilePermissionsTest, ReadOnlyFollowsALink) {
    ForEach({"link to file", "link to directory"}, [&](std::string const& kind) {
        fs::permissions(directory / (kind + "-target"), fs::perms(0777));
        SetFileReadOnly(Here(kind), true);
        EXPECT_EQ(ModeOf(directory / (kind + "-target")), 0555u);
    });
    MakeEntry(file, "file");
    MakeEntry(directory / "broken", "dangling link");
    for (std::string const name : {"broken", "missing"}) {
        for (bool const readOnly : {false, true})
            ExpectRejected("FileNotFoundError ENOENT", name,
                           [&](FileLocation const& where) { SetFileReadOnly(where, readOnly); });
        ExpectRejected("FileNotFoundError ENOENT", name,
                       [](FileLocation const& where) { where.IsReadOnly(); });
    }
    ExpectRejected("DirectoryNotFoundError ENOTDIR", "file/x",
                   [](FileLocation const& where) { where.IsReadOnly(); });
}

TEST_F(FilePermissionsTest, IsReadOnlyReportsWhetherThisProcessMayWrite) {
    OnDisk({}, [](SmallFileSystem& disk) {
        std::string const link = disk / "link";
        MakeEntry(link, "link to file");
        auto const makeReadOnly = [&] {
            SetFileReadOnly(At(link), true);
        };
        fs::permissions(link, fs::perms(0444));
        EXPECT_FALSE(At(link).IsReadOnly()) << "the superuser may write";
        disk.MakeReadOnly();
        EXPECT_TRUE(At(link).IsReadOnly());
        EXPECT_TRUE(At(disk.path()).IsReadOnly());
        EXPECT_EQ("FileIOError EROFS" + On(link), Thrown(makeReadOnly));
        disk.MakeWritable();
        struct stat stats = {};
        ASSERT_EQ(stat(link.c_str(), &stats), 0);
        Sandbox::DropPrivileges();
        EXPECT_TRUE(At(link).IsReadOnly());
        EXPECT_FALSE(At("/dev/null").IsReadOnly());
        if (stats.st_uid == getuid())
            GTEST_SKIP() << "the machine has no second user";
        EXPECT_EQ("FilePermissionError EPERM" + On(link), Thrown(makeReadOnly));
    });
}

TEST_F(FilePermissionsTest, FreeSpaceIsReportedInBytes) {
    OnDisk({.bytes = 1024 * 1024}, [](SmallFileSystem& disk) {
        EXPECT_EQ(CalculateFreeSpace(At(disk.path())), 1024 * 1024);
        WriteWholeFile(disk / "file", std::string(10'000, 'x'));
        EXPECT_EQ(CalculateFreeSpace(At(disk / "file")), 1024 * 1024 - 3 * 4096);
        disk.FillUp();
        EXPECT_EQ(CalculateFreeSpace(At(disk.path())), 0);
    });
    // Other processes may write to that disk, so the free space before and after must be equal.
    for (int i = 0; i < 1000; ++i) {
        struct statvfs before = {};
        struct statvfs after = {};
        ASSERT_EQ(statvfs("/", &before), 0);
        long long const free = CalculateFreeSpace(At("/"));
        ASSERT_EQ(statvfs("/", &after), 0);
        if (before.f_bfree == after.f_bfree) {
            EXPECT_EQ(free, static_cast<long long>(before.f_bfree * before.f_frsize))
                << "includes the reserved blocks of the superuser";
            return;
        }
    }
    FAIL() << "the free space of the disk changes all the time";
}

TEST_F(FilePermissionsTest, UnknownFreeSpaceIsMinusOne) {
    MakeEntry(directory / "broken", "dangling link");
    EXPECT_EQ(CalculateFreeSpace(Here("missing")), -1);
    EXPECT_EQ(CalculateFreeSpace(Here("broken")), -1);
    for (auto const& [bytes, expected] :
         {std::pair(std::size_t{3} << 62, -1LL), {std::size_t{1} << 62, 1LL << 62}})
        OnDisk({.bytes = bytes}, [&free = expected](SmallFileSystem& disk) {
            EXPECT_EQ(CalculateFreeSpace(At(disk.path())), free);
        });
}

TEST_F(FilePermissionsTest, ForceRemoveInvalidFilesDoesNothing) {
    ForEach(everyKind, [&](std::string const& kind) {
        Tree const before = Everything();
        for (FileLocation const& where : {At(directory.path()), Here(kind), Here("missing")})
            ForceRemoveInvalidFiles(where, ~0u);
        EXPECT_EQ(Everything(), before);
    });
}

} // namespace
