#include <cerrno>
#include <filesystem>
#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileTrees.h"
#include "tests/files/At.h"
#include "tests/files/Entries.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

using Delete = void (*)(FileLocation const&);

constexpr Delete bothDeletions[] = {DeleteRecursive, DeleteContents};

class FileDeletionsTest : public testing::Test {
protected:
    Tree Everything() const { return DescribeTree(directory.path()); }

    TemporaryDirectory directory;
    std::string const tree = directory / "tree";
};

TEST_F(FileDeletionsTest, NothingIsLeftOfATreeAndNothingOutsideIsTouched) {
    WriteWholeFile(directory / "outside", "content");
    for (unsigned int seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        fs::create_directory(tree);
        MakeRandomTree(random, tree, directory / "outside", 60);
        DeleteContents(At(tree));
        EXPECT_EQ(Everything(), (Tree{{"outside", "file content"}, {"tree", "directory"}}));
        MakeRandomTree(random, tree, directory / "outside", 60);
        DeleteRecursive(At(tree));
        EXPECT_EQ(Everything(), (Tree{{"outside", "file content"}}));
    }
}

TEST_F(FileDeletionsTest, NothingThereIsNoDirectory) {
    for (Delete remove : bothDeletions)
        ExpectFileError<DirectoryNotFoundError>(0, On(tree), [&] { remove(At(tree)); });
}

TEST_F(FileDeletionsTest, AnythingButADirectoryIsLeftAndOnlyOneOfTheTwoTells) {
    for (std::string const kind :
         {"file", "link to file", "link to socket", "broken link", "fifo", "socket"}) {
        SCOPED_TRACE(kind);
        MakeEntry(directory / kind, kind);
        Tree const before = Everything();
        ExpectFileError<DirectoryNotFoundError>(0, On(directory / kind),
                                                [&] { DeleteRecursive(At(directory / kind)); });
        EXPECT_NO_THROW(DeleteContents(At(directory / kind)));
        EXPECT_EQ(Everything(), before);
    }
}

TEST_F(FileDeletionsTest, ABrokenLinkStopsTheDeletionBehindWhatComesBeforeIt) {
    for (Delete remove : bothDeletions) {
        fs::create_directory(tree);
        MakeEntry(tree + "/a", "full directory");
        MakeEntry(tree + "/b", "file");
        MakeEntry(tree + "/c", "broken link");
        MakeEntry(tree + "/d", "file");
        ExpectFileError<FileNotFoundError>(ENOENT, On(tree + "/c"), [&] { remove(At(tree)); });
        EXPECT_EQ(DescribeTree(tree),
                  (Tree{{"c", "link to " + tree + "/c-target"}, {"d", "file content"}}));
        fs::remove_all(tree);
    }
}

TEST_F(FileDeletionsTest, ABrokenLinkDeepInATreeStopsAllOfIt) {
    fs::create_directories(tree + "/a/b");
    MakeEntry(tree + "/a/b/broken", "broken link");
    MakeEntry(tree + "/a/a", "file");
    MakeEntry(tree + "/b", "file");
    ExpectFileError<FileNotFoundError>(ENOENT, On(tree + "/a/b/broken"),
                                       [&] { DeleteRecursive(At(tree)); });
    EXPECT_EQ(DescribeTree(tree), (Tree{{"a", "directory"},
                                        {"a/b", "directory"},
                                        {"a/b/broken", "link to " + tree + "/a/b/broken-target"},
                                        {"b", "file content"}}));
}

// Deliberate: the deletion of a link's target breaks the link.
TEST_F(FileDeletionsTest, ALinkToAFileBeforeItInTheTreeStopsTheDeletion) {
    fs::create_directory(tree);
    WriteWholeFile(tree + "/a", "content");
    fs::create_symlink("a", tree + "/b");
    ExpectFileError<FileNotFoundError>(ENOENT, On(tree + "/b"), [&] { DeleteRecursive(At(tree)); });
    EXPECT_EQ(DescribeTree(tree), (Tree{{"b", "link to a"}}));

    WriteWholeFile(tree + "/c", "content");
    fs::remove(tree + "/b");
    fs::create_symlink("c", tree + "/b");
    DeleteRecursive(At(tree));
    EXPECT_EQ(Everything(), Tree()) << "the other way round it goes first";
}

// Deliberate: a link counts as what it points at.
TEST_F(FileDeletionsTest, ALinkToADirectoryIsEmptiedAndThenStopsTheDeletion) {
    MakeEntry(directory / "outside", "full directory");
    fs::create_directory(tree);
    MakeEntry(tree + "/a", "file");
    fs::create_symlink(directory / "outside", tree + "/b");
    MakeEntry(tree + "/c", "file");
    ExpectFileError<DirectoryNotFoundError>(ENOTDIR, On(tree + "/b"),
                                            [&] { DeleteRecursive(At(tree)); });
    EXPECT_EQ(Everything(), (Tree{{"outside", "directory"},
                                  {"tree", "directory"},
                                  {"tree/b", "link to " + directory / "outside"},
                                  {"tree/c", "file content"}}));
}

