#include "files/FileOperations.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "tests/files/At.h"
#include "tests/files/Entries.h"
#include "tests/files/ExpectFileError.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

// Sets the umask for a scope.
class Umask {
public:
    explicit Umask(mode_t mask) : before(umask(mask)) {}
    ~Umask() { umask(before); }
    Umask(Umask const&) = delete;
    Umask& operator=(Umask const&) = delete;

private:
    mode_t const before;
};

// A directory on a disk of its own inside a private machine, open to everybody.
void OnDisk(SmallFileSystemOptions const& options, std::function<void(SmallFileSystem&)> body) {
    PrivateMachine::Run([&] {
        SmallFileSystem disk("/opt/disk", options);
        body(disk);
    });
}

class FileOperationsTest : public testing::Test {
protected:
    FileLocation Here(std::string const& name) const { return At(directory / name); }

    TemporaryDirectory directory;
};

TEST_F(FileOperationsTest, AnEmptyLocationIsRefusedByAllButTwo) {
    FileLocation const none;
    MakeEntry(directory / "file", "file");
    FileLocation const file = Here("file");
    std::vector<std::function<void()>> const calls = {
        [&] { CreateFile(none, {}); },
        [&] { CreateDirectory(none, {}); },
        [&] { CreateDirectoryForUserAppAccess(none); },
        [&] { ForceDirectoryExistence(none, {}); },
        [&] { DeleteFile(none); },
        [&] { DeleteDirectory(none); },
        [&] { ForceNonexistence(none); },
        [&] { CopyFile(none, file); },
        [&] { CopyFile(file, none); },
        [&] { ForceCopyFile(none, file); },
        [&] { ForceCopyFile(file, none); },
        [&] { MoveFile(none, file); },
        [&] { MoveFile(file, none); },
        [&] { MoveFile(Here("missing"), none); },
        [&] { ForceMoveFile(none, file); },
        [&] { ForceMoveFile(file, none); },
        [&] { SetFileReadOnly(none, true); },
        [&] { SetFileReadOnly(none, false); },
        [&] { none.IsReadOnly(); },
    };
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE(i);
        ExpectFileError<EmptyFileLocationError>(0, "", calls[i]);
    }
    EXPECT_EQ(CalculateFreeSpace(none), -1);
    EXPECT_NO_THROW(ForceRemoveInvalidFiles(none, 1));
    EXPECT_EQ(DescribeTree(directory.path()), (Tree{{"file", "file content"}}));
}

TEST_F(FileOperationsTest, ACreatedFileIsEmptyAndHasTheSystemsPermissions) {
    for (auto [mask, mode] : {std::pair(0u, 0666u), {022u, 0644u}, {077u, 0600u}}) {
        Umask const umask(mask);
        std::string const name = "file" + std::to_string(mask);
        CreateFile(Here(name), FileCreatingInfo());
        EXPECT_EQ(DescribeEntry(directory / name), "file ");
        EXPECT_EQ(ModeOf(directory / name), mode);
    }
}

TEST_F(FileOperationsTest, OtherPermissionsOfAFileAreSetWhateverTheUmask) {
    Umask const umask(0777);
    for (mode_t const mode : {0u, 0400u, 0644u, 0667u, 0777u, 07777u}) {
        std::string const name = "file" + std::to_string(mode);
        CreateFile(Here(name), FileCreatingInfo{mode});
        EXPECT_EQ(ModeOf(directory / name), mode);
    }
    // Deliberate: these are not set at all.
    CreateFile(Here("default"), FileCreatingInfo{0666});
    EXPECT_EQ(ModeOf(directory / "default"), 0u);
}

