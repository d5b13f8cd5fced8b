#include "files/FileTrees.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "tests/files/At.h"
#include "tests/files/Entries.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/RecordedSleeps.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/SmallStack.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

constexpr std::size_t smallStack = 256 * 1024;
// What the system takes as a path, without the NUL.
constexpr std::size_t maxPathLength = 4095;

// `parent` with as many components below it as the length allows.
std::string DeepPath(std::string const& parent, std::string const& component, std::size_t length) {
    std::string path = parent;
    while (path.size() + component.size() <= length)
        path += component;
    return path;
}

class FileTreesTest : public testing::Test {
protected:
    FileLocation Here(std::string const& name) const { return At(directory / name); }

    void Copy() const { CopyDirectoryContents(At(from), At(to)); }

    TemporaryDirectory directory;
    std::string const from = directory / "from";
    std::string const to = directory / "to";
};

TEST_F(FileTreesTest, AnEmptyLocationIsRefused) {
    FileLocation const none;
    fs::create_directory(from);
    for (auto const& call : std::vector<std::function<void()>>{
             [&] { CreateDirectoryTree(none); },
             [&] { CopyDirectoryContents(none, At(to)); },
             [&] { CopyDirectoryContents(At(from), none); },
             [&] { CopyDirectoryContents(At(to), none); },
             [&] { DeleteRecursive(none); },
             [&] { DeleteContents(none); },
             [&] { ForceDeleteRecursive(none); },
             [&] { ForceDeleteContents(none); },
         })
        ExpectFileError<EmptyFileLocationError>(0, "", call);
}

TEST_F(FileTreesTest, ATreeIsCreatedWithAllItsParents) {
    mode_t const before = umask(022);
    CreateDirectoryTree(Here("a/b/c"));
    umask(before);
    EXPECT_EQ(DescribeTree(directory.path()),
              (Tree{{"a", "directory"}, {"a/b", "directory"}, {"a/b/c", "directory"}}));
    for (std::string const path : {"a", "a/b", "a/b/c"})
        EXPECT_EQ(ModeOf(directory / path), 0755u);
}

TEST_F(FileTreesTest, ATreeThatExistsIsLeftAsItIs) {
    MakeEntry(directory / "full", "full directory");
    MakeEntry(directory / "link", "link to directory");
    Tree const before = DescribeTree(directory.path());
    SystemCalls calls;
    for (std::string const& path : {directory / "full", directory / "link", std::string("/")}) {
        calls.Clear();
        CreateDirectoryTree(At(path));
        EXPECT_EQ(calls.Log().front(), "lstat " + path);
        EXPECT_EQ(calls.Count("mkdir"), 0u);
    }
    EXPECT_EQ(DescribeTree(directory.path()), before);
}

TEST_F(FileTreesTest, ATreeIsLookedForUpwardsAndCreatedDownwards) {
    std::string const a = directory / "a";
    std::string const b = a + "/b";
    SystemCalls calls;
    CreateDirectoryTree(At(b));
    EXPECT_THAT(calls.Log(),
                ElementsAre("lstat " + b, "lstat " + a, "lstat " + directory.path(), "lstat " + a,
                            "mkdir " + a + " 777", "lstat " + b, "mkdir " + b + " 777"));
}

TEST_F(FileTreesTest, ARootThatCannotBeExaminedIsTheLastToBeLookedFor) {
    SystemCalls calls;
    calls.Fail("lstat", EIO);
    CreateDirectoryTree(At("/"));
    EXPECT_THAT(calls.Log(), ElementsAre("lstat /", "lstat /"));
}

TEST_F(FileTreesTest, ATreeIsCreatedThroughALink) {
    MakeEntry(directory / "link", "link to directory");
    CreateDirectoryTree(Here("link/a"));
    EXPECT_EQ(DescribeEntry(directory / "link-target/a"), "directory");
}

TEST_F(FileTreesTest, WhatStandsOnTheWayOfATreeIsNamed) {
    for (std::string const kind :
         {"file", "link to file", "link to socket", "broken link", "fifo", "socket"}) {
        MakeEntry(directory / kind, kind);
        std::string const on = On(directory / kind);
        Tree const before = DescribeTree(directory.path());
        for (std::string const below : {"", "/a", "/a/b"})
            ExpectFileError<FileFoundError>(0, on,
                                            [&] { CreateDirectoryTree(Here(kind + below)); });
        EXPECT_EQ(DescribeTree(directory.path()), before);
    }
}

