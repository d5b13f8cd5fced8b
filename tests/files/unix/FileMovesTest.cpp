#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileOperations.h"
#include "tests/files/At.h"
#include "tests/files/Entries.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/SystemCalls.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

using Move = void (*)(FileLocation const&, FileLocation const&);

constexpr Move bothMoves[] = {MoveFile, ForceMoveFile};

ino_t NumberOf(std::string const& path) {
    struct stat stats = {};
    EXPECT_EQ(lstat(path.c_str(), &stats), 0);
    return stats.st_ino;
}

class FileMovesTest : public testing::Test {
protected:
    FileLocation Here(std::string const& name) const { return At(directory / name); }

    Tree Everything() const { return DescribeTree(directory.path()); }

    TemporaryDirectory directory;
    std::string const from = directory / "from";
    std::string const to = directory / "to";
};

TEST_F(FileMovesTest, EveryEntryIsRenamedAsItIs) {
    for (std::string const& kind : everyKind)
        for (Move move : bothMoves) {
            SCOPED_TRACE(kind);
            MakeEntry(from, kind);
            Tree expected = Everything();
            expected["to"] = expected["from"];
            expected.erase("from");
            if (kind == "full directory") {
                expected["to/inside"] = expected["from/inside"];
                expected.erase("from/inside");
            }
            ino_t const number = NumberOf(from);
            move(At(from), At(to));
            EXPECT_EQ(Everything(), expected) << "a link stays a link";
            EXPECT_EQ(NumberOf(to), number);
            fs::remove_all(to);
            fs::remove_all(from + "-target");
        }
}

TEST_F(FileMovesTest, NothingCannotBeMoved) {
    for (Move move : bothMoves) {
        ExpectFileError<FileNotFoundError>(0, On(from), [&] { move(At(from), At(to)); });
        MakeEntry(to, "file");
        ExpectFileError<FileNotFoundError>(0, On(from), [&] { move(At(from), At(to)); });
        EXPECT_EQ(Everything(), (Tree{{"to", "file content"}}));
        fs::remove(to);
    }
}

TEST_F(FileMovesTest, MoveFileRefusesAnythingAtItsDestination) {
    MakeEntry(from, "file");
    for (std::string const& kind : everyKind) {
        SCOPED_TRACE(kind);
        MakeEntry(directory / kind, kind);
        Tree const before = Everything();
        ExpectFileError<FileFoundError>(0, On(directory / kind),
                                        [&] { MoveFile(At(from), Here(kind)); });
        EXPECT_EQ(Everything(), before);
    }
    ExpectFileError<FileFoundError>(0, On(from), [&] { MoveFile(At(from), At(from)); });
}

// Deliberate: a refused rename looks like a success.
TEST_F(FileMovesTest, ARefusedRenameReturnsAndMovesNothing) {
    MakeEntry(from, "full directory");
    MakeEntry(directory / "file", "file");
    Tree const before = Everything();
    for (Move move : bothMoves) {
        EXPECT_NO_THROW(move(At(from), Here("missing/to")));
        EXPECT_NO_THROW(move(At(from), Here("file/to")));
        EXPECT_NO_THROW(move(At(from), Here("from/into itself")));
        EXPECT_NO_THROW(move(At(from), Here(std::string(256, 'x'))));
    }
    EXPECT_EQ(Everything(), before);
}

TEST_F(FileMovesTest, EveryErrorNumberButOneIsSilent) {
    MakeEntry(from, "file");
    SystemCalls calls;
    for (int error = 1; error <= 133; ++error) {
        if (error == EXDEV)
            continue;
        calls.Fail("rename", error);
        EXPECT_NO_THROW(MoveFile(At(from), At(to))) << error;
    }
    EXPECT_EQ(calls.Count("rename"), 132u);
    EXPECT_EQ(DescribeEntry(from), "file content");
    EXPECT_EQ(DescribeEntry(to), "nothing");
}

TEST_F(FileMovesTest, WhoLacksRightsMovesNothingAndIsNotTold) {
    PrivateMachine::Run([] {
        SmallFileSystem disk("/opt/disk");
        std::string const file = disk / "file";
        MakeEntry(file, "file");
        disk.MakeReadOnly();
        EXPECT_NO_THROW(MoveFile(At(file), At(disk / "to")));
        disk.MakeWritable();
        fs::permissions(disk.path(), fs::perms(0555));
        PrivateMachine::DropPrivileges();
        EXPECT_NO_THROW(MoveFile(At(file), At(disk / "to")));
        EXPECT_EQ(DescribeTree(disk.path()), (Tree{{"file", "file content"}}));
    });
}

