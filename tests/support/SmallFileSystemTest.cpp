#include "tests/support/SmallFileSystem.h"

#include <gtest/gtest.h>

#include <cstdio>

#include <fcntl.h>

#include "tests/support/Sandbox.h"

namespace {

namespace fs = std::filesystem;

bool CanWrite(std::string const& path, size_t bytes = 1) {
    std::ofstream file(path, std::ios::binary);
    file << std::string(bytes, 'x') << std::flush;
    return file.good();
}

SANDBOX_TEST(SmallFileSystemTest, HasTheGivenSizeAndNumberOfInodes) {
    SmallFileSystem disk("/opt/disk", {.bytes = 64 * 1024});
    EXPECT_TRUE(CanWrite(disk / "file", 64 * 1024));
    EXPECT_FALSE(CanWrite(disk / "other"));
    fs::remove(disk / "file");
    EXPECT_FALSE(CanWrite(disk / "file", 64 * 1024 + 1));
    fs::remove(disk / "file");
    disk.FillUp();
    EXPECT_EQ(64u * 1024u, fs::file_size(disk / "filler"));
    EXPECT_FALSE(CanWrite(disk / "other"));
    SmallFileSystem const few("/opt/few", {.inodes = 3});
    EXPECT_TRUE(CanWrite(few / "one"));
    EXPECT_TRUE(CanWrite(few / "two"));
    EXPECT_FALSE(CanWrite(few / "three"));
}

SANDBOX_TEST(SmallFileSystemTest, SwitchesToReadOnlyAndBack) {
    SmallFileSystem disk("/opt/disk", {.mode = "0777"});
    EXPECT_EQ(fs::perms::all, fs::status(disk.path()).permissions());
    disk.MakeReadOnly();
    EXPECT_EQ(-1, open((disk / "file").c_str(), O_WRONLY | O_CREAT, 0600));
    EXPECT_EQ(EROFS, errno);
    disk.MakeWritable();
    EXPECT_TRUE(CanWrite(disk / "file"));
}

SANDBOX_TEST(SmallFileSystemTest, IsAnotherDeviceUntilUnmounted) {
    EXPECT_TRUE(CanWrite("/opt/file"));
    {
        SmallFileSystem const disk("/opt/disk");
        EXPECT_EQ(-1, rename("/opt/file", (disk / "file").c_str()));
        EXPECT_EQ(EXDEV, errno);
    }
    EXPECT_EQ(0, rename("/opt/file", "/opt/disk/file"));
}

} // namespace