TEST_F(FileTreesTest, DoubledSlashesAreNoLevelsOfTheirOwn) {
    CreateDirectoryTree(At("/" + directory.path() + "//a///b//"));
    EXPECT_EQ(DescribeEntry(directory / "a/b"), "directory");
}

TEST_F(FileTreesTest, ARelativeTreeEndsAtItsFirstComponent) {
    OtherProcess process([&] {
        ASSERT_EQ(chdir(directory.path().c_str()), 0);
        fs::create_directory("here");
        CreateDirectoryTree(At("here"));
        CreateDirectoryTree(At("here/a/b"));
        EXPECT_EQ(DescribeEntry("here/a/b"), "directory");
        for (std::string const path : {"missing", "missing/a", "missing/a/b"})
            ExpectFileError<InvalidFileLocation>(0, On("missing"),
                                                 [&] { CreateDirectoryTree(At(path)); });
        EXPECT_EQ(DescribeEntry("missing"), "nothing");
    });
    EXPECT_EQ(process.Wait(), ExitStatus::Exited(0));
}

TEST_F(FileTreesTest, ATreeThatTheSystemRefusesNamesTheLevelAndKeepsThoseAbove) {
    std::string const tooLong = directory / ("a/" + std::string(256, 'x'));
    ExpectFileError<DirectoryNotFoundError>(ENAMETOOLONG, On(tooLong),
                                            [&] { CreateDirectoryTree(At(tooLong + "/b")); });
    EXPECT_EQ(DescribeTree(directory.path()), (Tree{{"a", "directory"}}));
    PrivateMachine::Run([] {
        SmallFileSystem const disk("/opt/disk", {.inodes = 2});
        ExpectFileError<FileIOError>(ENOSPC, On(disk / "a/b"),
                                     [&] { CreateDirectoryTree(At(disk / "a/b/c")); });
        fs::permissions(disk.path(), fs::perms(0555));
        PrivateMachine::DropPrivileges();
        ExpectFileError<FilePermissionError>(EACCES, On(disk / "x"),
                                             [&] { CreateDirectoryTree(At(disk / "x/y")); });
    });
}

