#include "files/FileOperations.h"
#include "tests/files/FileTest.h"

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
TEST_F(FileMovesTest, ForcedMoveReplacesEntriesOfTheSameKind) {
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
TEST_F(FileMovesTest, VanishingSideOfAForcedMoveHasInvalidStats) {
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

} // namespace
