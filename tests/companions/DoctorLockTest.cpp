#include "companions/Doctor.h"

#include <sys/mount.h>

#include "companions/DoctorFiles.h"
#include "tests/companions/Findings.h"
#include "tests/companions/RefusedCall.h"
#include "tests/system/RecordLock.h"

namespace {

constexpr char const* lockFile = ScriptedAgent::lockFile;
constexpr char const* lockDirectory = ScriptedAgent::requestDirectory;

Finding Check() { return CheckLock(AskForLock()); }

void CreateLockFile(unsigned int mode) {
    WriteWholeFile(lockFile, "");
    SetMode(lockFile, mode);
}

SANDBOX_TEST(DoctorLockTest, MissingLockFileIsFreeAndIsNotCreated) {
    ExpectOk("there is no lock file", Check());
    EXPECT_FALSE(fs::exists(lockFile));
}

SANDBOX_TEST(DoctorLockTest, SkipsCheckWithoutItsDirectory) {
    fs::remove(lockDirectory);
    ExpectFinding(Verdict::skipped, "", lockDirectory, Check());
    WriteWholeFile(lockDirectory, "file");
    ExpectFinding(Verdict::skipped, "", lockDirectory, Check());
    fs::remove_all("/var/opt/VeskaClient");
    ExpectFinding(Verdict::skipped, "", lockDirectory, Check());
}

SANDBOX_TEST(DoctorLockTest, DoesNotTakeFreeLock) {
    CreateLockFile(0600);
    ExpectOk("free", Check());
    EXPECT_EQ(LockState::none, AskForLock().what);
    EXPECT_FALSE(IsLocked());
}

TEST(DoctorLockTest, OmitsProgramOfHolderThatHasExited) {
    OtherProcess ended([] {});
    ended.Wait();
    Finding const finding = CheckLock({LockState::held, ended.pid()});
    EXPECT_EQ("the lock is held by process " + std::to_string(ended.pid()), finding.message);
    EXPECT_EQ("lock-held", finding.cause);
}

SANDBOX_TEST(DoctorLockTest, ReportsLinkAtTheLockFileWithoutFollowingIt) {
    std::string const target = std::string(lockDirectory) + "/target";
    fs::create_symlink("target", lockFile);
    ExpectProblem("lock-link", lockFile, Check());
    EXPECT_FALSE(fs::exists(target));
    WriteWholeFile(target, "");
    ExpectProblem("lock-link", lockFile, Check());
}

SANDBOX_TEST(DoctorLockTest, NamesProcessAndProgramThatHoldTheLock) {
    ForeignLock const lock;
    Finding const finding = Check();
    std::string const program = fs::read_symlink("/proc/self/exe");
    ExpectProblem("lock-held",
                  "held by process " + std::to_string(lock.pid()) + " (" + program + ")", finding);
    EXPECT_EQ(std::optional<long>(lock.pid()), finding.processId);
    EXPECT_TRUE(IsLocked());
}

// A read lock on a part of the file conflicts with a write lock on the whole file.
SANDBOX_TEST(DoctorLockTest, ReportsReadLockOnPartOfTheFile) {
    ForeignLock const lock(F_RDLCK, 4711, 1);
    ExpectProblem("lock-held", "held by process ", Check());
}

SANDBOX_TEST(DoctorLockTest, ReportsOpenFileDescriptionLock) {
    int const file = OpenLockFile();
    struct flock lock = WantedLock().Record();
    ASSERT_EQ(0, fcntl(file, F_OFD_SETLK, &lock));
    ExpectProblem("lock-held-by-open-file", "open file", Check());
    close(file);
}

SANDBOX_TEST(DoctorLockTest, ReportsUnwritableLockFileUnlessItIsHeld) {
    CreateLockFile(0444);
    WithoutRights([] {
        ExpectProblem("lock-not-writable", "owned by user root and group 0, mode 0444", Check());
    });
    ForeignLock const lock;
    WithoutRights([] { ExpectProblem("lock-held", "held by process ", Check()); });
}

SANDBOX_TEST(DoctorLockTest, HolderOfAnUnreadableLockIsUnknown) {
    CreateLockFile(0222);
    WithoutRights([] {
        ExpectProblem("lock-not-readable", "unknown", Check());
        EXPECT_EQ(LockState::unknown, AskForLock().what);
    });
    // The file became examinable after AskForLock.
    CreateLockFile(0600);
    ExpectProblem("lock-not-readable", "unknown", CheckLock({LockState::unknown}));
}

SANDBOX_TEST(DoctorLockTest, LockIsUnknownOnFileSystemWithoutLocks) {
    CreateLockFile(0600);
    OtherProcess other([] {
        RefuseCall(SYS_fcntl, ENOLCK, {{1, F_GETLK}});
        EXPECT_EQ(LockState::unknown, AskForLock().what);
        ExpectProblem("lock-unknown", "No locks available", Check());
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

// Opening a FIFO would block.
SANDBOX_TEST(DoctorLockTest, ReportsDirectoryOrFifoAtLockPath) {
    fs::create_directory(lockFile);
    ExpectProblem("lock-not-a-file", lockFile, Check());
    fs::remove(lockFile);
    ASSERT_EQ(0, mkfifo(lockFile, 0666));
    ExpectProblem("lock-not-a-file", lockFile, Check());
}

SANDBOX_TEST(DoctorLockTest, SkipsLockFileInUnsearchableDirectory) {
    CreateLockFile(0666);
    SetMode(lockDirectory, 0);
    WithoutRights([] { EXPECT_EQ(Verdict::skipped, Check().verdict); });
}

// Replaces the setting of this host in the sandbox, and sets the mode of the directory.
void ProtectRegularFiles(char const* setting, unsigned int mode) {
    WriteWholeFile("/opt/setting", setting);
    char const place[] = "/proc/sys/fs/protected_regular";
    if (mount("/opt/setting", place, nullptr, MS_BIND, nullptr) != 0)
        throw std::runtime_error("cannot mount the setting");
    SetMode(lockDirectory, mode);
}

// Creates the lock file of another user. Returns false where the sandbox has no second user.
bool CreateLockFileOfAnotherUser() {
    CreateLockFile(0666);
    if (chown(lockFile, 65534, 65534) == 0)
        return true;
    EXPECT_EQ(EINVAL, errno);
    return false;
}

SANDBOX_TEST(DoctorLockTest, ReportsProtectedLockFileInStickyDirectory) {
    if (!CreateLockFileOfAnotherUser())
        GTEST_SKIP() << "this sandbox has no second user";
    ProtectRegularFiles("1", 0777);
    ExpectOk("free", Check());
    SetMode(lockDirectory, 01777);
    ExpectProblem("lock-protected", "fs.protected_regular", Check());
    WithoutRights([] { ExpectOk("free", Check()); });
    SetMode(lockDirectory, 01775);
    ExpectOk("free", Check());
    ASSERT_EQ(0, chown(lockDirectory, 65534, 65534));
    SetMode(lockDirectory, 01777);
    ExpectOk("free", Check());
}

SANDBOX_TEST(DoctorLockTest, ProtectionDependsOnTheSystemSetting) {
    if (!CreateLockFileOfAnotherUser())
        GTEST_SKIP() << "this sandbox has no second user";
    ProtectRegularFiles("2", 01775);
    ExpectProblem("lock-protected", "fs.protected_regular", Check());
    SetMode(lockDirectory, 01755);
    ExpectOk("free", Check());
    ProtectRegularFiles("0", 01777);
    ExpectOk("free", Check());
}

SANDBOX_TEST(DoctorLockTest, MissingFileIsNotProtected) {
    constexpr uid_t thirdUser = 65533;
    if (chown(lockDirectory, thirdUser, thirdUser) != 0)
        GTEST_SKIP() << "this sandbox has no second user";
    ProtectRegularFiles("1", 01777);
    WithoutRights([] {
        EXPECT_FALSE(IsProtectedByStickyDirectory(FileFacts(lockFile), FileFacts(lockDirectory)));
    });
}

SANDBOX_TEST(DoctorLockTest, ReportsProtectedTemporaryRequest) {
    WriteWholeFile(ScriptedAgent::requestTemp, "document");
    if (chown(ScriptedAgent::requestTemp, 65534, 65534) != 0)
        GTEST_SKIP() << "this sandbox has no second user";
    ProtectRegularFiles("1", 01777);
    ExpectProblem("temporary-request-not-writable", ScriptedAgent::requestTemp,
                  CheckTemporaryRequest());
    SetMode(lockDirectory, 0777);
    ExpectOk("overwritten", CheckTemporaryRequest());
}

} // namespace
