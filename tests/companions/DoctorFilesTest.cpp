#include "companions/DoctorFiles.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <limits>
#include <thread>

#include <unistd.h>

#include "tests/companions/Findings.h"

namespace {

namespace fs = std::filesystem;

TEST(DoctorFilesTest, DescribesAgeInTheLargestUnitWithAtLeastTwo) {
    EXPECT_EQ("0 seconds old", DescribeAge(0));
    EXPECT_EQ("1 second old", DescribeAge(1));
    EXPECT_EQ("119 seconds old", DescribeAge(119));
    EXPECT_EQ("2 minutes old", DescribeAge(120));
    EXPECT_EQ("119 minutes old", DescribeAge(7199));
    EXPECT_EQ("2 hours old", DescribeAge(7200));
    EXPECT_EQ("47 hours old", DescribeAge(172'799));
    EXPECT_EQ("2 days old", DescribeAge(172'800));
    EXPECT_EQ("1000 days old", DescribeAge(86'400'000));
    EXPECT_EQ("dated in the future", DescribeAge(-1));
}

TEST(DoctorFilesTest, SecondsBetweenTwoTimesAreSaturated) {
    constexpr long long min = std::numeric_limits<long long>::min();
    constexpr long long max = std::numeric_limits<long long>::max();
    EXPECT_EQ(5, SecondsBetween(10, 15));
    EXPECT_EQ(-5, SecondsBetween(15, 10));
    EXPECT_EQ(max, SecondsBetween(min, 0));
    EXPECT_EQ(max, SecondsBetween(min, max));
    EXPECT_EQ(max, SecondsBetween(min + 1, 0));
    EXPECT_EQ(max, SecondsBetween(min, -1));
    EXPECT_EQ(max - 1, SecondsBetween(min, -2));
    EXPECT_EQ(min, SecondsBetween(max, -2));
    EXPECT_EQ(min, SecondsBetween(max, -1));
    EXPECT_EQ(min + 1, SecondsBetween(max, 0));
    EXPECT_EQ(min, SecondsBetween(0, min));
    EXPECT_EQ(0, SecondsBetween(min, min));
}

TEST(DoctorFilesTest, ReportsTheKindOfAnEntry) {
    EXPECT_TRUE(FileFacts("/dev").IsDirectory());
    EXPECT_TRUE(FileFacts("/dev/null").Exists());
    EXPECT_FALSE(FileFacts("/dev/null").IsRegularFile());
    EXPECT_TRUE(FileFacts("/proc/self/exe").IsRegularFile());
    EXPECT_TRUE(FileFacts("/nowhere").IsMissing());
    EXPECT_TRUE(FileFacts("/nowhere").IsAbsent());
    EXPECT_TRUE(FileFacts("/dev/null/below").IsMissing());
    EXPECT_TRUE(FileFacts(std::string(5000, 'x').c_str()).IsUnknown());
    EXPECT_TRUE(FileFacts(std::string(5000, 'x').c_str()).IsUnexaminable());
}

TEST(DoctorFilesTest, EntryIsTheSameUntilItsInodeChanges) {
    Sandbox::Run([] {
        constexpr char const* path = "/opt/file";
        std::ofstream(std::string(path)) << "one";
        FileFacts const before(path);
        EXPECT_TRUE(FileFacts(path).HasSameEntryAs(before));
        // Longer than a tick of the clock of the file system.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        fs::permissions(path, fs::perms(0600));
        EXPECT_FALSE(FileFacts(path).HasSameEntryAs(before));
        fs::remove(path);
        EXPECT_FALSE(FileFacts(path).HasSameEntryAs(before));
        EXPECT_TRUE(FileFacts(path).HasSameEntryAs(FileFacts(path)));
    });
}

TEST(DoctorFilesTest, AbsentEntryIsNotTheSameAsUnexaminableOne) {
    FileFacts const unexaminable(std::string(5000, 'x').c_str());
    EXPECT_FALSE(FileFacts("/nowhere").HasSameEntryAs(unexaminable));
}

constexpr uid_t userId = 65534;

struct StickyCase {
    uid_t fileOwner;
    uid_t directoryOwner;
    unsigned int mode;
    bool isKept;
};

// Returns false where the sandbox has no second user.
bool MakeFileInDirectory(StickyCase const& test) {
    fs::create_directories("/opt/directory");
    std::ofstream("/opt/directory/file") << "";
    fs::permissions("/opt/directory", fs::perms(test.mode));
    return chown("/opt/directory/file", test.fileOwner, 0) == 0 &&
           chown("/opt/directory", test.directoryOwner, 0) == 0;
}

bool IsKept() {
    return IsKeptByStickyDirectory(FileFacts("/opt/directory/file"), FileFacts("/opt/directory"));
}

TEST(DoctorFilesTest, StickyDirectoryProtectsFilesOfOtherUsers) {
    Sandbox::Run([] {
        for (StickyCase const& test :
             {StickyCase{0, 0, 01777, true}, StickyCase{0, 0, 0777, false},
              StickyCase{userId, 0, 01777, false}, StickyCase{0, userId, 01777, false},
              StickyCase{userId, userId, 01777, false}}) {
            if (!MakeFileInDirectory(test))
                GTEST_SKIP() << "this sandbox has no second user";
            EXPECT_FALSE(IsKept());
            WithoutRights([&] { EXPECT_EQ(test.isKept, IsKept()); });
        }
    });
}

} // namespace
