#include "companions/FileIdentity.h"

#include "companions/Arguments.h"
#include "tests/companions/StoredResults.h"

namespace {

class FileIdentityTest : public testing::Test {
protected:
    TemporaryDirectory const directory;
    std::string const file = WriteFile(directory / "a", "");
};

TEST_F(FileIdentityTest, IdentifiesFileByAnyPathOrLink) {
    fs::create_symlink("a", directory / "link");
    fs::create_hard_link(file, directory / "hard");
    ASSERT_TRUE(IdentifyFile(file));
    for (std::string const& path : {directory / "./a", directory / "link", directory / "hard"})
        EXPECT_EQ(IdentifyFile(file), IdentifyFile(path)) << path;
    EXPECT_NE(IdentifyFile(file), IdentifyFile(WriteFile(directory / "b", "")));
}

TEST_F(FileIdentityTest, IdentifiesNewFileByDirectoryAndName) {
    ASSERT_TRUE(IdentifyFile(directory / "new"));
    EXPECT_EQ(IdentifyFile(directory / "new"), IdentifyFile(directory / ".//new"));
    EXPECT_NE(IdentifyFile(directory / "new"), IdentifyFile(directory / "other"));
    EXPECT_NE(IdentifyFile(directory / "new"), IdentifyFile(directory.path()));
    EXPECT_EQ(IdentifyFile("new"), IdentifyFile("./new"));
    EXPECT_EQ(std::nullopt, IdentifyFile(directory / "missing/new"));
    EXPECT_EQ(std::nullopt, IdentifyFile(directory / "missing/"));
}

TEST_F(FileIdentityTest, ClosedStandardOutputIsNoFile) {
    OtherProcess other([] {
        close(STDOUT_FILENO);
        EXPECT_EQ(std::nullopt, IdentifyFile(NamedFile{"standard output", "-", true}));
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

TEST_F(FileIdentityTest, OnlyInputsMayBeTheSameFile) {
    EXPECT_NO_THROW(
        RefuseSharedFiles({{"--json", directory / "out"}},
                          {{"FILE", file}, {"FILE", file}, {"FILE", directory / "missing/new"}}));
    EXPECT_THROW(RefuseSharedFiles({{"--json", file}}, {{"FILE", file}}), CommandLineError);
}

} // namespace
