#include <cerrno>
#include <ctime>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileOperations.h"
#include "files/FileReadingLoop.h"
#include "tests/files/At.h"
#include "tests/files/Entries.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

using Copy = void (*)(FileLocation const&, FileLocation const&);

constexpr Copy bothCopies[] = {CopyFile, ForceCopyFile};

class FileCopiesTest : public testing::Test {
protected:
    FileLocation Here(std::string const& name) const { return At(directory / name); }

    void CopyOver(Copy copy, std::string const& source, std::string const& target) const {
        copy(Here(source), Here(target));
    }

    TemporaryDirectory directory;
    std::string const from = directory / "from";
    std::string const to = directory / "to";
};

TEST_F(FileCopiesTest, ACopyHasTheBytes) {
    std::mt19937 random(5);
    for (std::size_t const size : {0u, 1u, 4096u, 65'535u, 65'536u, 65'537u, 131'072u, 300'001u}) {
        std::string const content = RandomBytes(random, size, EveryByte());
        WriteWholeFile(from, content);
        for (Copy copy : bothCopies) {
            copy(At(from), At(to));
            EXPECT_TRUE(ReadWholeFile(to) == content) << size;
            EXPECT_TRUE(ReadWholeFile(from) == content) << size;
            fs::remove(to);
        }
    }
}

TEST_F(FileCopiesTest, TheTargetIsOpenedFirstAndBothAreClosedAfterRunsOf64KiB) {
    WriteWholeFile(from, std::string(65'537, 'x'));
    SystemCalls calls;
    CopyFile(At(from), At(to));
    std::vector<std::string> log;
    for (std::string const& call : calls.Log())
        if (!call.starts_with("seek") && !call.starts_with("stat"))
            log.push_back(call);
    EXPECT_THAT(log,
                ElementsAre("lstat " + from, "lstat " + to, "open RDWR|CREAT|EXCL 666", "setfd 1",
                            "open RDONLY", "setfd 1", "read 65536", "write 65536", "read 1",
                            "write 1", "close", "close", "lstat " + from, "lstat " + to))
        << "and no fsync";
}

TEST_F(FileCopiesTest, NothingIsAllocatedForShortPaths) {
    WriteWholeFile(from, std::string(1'000'000, 'x'));
    FileLocation const source = At(from);
    FileLocation const target = At(to);
    EXPECT_EQ(AllocationsOf([&] { CopyFile(source, target); }), 0u);
}

// Deliberate: neither the permissions nor the time is carried over.
TEST_F(FileCopiesTest, ACopyHasThePermissionsOfANewFileAndTheTimeOfItsWriting) {
    mode_t const before = umask(027);
    WriteWholeFile(from, "x");
    fs::permissions(from, fs::perms(0755));
    timeval const longAgo[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    ASSERT_EQ(utimes(from.c_str(), longAgo), 0);
    timespec now = {};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    CopyFile(At(from), At(to));
    umask(before);
    struct stat stats = {};
    ASSERT_EQ(stat(to.c_str(), &stats), 0);
    EXPECT_EQ(stats.st_mode & 07777, 0640u);
    EXPECT_GE(stats.st_mtim.tv_sec, now.tv_sec);
    ASSERT_EQ(stat(from.c_str(), &stats), 0);
    EXPECT_EQ(stats.st_mtim.tv_sec, 1'000'000'000);
    EXPECT_EQ(stats.st_mode & 07777, 0755u);
}

TEST_F(FileCopiesTest, OnlyARegularFileIsCopied) {
    for (std::string const& kind : everyKind) {
        SCOPED_TRACE(kind);
        MakeEntry(directory / kind, kind);
        for (Copy copy : bothCopies) {
            if (IsRegularFileKind(kind)) {
                CopyOver(copy, kind, "to");
                EXPECT_EQ(DescribeEntry(to), "file content") << "what a link points at";
                fs::remove(to);
            } else {
                ExpectFileError<FileNotFoundError>(0, On(directory / kind),
                                                   [&] { CopyOver(copy, kind, "to"); });
                EXPECT_EQ(DescribeEntry(to), "nothing");
            }
        }
    }
    for (Copy copy : bothCopies) {
        ExpectFileError<FileNotFoundError>(0, On(from), [&] { CopyOver(copy, "from", "to"); });
        ExpectFileError<FileNotFoundError>(0, On("/dev/null"),
                                           [&] { copy(At("/dev/null"), At(to)); });
    }
}

TEST_F(FileCopiesTest, CopyFileOverwritesNothing) {
    WriteWholeFile(from, "new");
    for (std::string const& kind : everyKind) {
        SCOPED_TRACE(kind);
        MakeEntry(directory / kind, kind);
        Tree const before = DescribeTree(directory.path());
        ExpectFileError<FileExistsError>(0, On(directory / kind),
                                         [&] { CopyOver(CopyFile, "from", kind); });
        EXPECT_EQ(DescribeTree(directory.path()), before);
    }
}

TEST_F(FileCopiesTest, ForceCopyFileReplacesWhatCanBeForcedAway) {
    WriteWholeFile(from, "new");
    for (std::string const kind : {"file", "link to file", "directory"}) {
        MakeEntry(directory / kind, kind);
        Tree expected = DescribeTree(directory.path());
        CopyOver(ForceCopyFile, "from", kind);
        expected[kind] = "file new";
        EXPECT_EQ(DescribeTree(directory.path()), expected) << "the target of a link stays";
    }
}

TEST_F(FileCopiesTest, ForceCopyFileEndsWhereSomethingStays) {
    WriteWholeFile(from, "new");
    for (std::string const kind : {"full directory", "link to directory", "link to socket",
                                   "broken link", "fifo", "socket"}) {
        SCOPED_TRACE(kind);
        MakeEntry(directory / kind, kind);
        Tree const before = DescribeTree(directory.path());
        std::string const on = On(directory / kind);
        auto const copy = [&] {
            CopyOver(ForceCopyFile, "from", kind);
        };
        if (kind == "full directory")
            ExpectFileError<FileIOError>(ENOTEMPTY, on, copy);
        else if (kind == "link to directory")
            ExpectFileError<DirectoryNotFoundError>(ENOTDIR, on, copy);
        else // Found by the exclusive open.
            ExpectFileError<FileExistsError>(EEXIST, on, copy);
        EXPECT_EQ(DescribeTree(directory.path()), before);
    }
}

// Deliberate: the way is cleared before the source is opened.
TEST_F(FileCopiesTest, AFileThatIsCopiedOverItselfIsLost) {
    WriteWholeFile(from, "content");
    ExpectFileError<FileExistsError>(0, On(from), [&] { CopyOver(CopyFile, "from", "from"); });
    EXPECT_EQ(DescribeEntry(from), "file content");
    CopyOver(ForceCopyFile, "from", "from");
    EXPECT_EQ(DescribeEntry(from), "file ");
}

TEST_F(FileCopiesTest, ATargetThatCannotBeMadeTellsWhy) {
    WriteWholeFile(from, "content");
    for (Copy copy : bothCopies) {
        ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "a/b"),
                                           [&] { CopyOver(copy, "from", "a/b"); });
        ExpectFileError<DirectoryNotFoundError>(ENOTDIR, On(from + "/b"),
                                                [&] { CopyOver(copy, "from", "from/b"); });
    }
    PrivateMachine::Run([&] {
        SmallFileSystem disk("/opt/disk");
        disk.MakeReadOnly();
        ExpectFileError<FileIOError>(EROFS, On(disk / "to"),
                                     [&] { CopyFile(At(from), At(disk / "to")); });
    });
}

// The target is made first, and stays.
TEST_F(FileCopiesTest, ASourceThatCannotBeReadLeavesAnEmptyTarget) {
    PrivateMachine::Run([&] {
        SmallFileSystem disk("/opt/disk", {.mode = "0777"});
        WriteWholeFile(disk / "from", "content");
        fs::permissions(disk / "from", fs::perms(0));
        PrivateMachine::DropPrivileges();
        ExpectFileError<FilePermissionError>(EACCES, On(disk / "from"),
                                             [&] { CopyFile(At(disk / "from"), At(disk / "to")); });
        EXPECT_EQ(DescribeEntry(disk / "to"), "file ");
    });
}

TEST_F(FileCopiesTest, TheKernelsLogIsNotCopied) {
    PrivateMachine::Run([&] {
        if (!fs::is_regular_file("/proc/kmsg"))
            GTEST_SKIP() << "this system has none";
        ExpectFileError<FileIOError>(0, On("/proc/kmsg"),
                                     [&] { CopyFile(At("/proc/kmsg"), At(to)); });
        EXPECT_EQ(DescribeEntry(to), "file ");
    });
}

// A writing path does not know its name when a write fails.
TEST_F(FileCopiesTest, AFullDiskKeepsTheWholeSourceAndAPartOfTheCopy) {
    std::mt19937 random(6);
    std::string const content = RandomBytes(random, 200'000, EveryByte());
    WriteWholeFile(from, content);
    for (Copy copy : bothCopies)
        PrivateMachine::Run([&] {
            SmallFileSystem disk("/opt/disk", {.bytes = 96 * 1024});
            ExpectFileError<FileDiskFullError>(ENOSPC, "",
                                               [&] { copy(At(from), At(disk / "to")); });
            EXPECT_TRUE(ReadWholeFile(disk / "to") == content.substr(0, 96 * 1024));
            EXPECT_TRUE(ReadWholeFile(from) == content);
            disk.MakeReadOnly(); // Fails while the copy is open for writing.
        });
}

// Deliberate: a file whose length the system does not tell has no end that the copy could accept.
TEST_F(FileCopiesTest, AFileOfUnknownLengthIsCopiedWholeAndThenFails) {
    ExpectExactly<FileReadingLoopEndOfFileError>([&] { CopyFile(At("/proc/version"), At(to)); });
    EXPECT_EQ(DescribeEntry(to), DescribeEntry("/proc/version"));
}

// Deliberate: the length that it claims is believed.
TEST_F(FileCopiesTest, AFileThatClaimsTooMuchIsCopiedWholeAndThenFails) {
    if (!fs::exists(fileThatClaimsTooMuch))
        GTEST_SKIP() << "no " << fileThatClaimsTooMuch;
    for (Copy copy : bothCopies) {
        ExpectExactly<FileReadingLoopEndOfFileError>(
            [&] { copy(At(fileThatClaimsTooMuch), At(to)); });
        EXPECT_EQ(ReadWholeFile(to), ReadWholeFile(fileThatClaimsTooMuch));
        fs::remove(to);
    }
}

TEST_F(FileCopiesTest, ASourceThatShrinksMeanwhileFailsBehindWhatWasThere) {
    WriteWholeFile(from, std::string(100'000, 'x'));
    SystemCalls calls;
    calls.Before("write", [&] { fs::resize_file(from, 10); });
    ExpectExactly<FileReadingLoopEndOfFileError>([&] { CopyFile(At(from), At(to)); });
    EXPECT_EQ(fs::file_size(to), 65'536u);
}

TEST_F(FileCopiesTest, ATargetThatComesIntoBeingMeanwhileIsNotOverwritten) {
    WriteWholeFile(from, "content");
    for (Copy copy : bothCopies) {
        SystemCalls calls;
        calls.Before("open", [&] { WriteWholeFile(to, "of another process"); });
        ExpectFileError<FileExistsError>(EEXIST, On(to), [&] { copy(At(from), At(to)); });
        EXPECT_EQ(DescribeEntry(to), "file of another process");
        fs::remove(to);
    }
}

TEST_F(FileCopiesTest, AFailureOfEachCallIsReportedAndClosesBothFiles) {
    WriteWholeFile(from, "content");
    struct Failure {
        std::string call;
        std::size_t skip;
        std::string names;
        std::string content;
    };
    std::string const none;
    for (Failure const& failure : std::vector<Failure>{
             {"open", 0, On(to), "nothing"},
             {"open", 1, On(from), "file "},
             {"read", 0, On(from), "file "},
             {"write", 0, none, "file "},
             {"close", 0, none, "file content"},
             {"close", 1, On(from), "file content"},
         }) {
        SCOPED_TRACE(failure.call + std::to_string(failure.skip));
        {
            SystemCalls calls;
            calls.Fail(failure.call, EIO, failure.skip);
            ExpectFileError<FileIOError>(EIO, failure.names, [&] { CopyFile(At(from), At(to)); });
        }
        EXPECT_EQ(DescribeEntry(to), failure.content);
        EXPECT_THAT(DescriptorsOn(from), ElementsAre());
        EXPECT_THAT(DescriptorsOn(to), ElementsAre());
        fs::remove(to);
    }
}

TEST_F(FileCopiesTest, TheCopyIsCompleteEvenIfBothVanishThen) {
    WriteWholeFile(from, "content");
    SystemCalls calls;
    calls.Before(
        "lstat",
        [&] {
            EXPECT_EQ(DescribeEntry(to), "file content");
            fs::remove(from);
            fs::remove(to);
        },
        2);
    EXPECT_NO_THROW(CopyFile(At(from), At(to)));
}

TEST_F(FileCopiesTest, LongPathsAreCopiedToo) {
    std::string deep = directory.path();
    while (deep.size() < 3800) {
        deep += '/' + std::string(200, 'd');
        fs::create_directory(deep);
    }
    WriteWholeFile(deep + "/from", "content");
    CopyFile(At(deep + "/from"), At(deep + "/to"));
    EXPECT_EQ(DescribeEntry(deep + "/to"), "file content");
    ExpectFileError<FileExistsError>(0, On(deep + "/to"),
                                     [&] { CopyFile(At(deep + "/from"), At(deep + "/to")); });
}

} // namespace
