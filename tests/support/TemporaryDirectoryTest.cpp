#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>

#include <sys/stat.h>

#include "tests/support/OtherProcess.h"

namespace {

namespace fs = std::filesystem;

TEST(TemporaryDirectoryTest, IsEmptyAndPrivateAndEachHasItsOwn) {
    TemporaryDirectory one;
    TemporaryDirectory two;
    EXPECT_NE(one.path(), two.path());
    EXPECT_TRUE(fs::is_empty(one.path()));
    EXPECT_EQ(fs::perms(0700), fs::status(one.path()).permissions());
    EXPECT_EQ(one.path() + "/x", one / "x");
}

TEST(TemporaryDirectoryTest, GoesWithAllItsContentAlsoWhatIsClosedToItsOwner) {
    std::string gone;
    {
        TemporaryDirectory directory;
        gone = directory.path();
        fs::create_directories(directory / "a/b");
        std::ofstream(directory / "a/b/file") << "content";
        fs::create_symlink("nowhere", directory / "broken");
        fs::permissions(directory / "a/b", fs::perms::none);
        fs::permissions(directory / "a", fs::perms::none);
    }
    EXPECT_FALSE(fs::exists(gone));
}

TEST(TemporaryDirectoryTest, FollowsNoLinkOutOfItself) {
    TemporaryDirectory other;
    std::ofstream(other / "kept") << "content";
    {
        TemporaryDirectory directory;
        fs::create_directory_symlink(other.path(), directory / "link");
    }
    EXPECT_TRUE(fs::exists(other / "kept"));
}

TEST(TemporaryDirectoryTest, ChildDoesNotRemoveWhatItsParentMade) {
    auto directory = std::make_unique<TemporaryDirectory>();
    OtherProcess child([&] { directory.reset(); });
    EXPECT_EQ(ExitStatus::Exited(0), child.Wait());
    EXPECT_TRUE(fs::exists(directory->path()));
}

} // namespace
