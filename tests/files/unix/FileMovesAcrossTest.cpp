#include <cerrno>
#include <ctime>
#include <filesystem>
#include <functional>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/time.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileOperations.h"
#include "tests/files/At.h"
#include "tests/files/Entries.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/RecordedSleeps.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

// Runs the body with two directories on different file systems, in both directions.
void AcrossFileSystems(
    std::function<void(std::string const& here, std::string const& there)> const& body) {
    PrivateMachine::Run([&] {
        for (bool const back : {false, true}) {
            SmallFileSystem const one("/opt/one");
            SmallFileSystem const other("/opt/other");
            body(back ? one.path() : other.path(), back ? other.path() : one.path());
        }
    });
}

TEST(FileMovesAcrossTest, AFileCrossesToAnotherFileSystemAsACopy) {
    for (auto* const move : {MoveFile, ForceMoveFile})
        AcrossFileSystems([&](std::string const& here, std::string const& there) {
            std::string const content(100'000, 'x');
            WriteWholeFile(here + "/from", content);
            fs::permissions(here + "/from", fs::perms(0700));
            timeval const longAgo[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
            ASSERT_EQ(utimes((here + "/from").c_str(), longAgo), 0);
            time_t const now = time(nullptr);
            umask(022);
            move(At(here + "/from"), At(there + "/to"));
            EXPECT_EQ(DescribeTree(here), Tree());
            EXPECT_TRUE(ReadWholeFile(there + "/to") == content);
            struct stat stats = {};
            ASSERT_EQ(stat((there + "/to").c_str(), &stats), 0);
            EXPECT_GE(stats.st_mtim.tv_sec, now - 1) << "the time of copying";
            EXPECT_EQ(stats.st_mode & 07777, 0644u);
        });
}

TEST(FileMovesAcrossTest, ALinkToAFileCrossesAsACopyOfTheFile) {
    AcrossFileSystems([](std::string const& here, std::string const& there) {
        MakeEntry(here + "/from", "link to file");
        MoveFile(At(here + "/from"), At(there + "/to"));
        EXPECT_EQ(DescribeTree(here), (Tree{{"from-target", "file content"}}));
        EXPECT_EQ(DescribeTree(there), (Tree{{"to", "file content"}}));
    });
}

// Deliberate: such a move looks like a success.
TEST(FileMovesAcrossTest, WhatIsNeitherFileNorDirectoryDoesNotCross) {
    AcrossFileSystems([](std::string const& here, std::string const& there) {
        for (std::string const kind : {"broken link", "fifo", "socket", "link to socket"}) {
            MakeEntry(here + "/" + kind, kind);
            Tree const before = DescribeTree(here);
            EXPECT_NO_THROW(MoveFile(At(here + "/" + kind), At(there + "/to"))) << kind;
            EXPECT_EQ(DescribeTree(here), before);
            EXPECT_EQ(DescribeTree(there), Tree());
        }
        // A user namespace knows no new devices.
        if (mknod((here + "/device").c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0) {
            EXPECT_NO_THROW(MoveFile(At(here + "/device"), At(there + "/to")));
            EXPECT_EQ(DescribeEntry(here + "/device"), "other");
            EXPECT_EQ(DescribeTree(there), Tree());
        }
    });
}

TEST(FileMovesAcrossTest, AFullDiskKeepsTheSourceWholeAndAPartOfTheCopy) {
    PrivateMachine::Run([] {
        SmallFileSystem const disk("/opt/disk", {.bytes = 32 * 1024});
        WriteWholeFile("/opt/from", std::string(40'000, 'x'));
        ExpectFileError<FileDiskFullError>(ENOSPC, "",
                                           [&] { MoveFile(At("/opt/from"), At(disk / "to")); });
        EXPECT_EQ(fs::file_size("/opt/from"), 40'000u);
        EXPECT_EQ(fs::file_size(disk / "to"), 32u * 1024u);
    });
}

TEST(FileMovesAcrossTest, AReadOnlyDiskOnEitherSideIsTold) {
    PrivateMachine::Run([] {
        SmallFileSystem disk("/opt/disk");
        MakeEntry("/opt/from", "file");
        MakeEntry(disk / "from", "file");
        disk.MakeReadOnly();
        ExpectFileError<FileIOError>(EROFS, On(disk / "to"),
                                     [&] { MoveFile(At("/opt/from"), At(disk / "to")); });
        EXPECT_EQ(DescribeEntry("/opt/from"), "file content");
        // The copy is there before the source turns out to stay.
        ExpectFileError<FileIOError>(EROFS, On(disk / "from"),
                                     [&] { MoveFile(At(disk / "from"), At("/opt/to")); });
        EXPECT_EQ(DescribeEntry(disk / "from"), "file content");
        EXPECT_EQ(DescribeEntry("/opt/to"), "file content");
    });
}

TEST(FileMovesAcrossTest, TheSourceStaysIfTheCopyCannotBeClosed) {
    AcrossFileSystems([](std::string const& here, std::string const& there) {
        MakeEntry(here + "/from", "file");
        SystemCalls calls;
        calls.Fail("close", EIO);
        ExpectFileError<FileIOError>(EIO, "",
                                     [&] { MoveFile(At(here + "/from"), At(there + "/to")); });
        EXPECT_EQ(calls.Count("unlink"), 0u);
        EXPECT_EQ(DescribeEntry(here + "/from"), "file content");
    });
}

TEST(FileMovesAcrossTest, ATreeCrossesAsACopy) {
    TemporaryDirectory const directory;
    AcrossFileSystems([&](std::string const& here, std::string const& there) {
        WriteWholeFile(directory / "outside", "of the tree");
        std::mt19937 random(7);
        fs::create_directory(here + "/from");
        MakeRandomTree(random, here + "/from", directory / "outside", 40);
        Tree const expected = DescribeTreeThroughLinks(here + "/from");
        MoveFile(At(here + "/from"), At(there + "/to"));
        EXPECT_EQ(DescribeTree(here), Tree());
        EXPECT_EQ(DescribeTree(there + "/to"), expected);
        EXPECT_EQ(DescribeEntry(directory / "outside"), "file of the tree");
    });
}

TEST(FileMovesAcrossTest, ATreeThatCannotBeCopiedStaysWhole) {
    AcrossFileSystems([](std::string const& here, std::string const& there) {
        fs::create_directory(here + "/from");
        MakeEntry(here + "/from/a", "file");
        MakeEntry(here + "/from/b", "broken link");
        MakeEntry(here + "/from/c", "file");
        Tree const before = DescribeTree(here);
        ExpectFileError<FileNotFoundError>(
            ENOENT, On(here + "/from/b"), [&] { MoveFile(At(here + "/from"), At(there + "/to")); });
        EXPECT_EQ(DescribeTree(here), before);
        EXPECT_EQ(DescribeTree(there), (Tree{{"to", "directory"}, {"to/a", "file content"}}));
    });
}

TEST(FileMovesAcrossTest, AFileOfATreeIsTriedEightTimes) {
    AcrossFileSystems([](std::string const& here, std::string const& there) {
        fs::create_directory(here + "/from");
        MakeEntry(here + "/from/fifo", "fifo");
        RecordedSleeps const sleeps;
        ExpectFileError<FileNotFoundError>(
            0, On(here + "/from/fifo"), [&] { MoveFile(At(here + "/from"), At(there + "/to")); });
        EXPECT_EQ(sleeps.TotalMicroseconds(), 2'032'000u);
        EXPECT_EQ(DescribeEntry(here + "/from/fifo"), "fifo");
    });
}

// Deliberate: the copy leaves the link out, and the deletion goes through it.
TEST(FileMovesAcrossTest, ALinkToADirectoryInATreeEndsTheMoveWithItsTargetEmptied) {
    AcrossFileSystems([](std::string const& here, std::string const& there) {
        MakeEntry(here + "/outside", "full directory");
        fs::create_directory(here + "/from");
        fs::create_symlink(here + "/outside", here + "/from/link");
        MakeEntry(here + "/from/other", "file");
        ExpectFileError<DirectoryNotFoundError>(ENOTDIR, On(here + "/from/link"), [&] {
            MoveFile(At(here + "/from"), At(there + "/to"));
        });
        EXPECT_EQ(DescribeTree(there), (Tree{{"to", "directory"}, {"to/other", "file content"}}));
        EXPECT_EQ(DescribeTree(here), (Tree{{"from", "directory"},
                                            {"from/link", "link to " + here + "/outside"},
                                            {"from/other", "file content"},
                                            {"outside", "directory"}}));
    });
}

// Deliberate: what it points at moves, and the link itself can't be removed as a directory.
TEST(FileMovesAcrossTest, ALinkToADirectoryCrossesByItsContent) {
    AcrossFileSystems([](std::string const& here, std::string const& there) {
        MakeEntry(here + "/from", "link to full directory");
        ExpectFileError<DirectoryNotFoundError>(
            ENOTDIR, On(here + "/from"), [&] { MoveFile(At(here + "/from"), At(there + "/to")); });
        EXPECT_EQ(DescribeTree(there), (Tree{{"to", "directory"}, {"to/inside", "file content"}}));
        EXPECT_EQ(DescribeTree(here), (Tree{{"from", "link to " + here + "/from-target"},
                                            {"from-target", "directory"}}));
    });
}

TEST(FileMovesAcrossTest, WhatVanishesOnItsWayToAnotherFileSystemHasNoInformation) {
    AcrossFileSystems([](std::string const& here, std::string const& there) {
        for (std::size_t const looks : {2u, 3u}) {
            MakeEntry(here + "/from", "directory");
            SystemCalls calls;
            calls.Before(
                "lstat", [&] { fs::remove(here + "/from"); }, looks);
            ExpectFileError<InvalidStats>(0, "",
                                          [&] { MoveFile(At(here + "/from"), At(there + "/to")); });
            EXPECT_EQ(DescribeTree(there), Tree());
        }
    });
}

TEST(FileMovesAcrossTest, AForcedMoveToAnotherFileSystemReplacesAFile) {
    AcrossFileSystems([](std::string const& here, std::string const& there) {
        WriteWholeFile(here + "/from", "new");
        WriteWholeFile(there + "/to", "old");
        ForceMoveFile(At(here + "/from"), At(there + "/to"));
        EXPECT_EQ(DescribeTree(here), Tree());
        EXPECT_EQ(DescribeTree(there), (Tree{{"to", "file new"}}));
    });
}

} // namespace