TEST_F(FileOperationsTest, NothingIsCreatedWhereAnythingStands) {
    for (std::string const& kind : everyKind) {
        SCOPED_TRACE(kind);
        MakeEntry(directory / kind, kind);
        Tree const before = DescribeTree(directory.path());
        ExpectFileError<FileFoundError>(0, On(directory / kind),
                                        [&] { CreateFile(Here(kind), FileCreatingInfo{0600}); });
        ExpectFileError<DirectoryFoundError>(
            0, On(directory / kind), [&] { CreateDirectory(Here(kind), DirectoryCreatingInfo()); });
        ExpectFileError<DirectoryFoundError>(0, On(directory / kind),
                                             [&] { CreateDirectoryForUserAppAccess(Here(kind)); });
        EXPECT_EQ(DescribeTree(directory.path()), before);
    }
}

TEST_F(FileOperationsTest, ACreationThatTheSystemRefusesTellsWhy) {
    MakeEntry(directory / "file", "file");
    std::string const tooLong = directory / std::string(256, 'x');
    std::vector<std::function<void(FileLocation const&)>> const creations = {
        [](FileLocation const& where) { CreateFile(where, {}); },
        [](FileLocation const& where) { CreateDirectory(where, {}); },
        [](FileLocation const& where) { ForceDirectoryExistence(where, {}); },
    };
    for (auto const& create : creations) {
        ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "a/b"),
                                           [&] { create(Here("a/b")); });
        ExpectFileError<DirectoryNotFoundError>(ENOTDIR, On(directory / "file/b"),
                                                [&] { create(Here("file/b")); });
        ExpectFileError<DirectoryNotFoundError>(ENAMETOOLONG, On(tooLong),
                                                [&] { create(At(tooLong)); });
    }
    EXPECT_EQ(DescribeTree(directory.path()).size(), 1u);
}

// The class for a full disk is for those alone that write.
TEST_F(FileOperationsTest, NothingCanBeCreatedOnAFullOrReadOnlyDiskNorWithoutRights) {
    OnDisk({.inodes = 1}, [](SmallFileSystem& disk) {
        std::string const there = disk / "x";
        auto const expect = [&]<class Error>(Error const&, int code) {
            ExpectFileError<Error>(code, On(there), [&] { CreateFile(At(there), {}); });
            ExpectFileError<Error>(code, On(there), [&] { CreateDirectory(At(there), {}); });
            ExpectFileError<Error>(code, On(there),
                                   [&] { ForceDirectoryExistence(At(there), {}); });
        };
        expect(FileIOError(0), ENOSPC);
        disk.MakeReadOnly();
        expect(FileIOError(0), EROFS);
        disk.MakeWritable();
        fs::permissions(disk.path(), fs::perms(0555));
        PrivateMachine::DropPrivileges();
        expect(FilePermissionError(0), EACCES);
    });
}

TEST_F(FileOperationsTest, ADirectoryIsCreatedWithItsPermissionsLessTheUmask) {
    for (auto [mask, wanted, mode] :
         {std::tuple(0u, 0777u, 0777u), {022u, 0777u, 0755u}, {077u, 0750u, 0700u}, {0u, 0u, 0u}}) {
        Umask const umask(mask);
        std::string const name = std::to_string(mask) + "-" + std::to_string(wanted);
        CreateDirectory(Here(name), DirectoryCreatingInfo{wanted});
        EXPECT_EQ(ModeOf(directory / name), mode);
        ForceDirectoryExistence(Here(name + "-forced"), DirectoryCreatingInfo{wanted});
        EXPECT_EQ(ModeOf(directory / (name + "-forced")), mode);
    }
    Umask const umask(02);
    CreateDirectoryForUserAppAccess(Here("app"));
    EXPECT_EQ(ModeOf(directory / "app"), 0775u);
    EXPECT_EQ(DescribeEntry(directory / "app"), "directory");
}

TEST_F(FileOperationsTest, ADirectoryThatExistsIsForcedByLeavingItAsItIs) {
    for (std::string const kind : {"directory", "full directory", "link to directory"}) {
        MakeEntry(directory / kind, kind);
        Tree const before = DescribeTree(directory.path());
        mode_t const mode = ModeOf(directory / kind);
        EXPECT_NO_THROW(ForceDirectoryExistence(Here(kind), DirectoryCreatingInfo{0}));
        EXPECT_EQ(ModeOf(directory / kind), mode);
        EXPECT_EQ(DescribeTree(directory.path()), before);
    }
}