// A recursion would need a level of the stack for each of 100,000 components.
TEST_F(FileTreesTest, AHugePathFailsWhereTheSystemsLimitIsWithoutADeepStack) {
    PrivateMachine::Run([] {
        std::string const path = DeepPath("/opt/deep", "/a", 200'000);
        std::string const last = DeepPath("/opt/deep", "/a", maxPathLength);
        std::string const refused = last + "/a";
        RunOnSmallStack(smallStack, [&] {
            ExpectFileError<DirectoryNotFoundError>(ENAMETOOLONG, On(refused),
                                                    [&] { CreateDirectoryTree(At(path)); });
            EXPECT_EQ(DescribeEntry(last), "directory");
            CreateDirectoryTree(At(last));
            DeleteRecursive(At("/opt/deep"));
            EXPECT_EQ(DescribeEntry("/opt/deep"), "nothing");
        });
    });
}

TEST_F(FileTreesTest, ATreeAsDeepAsPathsCanBeIsCopiedAndDeletedWithoutADeepStack) {
    PrivateMachine::Run([] {
        // 580 levels: deep enough to fill the stack, and soon done.
        std::string const deepest = DeepPath("/opt/from", "/abcdef", maxPathLength - 5);
        fs::create_directories(deepest);
        WriteWholeFile(deepest + "/file", "content");
        RunOnSmallStack(smallStack, [&] {
            CopyDirectoryContents(At("/opt/from"), At("/opt/copy"));
            std::string const copied =
                "/opt/copy" + deepest.substr(std::string("/opt/from").size());
            EXPECT_EQ(DescribeEntry(copied + "/file"), "file content");
            DeleteContents(At("/opt/copy"));
            EXPECT_TRUE(fs::is_empty("/opt/copy"));
            EXPECT_EQ(DescribeEntry(deepest + "/file"), "file content");
        });
    });
}

TEST_F(FileTreesTest, ACopyHasAllFilesAndDirectories) {
    WriteWholeFile(directory / "outside", "of the tree");
    for (unsigned int seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        fs::create_directory(from);
        MakeRandomTree(random, from, directory / "outside", 40);
        Tree const expected = DescribeTreeThroughLinks(from);
        Tree const source = DescribeTree(from);
        std::string const target = directory / ("copies/" + std::to_string(seed));
        CopyDirectoryContents(At(from), At(target));
        EXPECT_EQ(DescribeTree(target), expected);
        EXPECT_EQ(DescribeTree(from), source);
        fs::remove_all(from);
    }
}

TEST_F(FileTreesTest, OnlyADirectoryHasContentsToCopy) {
    for (std::string const& kind : everyKind) {
        SCOPED_TRACE(kind);
        MakeEntry(from, kind);
        if (fs::is_directory(from)) {
            EXPECT_NO_THROW(Copy());
            EXPECT_EQ(DescribeEntry(to), "directory");
        } else {
            ExpectFileError<DirectoryNotFoundError>(0, On(from), [&] { Copy(); });
            EXPECT_EQ(DescribeEntry(to), "nothing");
        }
        for (std::string const& path : {from, from + "-target", to})
            fs::remove_all(path);
    }
    ExpectFileError<DirectoryNotFoundError>(0, On(from), [&] { Copy(); });
}

TEST_F(FileTreesTest, ADirectoryThatVanishesBetweenTwoLooksHasNoInformation) {
    fs::create_directory(from);
    SystemCalls calls;
    calls.Before(
        "lstat", [&] { fs::remove(from); }, 1);
    ExpectFileError<InvalidStats>(0, "", [&] { Copy(); });
    EXPECT_EQ(DescribeEntry(to), "nothing");
}

TEST_F(FileTreesTest, AnEntryThatVanishesBeforeItsTurnStopsTheCopy) {
    MakeEntry(from, "full directory");
    SystemCalls calls;
    std::size_t const looksBeforeTheEntries = 6; // `from` twice, `to` and its parent, `to` again.
    calls.Before(
        "lstat", [&] { fs::remove(from + "/inside"); }, looksBeforeTheEntries - 1);
    ExpectFileError<FileNotFoundError>(ENOENT, On(from + "/inside"), [&] { Copy(); });
    EXPECT_EQ(DescribeEntry(to), "directory");
}

TEST_F(FileTreesTest, ACopyJoinsWhatIsThere) {
    MakeEntry(from, "full directory");
    MakeEntry(from + "/below", "full directory");
    fs::create_directories(to + "/below");
    WriteWholeFile(to + "/below/other", "stays");
    Copy();
    EXPECT_EQ(DescribeTree(to), (Tree{{"below", "directory"},
                                      {"below/inside", "file content"},
                                      {"below/other", "file stays"},
                                      {"inside", "file content"}}));
}

TEST_F(FileTreesTest, AFileThatExistsEndsTheCopyAfterEightAttemptsWithWhatIsDone) {
    fs::create_directory(from);
    for (std::string const name : {"a", "b", "c"})
        WriteWholeFile(from + "/" + name, "new");
    fs::create_directory(to);
    WriteWholeFile(to + "/b", "old");
    RecordedSleeps const sleeps;
    ExpectFileError<FileExistsError>(0, On(to + "/b"), [&] { Copy(); });
    EXPECT_EQ(sleeps.TotalMicroseconds(), 2'032'000u);
    EXPECT_EQ(DescribeTree(to), (Tree{{"a", "file new"}, {"b", "file old"}}));
}

TEST_F(FileTreesTest, AnythingInTheWayOfADirectoryEndsTheCopy) {
    fs::create_directories(from + "/below");
    fs::create_directory(to);
    WriteWholeFile(to + "/below", "in the way");
    ExpectFileError<FileFoundError>(0, On(to + "/below"), [&] { Copy(); });
}

TEST_F(FileTreesTest, AnEntryThatCannotBeCopiedEndsTheCopyAfterEightAttempts) {
    for (std::string const kind : {"fifo", "socket", "link to socket"}) {
        SCOPED_TRACE(kind);
        fs::create_directory(from);
        MakeEntry(from + "/b", kind);
        WriteWholeFile(from + "/a", "content");
        RecordedSleeps const sleeps;
        ExpectFileError<FileNotFoundError>(0, On(from + "/b"), [&] { Copy(); });
        EXPECT_EQ(sleeps.TotalMicroseconds(), 2'032'000u);
        EXPECT_EQ(DescribeTree(to), (Tree{{"a", "file content"}}));
        fs::remove_all(from);
        fs::remove_all(to);
    }
}

// The loop over the directory stops at it, so nothing is tried again.
TEST_F(FileTreesTest, ABrokenLinkStopsTheCopyBehindWhatComesBeforeIt) {
    fs::create_directory(from);
    MakeEntry(from + "/a", "full directory");
    MakeEntry(from + "/b", "broken link");
    MakeEntry(from + "/c", "file");
    RecordedSleeps const sleeps;
    ExpectFileError<FileNotFoundError>(ENOENT, On(from + "/b"), [&] { Copy(); });
    EXPECT_THAT(sleeps.Calls(), ElementsAre());
    EXPECT_EQ(DescribeTree(to), (Tree{{"a", "directory"}, {"a/inside", "file content"}}));
}

// Deliberate.
TEST_F(FileTreesTest, ALinkToADirectoryIsLeftOutInSilence) {
    fs::create_directory(from);
    MakeEntry(directory / "outside", "full directory");
    fs::create_symlink(directory / "outside", from + "/a");
    WriteWholeFile(from + "/b", "content");
    Copy();
    EXPECT_EQ(DescribeTree(to), (Tree{{"b", "file content"}}));
}

TEST_F(FileTreesTest, ADirectoryThatCannotBeReadIsCopiedAsAnEmptyOne) {
    PrivateMachine::Run([] {
        SmallFileSystem const disk("/opt/disk", {.mode = "0777"});
        fs::create_directory(disk / "from");
        MakeEntry(disk / "from/closed", "full directory");
        fs::permissions(disk / "from/closed", fs::perms(0));
        PrivateMachine::DropPrivileges();
        CopyDirectoryContents(At(disk / "from"), At(disk / "to"));
        EXPECT_EQ(DescribeTree(disk / "to"), (Tree{{"closed", "directory"}}));
    });
}

TEST_F(FileTreesTest, AFullDiskEndsTheCopyWithWhatIsDone) {
    PrivateMachine::Run([] {
        SmallFileSystem const disk("/opt/disk", {.bytes = 64 * 1024});
        fs::create_directory("/opt/from");
        WriteWholeFile("/opt/from/a", std::string(40'000, 'x'));
        WriteWholeFile("/opt/from/b", std::string(40'000, 'x'));
        RecordedSleeps const sleeps;
        // The first attempt left a part of it, which the others find.
        ExpectFileError<FileExistsError>(
            0, On(disk / "b"), [&] { CopyDirectoryContents(At("/opt/from"), At(disk.path())); });
        EXPECT_EQ(fs::file_size(disk / "a"), 40'000u);
        EXPECT_EQ(fs::file_size(disk / "b"), 6u * 4096u);
        EXPECT_EQ(fs::file_size("/opt/from/b"), 40'000u);
    });
}

// Deliberate: the copy is found by the walk, as long as the system takes the path.
TEST_F(FileTreesTest, ACopyIntoItselfEndsAtTheLongestPath) {
    PrivateMachine::Run([] {
        std::string const name(250, 'x');
        fs::create_directory("/opt/from");
        std::string const last = DeepPath("/opt/from", "/" + name, maxPathLength) + "/" + name;
        ExpectFileError<DirectoryNotFoundError>(ENAMETOOLONG, On(last), [&] {
            CopyDirectoryContents(At("/opt/from"), At("/opt/from/" + name));
        });
    });
}

TEST_F(FileTreesTest, TheForcedDeletionsTakeNothingAsDone) {
    EXPECT_NO_THROW(ForceDeleteRecursive(At(from)));
    EXPECT_NO_THROW(ForceDeleteContents(At(from)));
    MakeEntry(from, "full directory");
    ForceDeleteContents(At(from));
    EXPECT_EQ(DescribeTree(directory.path()), (Tree{{"from", "directory"}}));
    ForceDeleteRecursive(At(from));
    EXPECT_EQ(DescribeTree(directory.path()), Tree());
}

TEST_F(FileTreesTest, TheForcedDeletionsTakeAnythingElseAsTheOthersDo) {
    for (std::string const kind : {"file", "broken link", "fifo"}) {
        MakeEntry(from, kind);
        ExpectFileError<DirectoryNotFoundError>(0, On(from),
                                                [&] { ForceDeleteRecursive(At(from)); });
        EXPECT_NO_THROW(ForceDeleteContents(At(from)));
        EXPECT_NE(DescribeEntry(from), "nothing");
        fs::remove(from);
    }
}

} // namespace
