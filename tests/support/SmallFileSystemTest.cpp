#include "tests/support/SmallFileSystem.h"

#include <gtest/gtest.h>

#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/PrivateMachine.h"

namespace {

namespace fs = std::filesystem;

bool CanWrite(std::string const& path, size_t bytes) {
    std::ofstream file(path, std::ios::binary);
    file << std::string(bytes, 'x') << std::flush;
    return file.good();
}

TEST(SmallFileSystemTest, HasTheGivenSize) {
    PrivateMachine::Run([] {
        SmallFileSystem const disk("/opt/disk", {.bytes = 64 * 1024});
        EXPECT_TRUE(CanWrite(disk / "file", 64 * 1024));
        EXPECT_FALSE(CanWrite(disk / "other", 1));
        fs::remove(disk / "file");
        EXPECT_FALSE(CanWrite(disk / "file", 64 * 1024 + 1));
    });
}

TEST(SmallFileSystemTest, FillingUpLeavesNoByte) {
    PrivateMachine::Run([] {
        SmallFileSystem disk("/opt/disk");
        disk.FillUp();
        EXPECT_EQ(1024u * 1024u, fs::file_size(disk / "filler"));
        EXPECT_FALSE(CanWrite(disk / "other", 1));
        fs::remove(disk / "filler");
        EXPECT_TRUE(CanWrite(disk / "other", 1));
    });
}

TEST(SmallFileSystemTest, HasTheGivenNumberOfInodes) {
    PrivateMachine::Run([] {
        SmallFileSystem const disk("/opt/disk", {.inodes = 3});
        EXPECT_TRUE(CanWrite(disk / "one", 1));
        EXPECT_TRUE(CanWrite(disk / "two", 1));
        EXPECT_FALSE(CanWrite(disk / "three", 1));
    });
}

TEST(SmallFileSystemTest, TurnsReadOnlyAndBack) {
    PrivateMachine::Run([] {
        SmallFileSystem disk("/opt/disk", {.mode = "0777"});
        EXPECT_EQ(fs::perms::all, fs::status(disk.path()).permissions());
        disk.MakeReadOnly();
        EXPECT_EQ(-1, open((disk / "file").c_str(), O_WRONLY | O_CREAT, 0600));
        EXPECT_EQ(EROFS, errno);
        disk.MakeWritable();
        EXPECT_TRUE(CanWrite(disk / "file", 1));
    });
}

TEST(SmallFileSystemTest, IsAnotherDeviceUntilItGoes) {
    PrivateMachine::Run([] {
        {
            SmallFileSystem const disk("/opt/disk");
            EXPECT_TRUE(CanWrite("/opt/file", 1));
            EXPECT_EQ(-1, rename("/opt/file", (disk / "file").c_str()));
            EXPECT_EQ(EXDEV, errno);
        }
        EXPECT_EQ(0, rename("/opt/file", "/opt/disk/file"));
    });
}

} // namespace