TEST_F(FileOperationsTest, ADirectoryIsNotForcedOverAnythingElse) {
    for (std::string const kind :
         {"file", "link to file", "link to socket", "broken link", "fifo", "socket"}) {
        MakeEntry(directory / kind, kind);
        Tree const before = DescribeTree(directory.path());
        ExpectFileError<FileFoundError>(0, On(directory / kind),
                                        [&] { ForceDirectoryExistence(Here(kind), {}); });
        EXPECT_EQ(DescribeTree(directory.path()), before);
    }
}

TEST_F(FileOperationsTest, DeleteFileRemovesEveryEntryButADirectory) {
    for (std::string const& kind : everyKind) {
        SCOPED_TRACE(kind);
        MakeEntry(directory / kind, kind);
        Tree expected = DescribeTree(directory.path());
        if (kind == "directory" || kind == "full directory") {
            ExpectFileError<FileIOError>(EISDIR, On(directory / kind),
                                         [&] { DeleteFile(Here(kind)); });
        } else {
            DeleteFile(Here(kind));
            expected.erase(kind);
        }
        EXPECT_EQ(DescribeTree(directory.path()), expected) << "the target of a link stays";
    }
}

TEST_F(FileOperationsTest, DeleteFileTellsWhatTheSystemRefuses) {
    MakeEntry(directory / "file", "file");
    ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "x"), [&] { DeleteFile(Here("x")); });
    ExpectFileError<DirectoryNotFoundError>(ENOTDIR, On(directory / "file/x"),
                                            [&] { DeleteFile(Here("file/x")); });
    OnDisk({}, [](SmallFileSystem& disk) {
        MakeEntry(disk / "file", "file");
        MakeEntry(disk / "directory", "directory");
        disk.MakeReadOnly();
        ExpectFileError<FileIOError>(EROFS, On(disk / "file"),
                                     [&] { DeleteFile(At(disk / "file")); });
        ExpectFileError<FileIOError>(EROFS, On(disk / "directory"),
                                     [&] { DeleteDirectory(At(disk / "directory")); });
        disk.MakeWritable();
        fs::permissions(disk.path(), fs::perms(0555));
        PrivateMachine::DropPrivileges();
        ExpectFileError<FilePermissionError>(EACCES, On(disk / "file"),
                                             [&] { DeleteFile(At(disk / "file")); });
        ExpectFileError<FilePermissionError>(EACCES, On(disk / "directory"),
                                             [&] { DeleteDirectory(At(disk / "directory")); });
    });
}

TEST_F(FileOperationsTest, DeleteDirectoryRemovesAnEmptyDirectoryAlone) {
    for (std::string const& kind : everyKind) {
        SCOPED_TRACE(kind);
        MakeEntry(directory / kind, kind);
        Tree expected = DescribeTree(directory.path());
        std::string const on = On(directory / kind);
        auto const remove = [&] {
            DeleteDirectory(Here(kind));
        };
        if (kind == "directory")
            remove(), expected.erase(kind);
        else if (kind == "full directory")
            ExpectFileError<FileIOError>(ENOTEMPTY, on, remove);
        else if (kind == "link to directory") // Left to the system's refusal.
            ExpectFileError<DirectoryNotFoundError>(ENOTDIR, on, remove);
        else
            ExpectFileError<DirectoryNotFoundError>(0, on, remove);
        EXPECT_EQ(DescribeTree(directory.path()), expected);
    }
    ExpectFileError<DirectoryNotFoundError>(0, On(directory / "missing"),
                                            [&] { DeleteDirectory(Here("missing")); });
}

