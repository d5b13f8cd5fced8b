#include "files/FileTrees.h"
#include "tests/files/FileTest.h"

namespace {

using Delete = void (*)(FileLocation const&);

class FileDeletionsTest : public FileTest {
protected:
    // Runs the body for both deletion functions, each with an empty directory as the tree.
    void ForBoth(std::function<void(Delete)> const& body) const {
        for (Delete remove : {DeleteRecursive, DeleteContents}) {
            fs::create_directory(tree);
            body(remove);
            Clear();
        }
    }

    std::string const tree = directory / "tree";
};

TEST_F(FileDeletionsTest, RemovesTheWholeTreeAndKeepsTheTargetsOfFileLinks) {
    WriteWholeFile(directory / "outside", "content");
    for (unsigned int seed = 1; seed <= 5; ++seed) {
        std::mt19937 random(seed);
        fs::create_directory(tree);
        MakeRandomTree(random, tree, directory / "outside", 60);
        DeleteContents(At(tree));
        EXPECT_EQ(Everything(), (Tree{{"outside", "file content"}, {"tree", "directory"}}));
        MakeRandomTree(random, tree, directory / "outside", 60);
        DeleteRecursive(At(tree));
        EXPECT_EQ(Everything(), (Tree{{"outside", "file content"}})) << seed;
    }
}

// ForceDeleteRecursive and ForceDeleteContents accept a missing entry.
TEST_F(FileDeletionsTest, KeepsEntriesThatAreNotDirectories) {
    std::string const noDirectory = "DirectoryNotFoundError";
    for (Delete remove : {DeleteRecursive, DeleteContents})
        EXPECT_EQ(noDirectory + On(tree), ThrownBy(remove, tree));
    for (Delete remove : {ForceDeleteRecursive, ForceDeleteContents})
        EXPECT_EQ("nothing", ThrownBy(remove, tree));
    ForEach({"file", "link to file", "link to socket", "dangling link", "FIFO", "socket"},
            [&](std::string const& kind) {
                Tree const before = Everything();
                for (Delete remove : {DeleteRecursive, ForceDeleteRecursive})
                    EXPECT_EQ(noDirectory + On(directory / kind),
                              ThrownBy(remove, directory / kind));
                for (Delete remove : {DeleteContents, ForceDeleteContents})
                    EXPECT_NO_THROW(remove(Here(kind)));
                EXPECT_EQ(Everything(), before);
            });
    MakeEntry(tree, "full directory");
    ForceDeleteContents(At(tree));
    EXPECT_EQ(Everything(), (Tree{{"tree", "directory"}}));
    ForceDeleteRecursive(At(tree));
    EXPECT_EQ(Everything(), Tree());
}

TEST_F(FileDeletionsTest, DanglingLinkStopsTheDeletionAtItsTurn) {
    ForBoth([&](Delete remove) {
        MakeEntry(tree + "/a", "full directory");
        MakeEntry(tree + "/b", "directory");
        MakeEntry(tree + "/b/a", "file");
        MakeEntry(tree + "/b/broken", "dangling link");
        MakeEntry(tree + "/c", "file");
        EXPECT_EQ("FileNotFoundError ENOENT" + On(tree + "/b/broken"), ThrownBy(remove, tree));
        EXPECT_EQ(DescribeTree(tree), (Tree{{"b", "directory"},
                                            {"b/broken", "link to " + tree + "/b/broken-target"},
                                            {"c", "file content"}}));
    });
}

// Deliberate: the deletion of the target of a link makes the link dangling.
TEST_F(FileDeletionsTest, LinkAfterItsTargetStopsTheDeletion) {
    fs::create_directory(tree);
    WriteWholeFile(tree + "/a", "content");
    fs::create_symlink("a", tree + "/b");
    EXPECT_EQ("FileNotFoundError ENOENT" + On(tree + "/b"), ThrownBy(DeleteRecursive, tree));
    EXPECT_EQ(DescribeTree(tree), (Tree{{"b", "link to a"}}));
    WriteWholeFile(tree + "/c", "content");
    fs::remove(tree + "/b");
    fs::create_symlink("c", tree + "/b");
    DeleteRecursive(At(tree));
    EXPECT_EQ(Everything(), Tree()) << "in the opposite order, the link is removed first";
}

// Deliberate: a link counts as its target.
TEST_F(FileDeletionsTest, LinkToADirectoryIsEmptiedAndThenStopsTheDeletion) {
    MakeEntry(directory / "outside", "full directory");
    fs::create_directory(tree);
    MakeEntry(tree + "/a", "file");
    fs::create_symlink(directory / "outside", tree + "/b");
    MakeEntry(tree + "/c", "file");
    EXPECT_EQ("DirectoryNotFoundError ENOTDIR" + On(tree + "/b"), ThrownBy(DeleteRecursive, tree));
    EXPECT_EQ(Everything(), (Tree{{"outside", "directory"},
                                  {"tree", "directory"},
                                  {"tree/b", "link to " + directory / "outside"},
                                  {"tree/c", "file content"}}));
    Clear();
    MakeEntry(tree, "link to full directory");
    EXPECT_EQ("DirectoryNotFoundError ENOTDIR" + On(tree), ThrownBy(DeleteRecursive, tree));
    EXPECT_TRUE(fs::is_empty(tree + "-target"));
    MakeEntry(tree + "-target/inside", "file");
    DeleteContents(At(tree));
    EXPECT_TRUE(fs::is_empty(tree + "-target"));
}

// The system follows 40 links and reports an error for the next one. After a concurrent renaming of
// any directory, it starts again at the first link, but counts all.
TEST_F(FileDeletionsTest, LinkToItsOwnDirectoryStopsAtTheLimitOfTheSystem) {
    fs::create_directory(tree);
    MakeEntry(tree + "/a", "file");
    fs::create_symlink(".", tree + "/link");
    MakeEntry(tree + "/z", "file");
    std::string const thrown = ThrownBy(DeleteRecursive, tree);
    EXPECT_TRUE(thrown.starts_with("FileIOError ELOOP on \"" + tree + "/link/")) << thrown;
    EXPECT_TRUE(thrown.ends_with("/link\"")) << thrown;
    EXPECT_EQ(DescribeTree(tree), (Tree{{"link", "link to ."}, {"z", "file content"}}));
}

TEST_F(FileDeletionsTest, SpecialFilesAndTheirDirectoriesAreKept) {
    for (std::string const kind : {"FIFO", "socket", "link to socket"})
        ForBoth([&](Delete remove) {
            MakeEntry(tree + "/b", kind);
            MakeEntry(tree + "/a", "file");
            Tree left = DescribeTree(tree);
            left.erase("a");
            EXPECT_EQ(remove == DeleteContents ? "nothing" : "FileIOError ENOTEMPTY" + On(tree),
                      ThrownBy(remove, tree));
            EXPECT_EQ(DescribeTree(tree), left);
        });
}

TEST_F(FileDeletionsTest, SystemErrorStopsTheDeletion) {
    MakeEntry(tree, "full directory");
    auto const mapper = [&](int error) {
        ThrowFileError(At(tree + "/inside"), error);
    };
    for (Delete remove : {DeleteRecursive, DeleteContents})
        ExpectMapped("unlink", mapper, [&] { remove(At(tree)); });
    EXPECT_EQ(DescribeTree(tree), (Tree{{"inside", "file content"}}));
    // For an unreadable directory, only the removal fails.
    SystemCalls calls;
    calls.FailFromThenOn("scandir", EACCES);
    EXPECT_NO_THROW(DeleteContents(At(tree)));
    EXPECT_EQ("FileIOError ENOTEMPTY" + On(tree), ThrownBy(DeleteRecursive, tree));
}

// A vanished entry stops the deletion if the loop has not examined it yet, and not afterwards.
TEST_F(FileDeletionsTest, EntryStopsTheDeletionOnlyIfItVanishesUnexamined) {
    ForBoth([&](Delete remove) {
        MakeEntry(tree + "/a", "file");
        MakeEntry(tree + "/b", "file");
        SystemCalls calls;
        calls.Before("unlink", [&] { fs::remove(tree + "/b"); });
        EXPECT_EQ("FileNotFoundError ENOENT" + On(tree + "/b"), ThrownBy(remove, tree));
        EXPECT_EQ(DescribeTree(tree), Tree());
    });
    auto const remove = [&] {
        std::string const thrown = ThrownBy(DeleteRecursive, tree);
        Clear();
        return thrown;
    };
    EXPECT_THAT(OutcomesOfRaces([&] { MakeEntry(tree, "full directory"); },
                                [&] { fs::remove(tree + "/inside"); }, remove, "scandir"),
                ElementsAre("FileNotFoundError ENOENT" + On(tree + "/inside"), "nothing"));
}

} // namespace