// Deliberate: the way is cleared before the rename, whose refusal is silent.
TEST_F(FileMovesTest, ARefusedForcedMoveHasDeletedItsDestination) {
    PrivateMachine::Run([] {
        SmallFileSystem const disk("/opt/disk", {.mode = "0777"});
        fs::create_directory(disk / "closed");
        MakeEntry(disk / "closed/from", "file");
        MakeEntry(disk / "to", "file");
        fs::permissions(disk / "closed", fs::perms(0555));
        PrivateMachine::DropPrivileges();
        EXPECT_NO_THROW(ForceMoveFile(At(disk / "closed/from"), At(disk / "to")));
        EXPECT_EQ(DescribeTree(disk.path()),
                  (Tree{{"closed", "directory"}, {"closed/from", "file content"}}));
    });
}

TEST_F(FileMovesTest, AForcedMoveReplacesARegularFileAndAnEmptyDirectory) {
    struct Pair {
        std::string from, to;
    };
    for (auto const& [source, target] : std::vector<Pair>{{"file", "file"},
                                                          {"file", "link to file"},
                                                          {"link to file", "file"},
                                                          {"directory", "directory"},
                                                          {"full directory", "directory"},
                                                          {"link to directory", "directory"},
                                                          {"broken link", "directory"},
                                                          {"fifo", "directory"}}) {
        SCOPED_TRACE(source + ", " + target);
        MakeEntry(from, source);
        MakeEntry(to, target);
        ino_t const number = NumberOf(from);
        ForceMoveFile(At(from), At(to));
        EXPECT_EQ(NumberOf(to), number);
        EXPECT_EQ(DescribeEntry(from), "nothing");
        for (std::string const& path : {to, from + "-target", to + "-target"})
            fs::remove_all(path);
    }
}

// Each side counts as a regular file or as none.
TEST_F(FileMovesTest, AForcedMoveBetweenTheKindsNamesASideThatMayBeADirectory) {
    for (std::string const& source : everyKind)
        for (std::string const& target : everyKind) {
            if (IsRegularFileKind(source) == IsRegularFileKind(target))
                continue;
            SCOPED_TRACE(source + ", " + target);
            MakeEntry(from, source);
            MakeEntry(to, target);
            Tree const before = Everything();
            // Deliberate: where `from` is no directory, `to` is named, whatever it is.
            bool const namesFrom = fs::is_directory(from);
            ExpectFileError<DirectoryFoundError>(0, On(namesFrom ? from : to),
                                                 [&] { ForceMoveFile(At(from), At(to)); });
            EXPECT_EQ(Everything(), before);
            for (std::string const& path : {from, to, from + "-target", to + "-target"})
                fs::remove_all(path);
        }
}

TEST_F(FileMovesTest, AForcedMoveEndsWhereSomethingStays) {
    MakeEntry(from, "directory");
    for (std::string const kind : {"full directory", "link to directory", "link to socket",
                                   "broken link", "fifo", "socket"}) {
        SCOPED_TRACE(kind);
        MakeEntry(directory / kind, kind);
        Tree const before = Everything();
        std::string const on = On(directory / kind);
        auto const move = [&] {
            ForceMoveFile(At(from), Here(kind));
        };
        if (kind == "full directory")
            ExpectFileError<FileIOError>(ENOTEMPTY, on, move);
        else if (kind == "link to directory")
            ExpectFileError<DirectoryNotFoundError>(ENOTDIR, on, move);
        else
            ExpectFileError<FileFoundError>(0, on, move);
        EXPECT_EQ(Everything(), before);
    }
}

// Deliberate: as for any destination of the same kind, the way is cleared first.
TEST_F(FileMovesTest, AFileThatIsMovedOverItselfIsLost) {
    MakeEntry(from, "file");
    ExpectFileError<FileNotFoundError>(0, On(from), [&] { ForceMoveFile(At(from), At(from)); });
    EXPECT_EQ(Everything(), Tree());
}

TEST_F(FileMovesTest, AForcedMoveLooksAtBothTwiceAndThenClearsAndMoves) {
    MakeEntry(from, "file");
    MakeEntry(to, "file");
    SystemCalls calls;
    ForceMoveFile(At(from), At(to));
    EXPECT_THAT(calls.Log(),
                ElementsAre("lstat " + from, "lstat " + to, "lstat " + from, "lstat " + to,
                            "lstat " + to, "unlink " + to, "lstat " + from, "lstat " + to,
                            "rename " + from + " " + to));
}

TEST_F(FileMovesTest, WhatVanishesDuringAForcedMoveHasNoInformation) {
    struct Case {
        std::string source, target, victim;
        std::size_t looks;
    };
    for (Case const& vanishing : std::vector<Case>{
             {"file", "file", from, 2}, {"file", "file", to, 3}, {"file", "directory", from, 4}}) {
        MakeEntry(from, vanishing.source);
        MakeEntry(to, vanishing.target);
        SystemCalls calls;
        calls.Before(
            "lstat", [&] { fs::remove(vanishing.victim); }, vanishing.looks);
        ExpectFileError<InvalidStats>(0, "", [&] { ForceMoveFile(At(from), At(to)); });
        fs::remove(from);
        fs::remove(to);
    }
}

} // namespace