// Deliberate: what is neither a regular file nor a directory stays, without an error.
TEST_F(FileOperationsTest, ForceNonexistenceRemovesRegularFilesAndEmptyDirectories) {
    for (std::string const& kind : everyKind) {
        SCOPED_TRACE(kind);
        MakeEntry(directory / kind, kind);
        Tree expected = DescribeTree(directory.path());
        std::string const on = On(directory / kind);
        auto const force = [&] {
            ForceNonexistence(Here(kind));
        };
        if (kind == "full directory") {
            ExpectFileError<FileIOError>(ENOTEMPTY, on, force);
        } else if (kind == "link to directory") {
            ExpectFileError<DirectoryNotFoundError>(ENOTDIR, on, force);
        } else {
            force();
            if (kind == "file" || kind == "link to file" || kind == "directory")
                expected.erase(kind);
        }
        EXPECT_EQ(DescribeTree(directory.path()), expected);
    }
    EXPECT_NO_THROW(ForceNonexistence(Here("missing")));
}

TEST_F(FileOperationsTest, ForceNonexistenceLeavesADevice) {
    OnDisk({}, [](SmallFileSystem& disk) {
        std::string const device = disk / "device";
        if (mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 3)) != 0)
            GTEST_SKIP() << "a user namespace knows no new devices";
        EXPECT_NO_THROW(ForceNonexistence(At(device)));
        EXPECT_EQ(DescribeEntry(device), "other");
        DeleteFile(At(device));
        EXPECT_EQ(DescribeEntry(device), "nothing");
    });
}

TEST_F(FileOperationsTest, ReadOnlyTakesTheWriteBitsAndNoOther) {
    Umask const umask(077);
    MakeEntry(directory / "file", "file");
    for (mode_t mode = 0; mode <= 07777; ++mode) {
        fs::permissions(directory / "file", fs::perms(mode));
        SetFileReadOnly(Here("file"), true);
        ASSERT_EQ(ModeOf(directory / "file"), mode & ~0222u);
    }
}

// Deliberate: the umask is taken from all of the mode.
TEST_F(FileOperationsTest, WritableGivesTheWriteBitsAndThenTakesTheUmask) {
    MakeEntry(directory / "file", "file");
    for (mode_t const mask : {0u, 022u, 027u, 077u, 0222u, 0777u}) {
        Umask const scope(mask);
        for (mode_t mode = 0; mode <= 07777; mode += 3) {
            fs::permissions(directory / "file", fs::perms(mode));
            SetFileReadOnly(Here("file"), false);
            ASSERT_EQ(ModeOf(directory / "file"), (mode | 0222u) & ~mask);
        }
        EXPECT_EQ(umask(mask), mask) << "the umask is as before";
    }
}

TEST_F(FileOperationsTest, ReadOnlyFollowsALinkAndTakesADirectory) {
    for (std::string const kind : {"link to file", "link to directory"}) {
        MakeEntry(directory / kind, kind);
        fs::permissions(directory / (kind + "-target"), fs::perms(0777));
        SetFileReadOnly(Here(kind), true);
        EXPECT_EQ(ModeOf(directory / (kind + "-target")), 0555u);
    }
    MakeEntry(directory / "broken", "broken link");
    for (std::string const name : {"broken", "missing"})
        for (bool const readOnly : {false, true})
            ExpectFileError<FileNotFoundError>(ENOENT, On(directory / name),
                                               [&] { SetFileReadOnly(Here(name), readOnly); });
}

TEST_F(FileOperationsTest, WhoMayNotChangeTheModeIsTold) {
    OnDisk({}, [](SmallFileSystem& disk) {
        std::string const file = disk / "file";
        MakeEntry(file, "file");
        disk.MakeReadOnly();
        ExpectFileError<FileIOError>(EROFS, On(file), [&] { SetFileReadOnly(At(file), true); });
        disk.MakeWritable();
        PrivateMachine::DropPrivileges();
        struct stat stats = {};
        ASSERT_EQ(stat(file.c_str(), &stats), 0);
        if (stats.st_uid == getuid())
            GTEST_SKIP() << "the machine knows no second user";
        ExpectFileError<FilePermissionError>(EPERM, On(file),
                                             [&] { SetFileReadOnly(At(file), true); });
    });
}

