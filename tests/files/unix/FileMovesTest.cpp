#include <map>

#include <sys/sysmacros.h>

#include "files/FileOperations.h"
#include "tests/files/FileTest.h"
#include "tests/files/RecordedSleeps.h"

namespace {

using Move = void (*)(FileLocation const&, FileLocation const&);

constexpr Move bothMoves[] = {MoveFile, ForceMoveFile};

class FileMovesTest : public FileTest {
protected:
    static ino_t NumberOf(std::string const& path) {
        struct stat stats = {};
        EXPECT_EQ(lstat(path.c_str(), &stats), 0);
        return stats.st_ino;
    }
};

TEST_F(FileMovesTest, EveryKindOfEntryIsRenamed) {
    for (std::string const& kind : everyKind)
        for (Move move : bothMoves) {
            SCOPED_TRACE(kind);
            MakeEntry(from, kind);
            Tree expected;
            for (auto const& [path, entry] : Everything())
                expected[path == "from"          ? "to"
                         : path == "from/inside" ? "to/inside"
                                                 : path] = entry;
            ino_t const number = NumberOf(from);
            move(At(from), At(to));
            EXPECT_EQ(Everything(), expected) << "a link stays a link";
            EXPECT_EQ(NumberOf(to), number);
            Clear();
        }
}

TEST_F(FileMovesTest, MissingSourceCannotBeMoved) {
    for (Move move : bothMoves) {
        EXPECT_EQ("FileNotFoundError" + On(from), ThrownBy(move, from, to));
        MakeEntry(to, "file");
        EXPECT_EQ("FileNotFoundError" + On(from), ThrownBy(move, from, to));
        EXPECT_EQ(Everything(), (Tree{{"to", "file content"}}));
        Clear();
    }
}

TEST_F(FileMovesTest, MoveFileRejectsAnExistingDestination) {
    ForEach(everyKind, [&](std::string const& kind) {
        MakeEntry(from, "file");
        Tree const before = Everything();
        for (std::string const& target : {directory / kind, from})
            EXPECT_EQ("FileFoundError" + On(target), ThrownBy(MoveFile, from, target));
        EXPECT_EQ(Everything(), before);
    });
}

// Deliberate: a failed rename is reported as a success.
TEST_F(FileMovesTest, FailedRenameReturnsAndMovesNothing) {
    MakeEntry(from, "full directory");
    MakeEntry(directory / "file", "file");
    Tree const before = Everything();
    for (std::string const& target : {std::string("missing/to"), std::string("file/to"),
                                      std::string("from/below"), std::string(256, 'x')})
        for (Move move : bothMoves)
            EXPECT_NO_THROW(move(At(from), Here(target)));
    SystemCalls calls;
    for (int error = 1; error <= EHWPOISON; ++error)
        if (error != EXDEV) {
            calls.Fail("rename", error);
            EXPECT_EQ("nothing", ThrownBy(MoveFile, from, to)) << error;
        }
    EXPECT_EQ(calls.Count("rename"), EHWPOISON - 1u);
    EXPECT_EQ(Everything(), before);
}

// Deliberate: the destination is removed before the rename, whose failure is not reported.
TEST_F(FileMovesTest, FailedForcedMoveHasRemovedItsDestination) {
    MakeEntry(from, "file");
    MakeEntry(to, "file");
    {
        SystemCalls calls;
        calls.Fail("rename", EACCES);
        EXPECT_EQ("nothing", ThrownBy(ForceMoveFile, from, to));
    }
    EXPECT_EQ(Everything(), (Tree{{"from", "file content"}}));
    EXPECT_EQ("FileNotFoundError" + On(from), ThrownBy(ForceMoveFile, from, from));
    EXPECT_EQ(Everything(), Tree()) << "a file that is moved over itself is lost";
}

// Each side is a regular file or not. If they differ and `from` is not a directory, the error names
// `to`, whatever its kind is. If they agree, the destination is removed first, if it can be.
TEST_F(FileMovesTest, ForcedMoveReplacesFilesByFilesAndEmptyDirectoriesByOthers) {
    std::map<std::string, std::string> const left = {
        {"full directory", "FileIOError ENOTEMPTY"},
        {"link to directory", "DirectoryNotFoundError ENOTDIR"},
        {"link to socket", "FileFoundError"},
        {"dangling link", "FileFoundError"},
        {"FIFO", "FileFoundError"},
        {"socket", "FileFoundError"}};
    for (std::string const& source : everyKind)
        for (std::string const& target : everyKind) {
            SCOPED_TRACE(source + ", " + target);
            MakeEntry(from, source);
            MakeEntry(to, target);
            Tree const before = Everything();
            ino_t const number = NumberOf(from);
            std::string expected = "nothing";
            if (IsRegularFileKind(source) != IsRegularFileKind(target))
                expected = "DirectoryFoundError" + On(fs::is_directory(from) ? from : to);
            else if (left.contains(target))
                expected = left.at(target) + On(to);
            EXPECT_EQ(expected, ThrownBy(ForceMoveFile, from, to));
            if (expected == "nothing") {
                EXPECT_EQ(NumberOf(to), number);
                EXPECT_EQ(DescribeEntry(from), "nothing");
            } else {
                EXPECT_EQ(Everything(), before);
            }
            Clear();
        }
}

// Lists every outcome of a move of which one side vanishes before a status call. It vanishes just
// before the rename, too, which then fails without an exception.
TEST_F(FileMovesTest, VanishingSideOfAForcedMoveIsMissingInvalidOrIgnored) {
    auto const outcomes = [&](std::string const& target, std::string const& victim) {
        auto const prepare = [&] {
            Clear();
            MakeEntry(from, "file");
            MakeEntry(to, target);
        };
        return OutcomesOfRaces(
            prepare, [&] { fs::remove(victim); },
            [&] { return ThrownBy(ForceMoveFile, from, to); });
    };
    std::string const missing = "FileNotFoundError" + On(from);
    EXPECT_THAT(outcomes("file", from), ElementsAre(missing, "InvalidStats", "nothing"));
    EXPECT_THAT(outcomes("file", to), ElementsAre("InvalidStats", "nothing"));
    EXPECT_THAT(outcomes("directory", from), ElementsAre(missing, "InvalidStats"));
}

// Moves to another file system.

// Runs the body with two directories on different file systems, in both directions, with the paths
// of the source and the destination.
void AcrossFileSystems(
    std::function<void(std::string const& from, std::string const& to)> const& body) {
    Sandbox::Run([&] {
        for (bool const back : {false, true}) {
            SmallFileSystem const one("/opt/one");
            SmallFileSystem const other("/opt/other");
            body((back ? one : other) / "from", (back ? other : one) / "to");
        }
    });
}

// The tree of the parent directory of an entry.
Tree Beside(std::string const& path) { return DescribeTree(fs::path(path).parent_path()); }

// The exception of the move.
std::string MoveThrows(std::string const& from, std::string const& to) {
    return ThrownBy(MoveFile, from, to);
}

TEST(FileMovesAcrossTest, FileIsMovedAsACopy) {
    Umask const umask(022);
    for (auto* const move : {MoveFile, ForceMoveFile})
        AcrossFileSystems([&](std::string const& from, std::string const& to) {
            std::string const content(100'000, 'x');
            WriteWholeFile(from, content);
            fs::permissions(from, fs::perms(0700));
            if (move == ForceMoveFile)
                WriteWholeFile(to, "old");
            move(At(from), At(to));
            EXPECT_EQ(Beside(from), Tree());
            EXPECT_TRUE(ReadWholeFile(to) == content);
            EXPECT_EQ(ModeOf(to), 0644u);
        });
}

// Deliberate: a link counts as its target, and entries that are neither files nor directories are
// silently kept. The target of a link to a directory is moved. Then the removal of the link as a
// directory fails.
TEST(FileMovesAcrossTest, EachKindIsMovedByTheKindOfItsTarget) {
    AcrossFileSystems([](std::string const& from, std::string const& to) {
        for (std::string const& kind : everyKind) {
            SCOPED_TRACE(kind);
            MakeEntry(from, kind);
            Tree left = Beside(from);
            Tree crossed;
            if (IsRegularFileKind(kind))
                crossed = {{"to", "file content"}};
            if (kind.ends_with("directory"))
                crossed = {{"to", "directory"}};
            if (kind == "full directory")
                crossed["to/inside"] = "file content";
            if (!crossed.empty() && kind != "link to directory") {
                left.erase("from");
                left.erase("from/inside");
            }
            EXPECT_EQ(kind == "link to directory" ? "DirectoryNotFoundError ENOTDIR" + On(from)
                                                  : "nothing",
                      MoveThrows(from, to));
            EXPECT_EQ(Beside(from), left);
            EXPECT_EQ(Beside(to), crossed);
            for (std::string const& path : {from, from + "-target", to})
                fs::remove_all(path);
        }
        MakeEntry(from, "link to full directory");
        EXPECT_EQ("DirectoryNotFoundError ENOTDIR" + On(from), MoveThrows(from, to));
        EXPECT_EQ(Beside(to), (Tree{{"to", "directory"}, {"to/inside", "file content"}}));
        EXPECT_TRUE(fs::is_empty(from + "-target"));
        // A user namespace cannot create devices.
        std::string const device = from + " device";
        if (mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0) {
            EXPECT_EQ("nothing", MoveThrows(device, to + " device"));
            EXPECT_EQ(DescribeEntry(device), "other");
        }
    });
}

TEST(FileMovesAcrossTest, FullOrReadOnlyDiskKeepsTheSource) {
    OnDisk({.bytes = 32 * 1024}, [](SmallFileSystem& disk) {
        std::string const content(40'000, 'x');
        WriteWholeFile("/opt/from", content);
        EXPECT_EQ("FileDiskFullError ENOSPC", MoveThrows("/opt/from", disk / "to"));
        EXPECT_TRUE(ReadWholeFile("/opt/from") == content);
        EXPECT_EQ(fs::file_size(disk / "to"), 32u * 1024u);
        WriteWholeFile(disk / "to", "");
        disk.MakeReadOnly();
        EXPECT_EQ("FileIOError EROFS" + On(disk / "new"), MoveThrows("/opt/from", disk / "new"));
        EXPECT_TRUE(ReadWholeFile("/opt/from") == content);
        // The copy is complete before the removal of the source fails.
        EXPECT_EQ("FileIOError EROFS" + On(disk / "to"), MoveThrows(disk / "to", "/opt/to"));
        EXPECT_EQ(DescribeEntry(disk / "to"), "file ");
        EXPECT_EQ(DescribeEntry("/opt/to"), "file ");
    });
}

// A dangling link stops the copy at once; an entry that cannot be copied stops it after eight
// attempts.
TEST(FileMovesAcrossTest, FailedTreeCopyKeepsTheWholeSource) {
    for (auto const& [kind, error] : std::vector<std::pair<std::string, std::string>>{
             {"dangling link", "FileNotFoundError ENOENT"}, {"FIFO", "FileNotFoundError"}})
        AcrossFileSystems(
            [&, &entry = kind, &expected = error](std::string const& from, std::string const& to) {
                fs::create_directory(from);
                MakeEntry(from + "/a", "file");
                MakeEntry(from + "/b", entry);
                MakeEntry(from + "/c", "file");
                Tree const before = Beside(from);
                RecordedSleeps const sleeps;
                EXPECT_EQ(expected + On(from + "/b"), MoveThrows(from, to));
                EXPECT_EQ(sleeps.TotalMicroseconds(), entry == "FIFO" ? 2'032'000u : 0u);
                EXPECT_EQ(Beside(from), before);
                EXPECT_EQ(Beside(to), (Tree{{"to", "directory"}, {"to/a", "file content"}}));
            });
}

// Deliberate: the copy omits the link, and the deletion follows it.
TEST(FileMovesAcrossTest, LinkInATreeEmptiesItsTargetAndEndsTheMove) {
    AcrossFileSystems([](std::string const& from, std::string const& to) {
        fs::create_directory(from);
        MakeEntry(from + "-target", "full directory");
        fs::create_symlink(from + "-target", from + "/link");
        MakeEntry(from + "/other", "file");
        EXPECT_EQ("DirectoryNotFoundError ENOTDIR" + On(from + "/link"), MoveThrows(from, to));
        EXPECT_EQ(Beside(to), (Tree{{"to", "directory"}, {"to/other", "file content"}}));
        EXPECT_EQ(Beside(from), (Tree{{"from", "directory"},
                                      {"from/link", "link to " + from + "-target"},
                                      {"from/other", "file content"},
                                      {"from-target", "directory"}}));
    });
}

// If the source vanishes before it is copied, the move fails as for a missing source, or with
// InvalidStats. If it vanishes later, the destination exists.
TEST(FileMovesAcrossTest, VanishingSourceIsMissingInvalidOrCopied) {
    AcrossFileSystems([](std::string const& from, std::string const& to) {
        for (std::string const kind : {"file", "directory"}) {
            // Empty if the destination exists.
            auto const move = [&] {
                std::string const thrown = MoveThrows(from, to);
                bool const isMoved = fs::exists(to);
                fs::remove(from);
                fs::remove(to);
                return isMoved ? "" : thrown;
            };
            std::string const missing =
                (kind == "file" ? "FileNotFoundError" : "DirectoryNotFoundError") + On(from);
            EXPECT_THAT(OutcomesOfRaces([&] { MakeEntry(from, kind); }, [&] { fs::remove(from); },
                                        move, "rename"),
                        ElementsAre("", missing, "InvalidStats"));
        }
    });
}

} // namespace
