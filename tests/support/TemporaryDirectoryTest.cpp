#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/OtherProcess.h"

namespace {

namespace fs = std::filesystem;

TEST(TemporaryDirectoryTest, IsEmptyPrivateAndUnique) {
    TemporaryDirectory const one;
    TemporaryDirectory const two;
    EXPECT_NE(one.path(), two.path());
    EXPECT_TRUE(fs::is_empty(one.path()));
    EXPECT_EQ(fs::perms(0700), fs::status(one.path()).permissions());
    EXPECT_EQ(one.path() + "/x", one / "x");
}

TEST(TemporaryDirectoryTest, RemovesInaccessibleContentAndFollowsNoLink) {
    TemporaryDirectory const other;
    std::ofstream(other / "kept") << "content";
    auto directory = std::make_unique<TemporaryDirectory>();
    std::string const path = directory->path();
    fs::create_directories(path + "/a/b");
    std::ofstream(path + "/a/b/file") << "content";
    fs::create_symlink("nowhere", path + "/broken");
    fs::create_directory_symlink(other.path(), path + "/link");
    fs::permissions(path + "/a/b", fs::perms::none);
    fs::permissions(path + "/a", fs::perms::none);
    // Not by a child of the process that created it.
    EXPECT_EQ(ExitStatus::Exited(0), OtherProcess([&] { directory.reset(); }).Wait());
    EXPECT_TRUE(fs::exists(path));
    directory.reset();
    EXPECT_FALSE(fs::exists(path));
    EXPECT_TRUE(fs::exists(other / "kept"));
}

} // namespace
