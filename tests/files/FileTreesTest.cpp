#include "files/FileTrees.h"

#include "tests/files/FileTest.h"
#include "tests/files/RecordedSleeps.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/SmallStack.h"

namespace {

constexpr std::size_t smallStack = 256 * 1024;
// The longest path that the system accepts, without the NUL.
constexpr std::size_t maxPathLength = 4095;

// Appends as many components to `parent` as the length allows.
std::string DeepPath(std::string const& parent, std::string const& component, std::size_t length) {
    std::string path = parent;
    while (path.size() + component.size() <= length)
        path += component;
    return path;
}

// The exception of the creation of a tree.
std::string TreeThrows(std::string const& path) { return ThrownBy(CreateDirectoryTree, path); }

class FileTreesTest : public FileTest {
protected:
    // The exception of the copy.
    std::string CopyThrows() const { return ThrownBy(CopyDirectoryContents, from, to); }
};

TEST_F(FileTreesTest, CreatesATreeWithAllItsParents) {
    Umask const umask(022);
    CreateDirectoryTree(At("/" + directory.path() + "//a///b//c//"));
    EXPECT_EQ(Everything(),
              (Tree{{"a", "directory"}, {"a/b", "directory"}, {"a/b/c", "directory"}}));
    for (std::string const path : {"a", "a/b", "a/b/c"})
        EXPECT_EQ(ModeOf(directory / path), 0755u);
    MakeEntry(directory / "link", "link to directory");
    CreateDirectoryTree(Here("link/a"));
    EXPECT_EQ(DescribeEntry(directory / "link-target/a"), "directory");
    Tree const before = Everything();
    SystemCalls calls;
    for (std::string const& path : {directory / "a/b", directory / "link", std::string("/")})
        EXPECT_EQ("nothing", TreeThrows(path));
    EXPECT_EQ(calls.Count("mkdir"), 0u) << "existing directories are kept";
    EXPECT_EQ(Everything(), before);
}

// The root is examined last.
TEST_F(FileTreesTest, RootIsExaminedAgainIfTheFirstExaminationFails) {
    SystemCalls calls;
    calls.Fail("lstat", EIO);
    EXPECT_EQ("nothing", TreeThrows("/"));
}

TEST_F(FileTreesTest, ErrorNamesTheEntryThatObstructsATree) {
    ForEach({"file", "link to file", "link to socket", "dangling link", "FIFO", "socket"},
            [&](std::string const& kind) {
                Tree const before = Everything();
                for (std::string const below : {"", "/a", "/a/b"})
                    EXPECT_EQ("FileFoundError" + On(directory / kind),
                              TreeThrows(directory / kind + below));
                EXPECT_EQ(Everything(), before);
            });
}

TEST_F(FileTreesTest, RelativePathStopsAtItsFirstComponent) {
    OtherProcess process([&] {
        ASSERT_EQ(chdir(directory.path().c_str()), 0);
        fs::create_directory("here");
        EXPECT_EQ("nothing", TreeThrows("here"));
        EXPECT_EQ("nothing", TreeThrows("here/a/b"));
        EXPECT_EQ(DescribeEntry("here/a/b"), "directory");
        for (std::string const path : {"missing", "missing/a", "missing/a/b"})
            EXPECT_EQ("InvalidFileLocation" + On("missing"), TreeThrows(path));
        EXPECT_EQ(DescribeEntry("missing"), "nothing");
    });
    EXPECT_EQ(process.Wait(), ExitStatus::Exited(0));
}

TEST_F(FileTreesTest, FailedTreeCreationKeepsTheUpperLevels) {
    std::string const tooLong = directory / ("a/" + std::string(256, 'x'));
    EXPECT_EQ("DirectoryNotFoundError ENAMETOOLONG" + On(tooLong), TreeThrows(tooLong + "/b"));
    EXPECT_EQ(Everything(), (Tree{{"a", "directory"}}));
    SystemCalls calls;
    calls.Fail("mkdir", ENOSPC, 1);
    EXPECT_EQ("FileIOError ENOSPC" + On(directory / "b/c"), TreeThrows(directory / "b/c/d"));
    EXPECT_EQ(Everything(), (Tree{{"a", "directory"}, {"b", "directory"}}));
}

// Recursion would use a stack frame for each of the 100,000 components.
TEST_F(FileTreesTest, HugePathFailsAtTheLimitOfTheSystemWithoutRecursion) {
    Sandbox::Run([] {
        std::string const path = DeepPath("/opt/deep", "/a", 200'000);
        std::string const last = DeepPath("/opt/deep", "/a", maxPathLength);
        RunOnSmallStack(smallStack, [&] {
            EXPECT_EQ("DirectoryNotFoundError ENAMETOOLONG" + On(last + "/a"), TreeThrows(path));
            EXPECT_EQ(DescribeEntry(last), "directory");
            EXPECT_EQ("nothing", TreeThrows(last));
            DeleteRecursive(At("/opt/deep"));
            EXPECT_EQ(DescribeEntry("/opt/deep"), "nothing");
        });
    });
}

TEST_F(FileTreesTest, CopiesAndDeletesADeepTreeWithoutRecursion) {
    Sandbox::Run([] {
        // 580 levels are enough to overflow the stack if the code is recursive, and take little
        // time.
        std::string const deepest = DeepPath("", "/abcdef", maxPathLength - 14);
        fs::create_directories("/opt/from" + deepest);
        WriteWholeFile("/opt/from" + deepest + "/file", "content");
        RunOnSmallStack(smallStack, [&] {
            CopyDirectoryContents(At("/opt/from"), At("/opt/copy"));
            EXPECT_EQ(DescribeEntry("/opt/copy" + deepest + "/file"), "file content");
            DeleteContents(At("/opt/copy"));
            EXPECT_TRUE(fs::is_empty("/opt/copy"));
            EXPECT_EQ(DescribeEntry("/opt/from" + deepest + "/file"), "file content");
        });
    });
}

TEST_F(FileTreesTest, CopyHasAllFilesAndDirectories) {
    WriteWholeFile(directory / "outside", "of the tree");
    for (unsigned int seed = 1; seed <= 5; ++seed) {
        std::mt19937 random(seed);
        fs::create_directory(from);
        MakeRandomTree(random, from, directory / "outside", 40);
        Tree const expected = DescribeTreeThroughLinks(from);
        Tree const source = DescribeTree(from);
        std::string const target = directory / ("copies/" + std::to_string(seed));
        CopyDirectoryContents(At(from), At(target));
        EXPECT_EQ(DescribeTree(target), expected) << seed;
        EXPECT_EQ(DescribeTree(from), source) << seed;
        fs::remove_all(from);
    }
}

TEST_F(FileTreesTest, OnlyDirectoriesCanBeCopiedAsTrees) {
    EXPECT_EQ("DirectoryNotFoundError" + On(from), CopyThrows());
    for (std::string const& kind : everyKind) {
        MakeEntry(from, kind);
        bool const isCopied = fs::is_directory(from);
        EXPECT_EQ(isCopied ? "nothing" : "DirectoryNotFoundError" + On(from), CopyThrows()) << kind;
        EXPECT_EQ(DescribeEntry(to), isCopied ? "directory" : "nothing");
        Clear();
    }
}

// The directory vanishes before each call of lstat in turn. Either the copy is that of an empty
// directory, or it fails before it creates the target: as for a missing source, or with
// InvalidStats.
TEST_F(FileTreesTest, CopyOfVanishingDirectoryIsEmptyOrFails) {
    auto const copy = [&] {
        std::string const thrown = CopyThrows();
        EXPECT_EQ(thrown == "nothing", fs::exists(to)) << thrown;
        Clear();
        return thrown;
    };
    EXPECT_THAT(
        OutcomesOfRaces([&] { fs::create_directory(from); }, [&] { fs::remove(from); }, copy),
        ElementsAre("DirectoryNotFoundError" + On(from), "InvalidStats", "nothing"));
}

TEST_F(FileTreesTest, EntryThatVanishesBeforeItIsExaminedStopsTheCopy) {
    MakeEntry(from, "full directory");
    SystemCalls calls;
    calls.Before("scandir", [&] { calls.Before("lstat", [&] { fs::remove(from + "/inside"); }); });
    EXPECT_EQ("FileNotFoundError ENOENT" + On(from + "/inside"), CopyThrows());
    EXPECT_EQ(DescribeEntry(to), "directory");
}

TEST_F(FileTreesTest, CopyMergesIntoAnExistingDirectory) {
    MakeEntry(from, "full directory");
    MakeEntry(from + "/below", "full directory");
    fs::create_directories(to + "/below");
    WriteWholeFile(to + "/below/other", "stays");
    EXPECT_EQ("nothing", CopyThrows());
    EXPECT_EQ(DescribeTree(to), (Tree{{"below", "directory"},
                                      {"below/inside", "file content"},
                                      {"below/other", "file stays"},
                                      {"inside", "file content"}}));
}

// Files are tried eight times. A dangling link is not retried, because the loop itself fails.
TEST_F(FileTreesTest, FailureKeepsThePartCopiedSoFar) {
    std::string const missing = "FileNotFoundError" + On(from + "/b");
    for (auto const& [kind, hasTarget, error, isRetried] :
         std::vector<std::tuple<std::string, bool, std::string, bool>>{
             {"file", true, "FileExistsError" + On(to + "/b"), true},
             {"directory", true, "FileFoundError" + On(to + "/b"), false},
             {"FIFO", false, missing, true},
             {"socket", false, missing, true},
             {"link to socket", false, missing, true},
             {"dangling link", false, "FileNotFoundError ENOENT" + On(from + "/b"), false}}) {
        SCOPED_TRACE(kind);
        fs::create_directory(from);
        fs::create_directory(to);
        MakeEntry(from + "/a", "full directory");
        MakeEntry(from + "/b", kind);
        MakeEntry(from + "/c", "file");
        if (hasTarget)
            WriteWholeFile(to + "/b", "old");
        Tree expected = DescribeTree(to);
        expected.insert({{"a", "directory"}, {"a/inside", "file content"}});
        RecordedSleeps const sleeps;
        EXPECT_EQ(error, CopyThrows());
        EXPECT_EQ(sleeps.TotalMicroseconds(), isRetried ? 2'032'000u : 0u);
        EXPECT_EQ(DescribeTree(to), expected);
        Clear();
    }
}

// Deliberate: the copy has no symbolic links to directories.
TEST_F(FileTreesTest, LinkToADirectoryIsSilentlyOmitted) {
    fs::create_directory(from);
    MakeEntry(from + "/a", "directory");
    MakeEntry(directory / "outside", "full directory");
    fs::create_symlink(directory / "outside", from + "/b");
    EXPECT_EQ("nothing", CopyThrows());
    EXPECT_EQ(DescribeTree(to), (Tree{{"a", "directory"}}));
}

TEST_F(FileTreesTest, UnreadableDirectoryIsCopiedAsAnEmptyOne) {
    fs::create_directory(from);
    MakeEntry(from + "/closed", "full directory");
    SystemCalls calls;
    calls.Fail("scandir", EACCES, 1);
    EXPECT_EQ("nothing", CopyThrows());
    EXPECT_EQ(DescribeTree(to), (Tree{{"closed", "directory"}}));
}

TEST_F(FileTreesTest, FullDiskKeepsThePartCopiedSoFar) {
    OnDisk({.bytes = 64 * 1024}, [](SmallFileSystem& disk) {
        fs::create_directory("/opt/from");
        WriteWholeFile("/opt/from/a", std::string(40'000, 'x'));
        WriteWholeFile("/opt/from/b", std::string(40'000, 'x'));
        RecordedSleeps const sleeps;
        // The first attempt left a partial file, so the next ones find an existing file.
        EXPECT_EQ("FileExistsError" + On(disk / "b"),
                  ThrownBy(CopyDirectoryContents, "/opt/from", disk.path()));
        EXPECT_EQ(fs::file_size(disk / "a"), 40'000u);
        EXPECT_EQ(fs::file_size(disk / "b"), 6u * 4096u);
        EXPECT_EQ(fs::file_size("/opt/from/b"), 40'000u);
    });
}

// Deliberate: the loop finds the copy inside the source and copies it again, up to the longest path
// of the system.
TEST_F(FileTreesTest, CopyIntoItselfEndsAtTheLongestPath) {
    Sandbox::Run([] {
        std::string const name(250, 'x');
        fs::create_directory("/opt/from");
        std::string const last = DeepPath("/opt/from", "/" + name, maxPathLength) + "/" + name;
        EXPECT_EQ("DirectoryNotFoundError ENAMETOOLONG" + On(last),
                  ThrownBy(CopyDirectoryContents, "/opt/from", "/opt/from/" + name));
    });
}

} // namespace