TEST_F(FileDeletionsTest, ALinkToADirectoryGivenDirectlyIsEmptiedToo) {
    MakeEntry(tree, "link to full directory");
    ExpectFileError<DirectoryNotFoundError>(ENOTDIR, On(tree), [&] { DeleteRecursive(At(tree)); });
    EXPECT_TRUE(fs::is_empty(tree + "-target"));
    MakeEntry(tree + "-target/inside", "file");
    DeleteContents(At(tree));
    EXPECT_TRUE(fs::is_empty(tree + "-target"));
}

// The system follows 40 links and takes the next one as broken.
TEST_F(FileDeletionsTest, ALinkToItsOwnDirectoryEndsAtTheSystemsLimit) {
    fs::create_directory(tree);
    MakeEntry(tree + "/a", "file");
    fs::create_symlink(".", tree + "/link");
    MakeEntry(tree + "/z", "file");
    std::string deepest = tree;
    for (int i = 0; i <= 40; ++i)
        deepest += "/link";
    ExpectFileError<FileIOError>(ELOOP, On(deepest), [&] { DeleteRecursive(At(tree)); });
    EXPECT_EQ(DescribeTree(tree), (Tree{{"link", "link to ."}, {"z", "file content"}}));
}

TEST_F(FileDeletionsTest, WhatIsNeitherFileNorDirectoryStaysAndKeepsItsDirectory) {
    for (std::string const kind : {"fifo", "socket", "link to socket"}) {
        fs::create_directory(tree);
        MakeEntry(tree + "/b", kind);
        MakeEntry(tree + "/a", "file");
        fs::remove(tree + "/b-target-target");
        Tree left = DescribeTree(tree);
        left.erase("a");
        EXPECT_NO_THROW(DeleteContents(At(tree)));
        EXPECT_EQ(DescribeTree(tree), left);
        ExpectFileError<FileIOError>(ENOTEMPTY, On(tree), [&] { DeleteRecursive(At(tree)); });
        EXPECT_EQ(DescribeTree(tree), left);
        fs::remove_all(tree);
    }
}

TEST_F(FileDeletionsTest, ADirectoryThatCannotBeReadFailsAtItsRemovalOnly) {
    PrivateMachine::Run([] {
        SmallFileSystem const disk("/opt/disk", {.mode = "0777"});
        MakeEntry(disk / "closed", "full directory");
        fs::permissions(disk / "closed", fs::perms(0333));
        PrivateMachine::DropPrivileges();
        EXPECT_NO_THROW(DeleteContents(At(disk / "closed")));
        ExpectFileError<FileIOError>(ENOTEMPTY, On(disk / "closed"),
                                     [&] { DeleteRecursive(At(disk / "closed")); });
        EXPECT_EQ(DescribeEntry(disk / "closed/inside"), "file content");
    });
}

TEST_F(FileDeletionsTest, WhatTheSystemRefusesStopsTheDeletion) {
    PrivateMachine::Run([] {
        SmallFileSystem disk("/opt/disk");
        MakeEntry(disk / "tree", "full directory");
        disk.MakeReadOnly();
        for (Delete remove : bothDeletions)
            ExpectFileError<FileIOError>(EROFS, On(disk / "tree/inside"),
                                         [&] { remove(At(disk / "tree")); });
        disk.MakeWritable();
        fs::permissions(disk / "tree", fs::perms(0555));
        PrivateMachine::DropPrivileges();
        for (Delete remove : bothDeletions)
            ExpectFileError<FilePermissionError>(EACCES, On(disk / "tree/inside"),
                                                 [&] { remove(At(disk / "tree")); });
    });
}

TEST_F(FileDeletionsTest, AnEntryThatVanishesBeforeItsTurnStopsTheDeletion) {
    for (Delete remove : bothDeletions) {
        fs::create_directory(tree);
        MakeEntry(tree + "/a", "file");
        MakeEntry(tree + "/b", "file");
        SystemCalls calls;
        calls.Before("unlink", [&] { fs::remove(tree + "/b"); });
        ExpectFileError<FileNotFoundError>(ENOENT, On(tree + "/b"), [&] { remove(At(tree)); });
        EXPECT_EQ(DescribeTree(tree), Tree());
        fs::remove(tree);
    }
}

TEST_F(FileDeletionsTest, AnEntryThatVanishesInItsTurnStopsNothing) {
    fs::create_directory(tree);
    MakeEntry(tree + "/a", "file");
    MakeEntry(tree + "/b", "file");
    SystemCalls calls;
    // The looks: at the tree, at the first entry, and at it again when it is forced away.
    calls.Before(
        "lstat", [&] { fs::remove(tree + "/a"); }, 2);
    DeleteRecursive(At(tree));
    EXPECT_EQ(Everything(), Tree());
}

} // namespace
