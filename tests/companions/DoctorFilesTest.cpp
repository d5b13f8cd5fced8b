#include "companions/DoctorFiles.h"

#include "tests/companions/Findings.h"

namespace {

TEST(DoctorFilesTest, DescribesAgeInTheLargestUnitWithAtLeastTwo) {
    for (auto const& [age, text] : {std::pair{0, "0 seconds old"},
                                    {1, "1 second old"},
                                    {119, "119 seconds old"},
                                    {120, "2 minutes old"},
                                    {7199, "119 minutes old"},
                                    {7200, "2 hours old"},
                                    {172'799, "47 hours old"},
                                    {172'800, "2 days old"},
                                    {86'400'000, "1000 days old"},
                                    {-1, "dated in the future"}})
        EXPECT_EQ(text, DescribeAge(age));
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
    FileFacts const unexaminable(std::string(5000, 'x').c_str());
    EXPECT_TRUE(unexaminable.IsUnknown());
    EXPECT_TRUE(unexaminable.IsUnexaminable());
}

SANDBOX_TEST(DoctorFilesTest, EntryIsTheSameUntilItsInodeChanges) {
    constexpr char const* path = "/opt/file";
    WriteWholeFile(path, "one");
    FileFacts const before(path);
    EXPECT_TRUE(FileFacts(path).HasSameEntryAs(before));
    // Longer than a tick of the clock of the file system.
    usleep(20'000);
    SetMode(path, 0600);
    EXPECT_FALSE(FileFacts(path).HasSameEntryAs(before));
    fs::remove(path);
    EXPECT_FALSE(FileFacts(path).HasSameEntryAs(before));
    EXPECT_TRUE(FileFacts(path).HasSameEntryAs(FileFacts(path)));
    FileFacts const unexaminable(std::string(5000, 'x').c_str());
    EXPECT_FALSE(FileFacts(path).HasSameEntryAs(unexaminable));
    // The roots of two file systems, which have the same inode number.
    EXPECT_FALSE(FileFacts("/opt").HasSameEntryAs(FileFacts("/var/opt")));
}

SANDBOX_TEST(DoctorFilesTest, RemedyDependsOnTheErrorOfTheEntry) {
    fs::create_symlink("loop", "/opt/loop");
    EXPECT_EQ("remove the loop of symbolic links", FileFacts("/opt/loop").Remedy());
    EXPECT_EQ("remove the loop of symbolic links", FileFacts("/opt/loop/file").Remedy());
    EXPECT_EQ("look for errors of the file system in the system log",
              FileFacts(std::string(5000, 'x').c_str()).Remedy());
    fs::create_directory("/opt/closed");
    SetMode("/opt/closed", 0);
    WithoutRights([] {
        EXPECT_EQ("give this user search permission for the directories above it",
                  FileFacts("/opt/closed/file").Remedy());
    });
}

// The times of two changes may differ only in their nanoseconds.
SANDBOX_TEST(DoctorFilesTest, EntryDiffersAfterEachChange) {
    constexpr char const* path = "/opt/file";
    WriteWholeFile(path, "");
    for (std::set<bool> isSameSecond; isSameSecond.size() < 2;) {
        FileFacts const before(path);
        usleep(20'000);
        SetMode(path, 0600);
        FileFacts const after(path);
        EXPECT_FALSE(after.HasSameEntryAs(before));
        isSameSecond.insert(before.Facts().st_ctim.tv_sec == after.Facts().st_ctim.tv_sec);
    }
}

struct StickyCase {
    uid_t fileOwner;
    uid_t directoryOwner;
    unsigned int mode;
    bool isKept;
};

bool IsKept() {
    return IsKeptByStickyDirectory(FileFacts("/opt/directory/file"), FileFacts("/opt/directory"));
}

SANDBOX_TEST(DoctorFilesTest, StickyDirectoryDoesNotKeepMissingFile) {
    fs::create_directories("/opt/directory");
    SetMode("/opt/directory", 01777);
    WithoutRights([] { EXPECT_FALSE(IsKept()); });
}

SANDBOX_TEST(DoctorFilesTest, StickyDirectoryProtectsFilesOfOtherUsers) {
    constexpr uid_t user = 65534;
    fs::create_directories("/opt/directory");
    WriteWholeFile("/opt/directory/file", "");
    if (chown("/opt/directory/file", user, 0) != 0)
        GTEST_SKIP() << "this sandbox has no second user";
    for (StickyCase const& test : {StickyCase{0, 0, 01777, true},
                                   {0, 0, 0777, false},
                                   {user, 0, 01777, false},
                                   {0, user, 01777, false},
                                   {user, user, 01777, false}}) {
        SetMode("/opt/directory", test.mode);
        ASSERT_EQ(0, chown("/opt/directory/file", test.fileOwner, 0));
        ASSERT_EQ(0, chown("/opt/directory", test.directoryOwner, 0));
        EXPECT_FALSE(IsKept());
        WithoutRights([&] { EXPECT_EQ(test.isKept, IsKept()); });
    }
}

} // namespace