TEST_F(FileOperationsTest, IsReadOnlyAsksWhetherThisProcessMayWrite) {
    OnDisk({}, [](SmallFileSystem& disk) {
        std::string const file = disk / "file";
        MakeEntry(file, "link to file");
        fs::permissions(file, fs::perms(0444));
        EXPECT_FALSE(At(file).IsReadOnly()) << "the superuser may";
        disk.MakeReadOnly();
        EXPECT_TRUE(At(file).IsReadOnly());
        EXPECT_TRUE(At(disk.path()).IsReadOnly());
        disk.MakeWritable();
        PrivateMachine::DropPrivileges();
        EXPECT_TRUE(At(file).IsReadOnly());
        EXPECT_FALSE(At("/dev/null").IsReadOnly());
    });
}

TEST_F(FileOperationsTest, IsReadOnlyOfWhatIsNotThereIsAnError) {
    MakeEntry(directory / "file", "file");
    MakeEntry(directory / "broken", "broken link");
    for (std::string const name : {"missing", "broken"})
        ExpectFileError<FileNotFoundError>(ENOENT, On(directory / name),
                                           [&] { Here(name).IsReadOnly(); });
    ExpectFileError<DirectoryNotFoundError>(ENOTDIR, On(directory / "file/x"),
                                            [&] { Here("file/x").IsReadOnly(); });
}

TEST_F(FileOperationsTest, FreeSpaceIsThatOfTheDiskInBytes) {
    OnDisk({.bytes = 1024 * 1024}, [](SmallFileSystem& disk) {
        EXPECT_EQ(CalculateFreeSpace(At(disk.path())), 1024 * 1024);
        WriteWholeFile(disk / "file", std::string(10'000, 'x'));
        EXPECT_EQ(CalculateFreeSpace(At(disk / "file")), 1024 * 1024 - 3 * 4096);
        disk.FillUp();
        EXPECT_EQ(CalculateFreeSpace(At(disk.path())), 0);
    });
}

// Others may write to that disk meanwhile, so the figure is that of one of two looks around it.
TEST_F(FileOperationsTest, FreeSpaceCountsTheSuperusersBlocksToo) {
    for (int i = 0; i < 1000; ++i) {
        struct statvfs before = {};
        struct statvfs after = {};
        ASSERT_EQ(statvfs("/", &before), 0);
        long long const free = CalculateFreeSpace(At("/"));
        ASSERT_EQ(statvfs("/", &after), 0);
        if (before.f_bfree == after.f_bfree) {
            EXPECT_EQ(free, static_cast<long long>(before.f_bfree * before.f_frsize));
            return;
        }
    }
    FAIL() << "the disk is never still";
}

TEST_F(FileOperationsTest, FreeSpaceThatCannotBeToldIsMinusOne) {
    MakeEntry(directory / "broken", "broken link");
    EXPECT_EQ(CalculateFreeSpace(Here("missing")), -1);
    EXPECT_EQ(CalculateFreeSpace(Here("broken")), -1);
    // More than a signed number of 64 bits holds.
    OnDisk({.bytes = std::size_t{3} << 62},
           [](SmallFileSystem& disk) { EXPECT_EQ(CalculateFreeSpace(At(disk.path())), -1); });
    OnDisk({.bytes = std::size_t{1} << 62}, [](SmallFileSystem& disk) {
        EXPECT_EQ(CalculateFreeSpace(At(disk.path())), 1LL << 62);
    });
}

TEST_F(FileOperationsTest, ForceRemoveInvalidFilesDoesNothing) {
    for (std::string const& kind : everyKind)
        MakeEntry(directory / kind, kind);
    Tree const before = DescribeTree(directory.path());
    for (unsigned int const kinds : {0u, 1u, ~0u}) {
        ForceRemoveInvalidFiles(At(directory.path()), kinds);
        ForceRemoveInvalidFiles(Here("file"), kinds);
        ForceRemoveInvalidFiles(Here("missing"), kinds);
    }
    EXPECT_EQ(DescribeTree(directory.path()), before);
}

} // namespace
