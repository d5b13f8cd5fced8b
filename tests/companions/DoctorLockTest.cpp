#include "companions/Doctor.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <sys/mount.h>

#include "tests/companions/Findings.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;
using Sandbox::CreateAgentDirectories;

constexpr char const* lockFile = ScriptedAgent::lockFile;

Finding Check() { return CheckLock(AskForLock()); }

void CreateLockFile(unsigned int mode) {
    CreateAgentDirectories();
    std::ofstream(std::string(lockFile)) << "";
    fs::permissions(lockFile, fs::perms(mode));
}

TEST(DoctorLockTest, MissingLockFileIsFreeAndIsNotCreated) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        ExpectOk("there is no lock file", Check());
        EXPECT_FALSE(fs::exists(lockFile));
    });
}

TEST(DoctorLockTest, SkipsCheckWithoutItsDirectory) {
    Sandbox::Run([] {
        ExpectFinding(Verdict::skipped, "", ScriptedAgent::requestDirectory, Check());
        fs::create_directories("/var/opt/VeskaClient");
        std::ofstream(std::string(ScriptedAgent::requestDirectory)) << "file";
        ExpectFinding(Verdict::skipped, "", ScriptedAgent::requestDirectory, Check());
    });
}

TEST(DoctorLockTest, DoesNotTakeFreeLock) {
    Sandbox::Run([] {
        CreateLockFile(0600);
        ExpectOk("free", Check());
        EXPECT_EQ(LockState::none, AskForLock().what);
        EXPECT_FALSE(IsLocked());
    });
}

TEST(DoctorLockTest, OmitsProgramOfHolderThatHasExited) {
    OtherProcess ended([] {});
    ended.Wait();
    Finding const finding = CheckLock({LockState::held, ended.pid()});
    EXPECT_EQ("the lock is held by process " + std::to_string(ended.pid()), finding.message);
    EXPECT_EQ("lock-held", finding.cause);
}

TEST(DoctorLockTest, LinkAtTheLockFileIsNotFollowed) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        fs::path const target = fs::path(lockFile).parent_path() / "target";
        fs::create_symlink("target", lockFile);
        ExpectProblem("lock-link", lockFile, Check());
        EXPECT_FALSE(fs::exists(target));
        std::ofstream(target) << "";
        ExpectProblem("lock-link", lockFile, Check());
    });
}

TEST(DoctorLockTest, NamesProcessAndProgramThatHoldTheLock) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        OtherProcess holder([](Handshake& line) {
            struct flock lock {};
            lock.l_type = F_WRLCK;
            ASSERT_EQ(0, fcntl(OpenLockFile(), F_SETLK, &lock));
            line.Tell();
            pause();
        });
        holder.Await();
        Finding const finding = Check();
        std::string const program = fs::read_symlink("/proc/self/exe");
        ExpectProblem("lock-held",
                      "held by process " + std::to_string(holder.pid()) + " (" + program + ")",
                      finding);
        EXPECT_EQ(std::optional<long>(holder.pid()), finding.processId);
        EXPECT_TRUE(IsLocked());
    });
}

// A read lock on a part of the file conflicts with a write lock on the whole file.
TEST(DoctorLockTest, ReportsReadLockOnPartOfTheFile) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        ForeignLock lock(F_RDLCK, 4711, 1);
        ExpectProblem("lock-held", "held by process ", Check());
    });
}

TEST(DoctorLockTest, ReportsHeldLockIfFileIsReadOnly) {
    Sandbox::Run([] {
        CreateLockFile(0444);
        ForeignLock lock;
        WithoutRights([] { ExpectProblem("lock-held", "held by process ", Check()); });
    });
}

TEST(DoctorLockTest, ReportsOpenFileDescriptionLock) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        int const file = OpenLockFile();
        struct flock lock {};
        lock.l_type = F_WRLCK;
        ASSERT_EQ(0, fcntl(file, F_OFD_SETLK, &lock));
        ExpectProblem("lock-held-by-open-file", "open file", Check());
        close(file);
    });
}

TEST(DoctorLockTest, ReportsUnwritableLockFileWithOwnerAndMode) {
    Sandbox::Run([] {
        CreateLockFile(0444);
        WithoutRights([] {
            ExpectProblem("lock-not-writable", "owned by user root and group 0, mode 0444",
                          Check());
        });
    });
}

TEST(DoctorLockTest, HolderOfAnUnreadableLockIsUnknown) {
    Sandbox::Run([] {
        CreateLockFile(0222);
        WithoutRights([] {
            ExpectProblem("lock-not-readable", "unknown", Check());
            EXPECT_EQ(LockState::unknown, AskForLock().what);
        });
    });
}

// The open of a FIFO would block.
TEST(DoctorLockTest, ReportsDirectoryOrFifoAtLockPath) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        fs::create_directory(lockFile);
        ExpectProblem("lock-not-a-file", lockFile, Check());
        fs::remove(lockFile);
        ASSERT_EQ(0, mkfifo(lockFile, 0666));
        ExpectProblem("lock-not-a-file", lockFile, Check());
    });
}

TEST(DoctorLockTest, SkipsLockFileInUnsearchableDirectory) {
    Sandbox::Run([] {
        CreateLockFile(0666);
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms::none);
        WithoutRights([] { EXPECT_EQ(Verdict::skipped, Check().verdict); });
    });
}

// Replaces the setting of this host in the sandbox.
void ProtectRegularFiles(char const* setting) {
    std::ofstream("/opt/setting") << setting;
    char const place[] = "/proc/sys/fs/protected_regular";
    if (mount("/opt/setting", place, nullptr, MS_BIND, nullptr) != 0)
        throw std::runtime_error("cannot mount the setting");
}

// Returns false where the sandbox has no second user.
bool GiveLockFileToAnotherUser() {
    if (chown(lockFile, 65534, 65534) == 0)
        return true;
    EXPECT_EQ(EINVAL, errno);
    return false;
}

TEST(DoctorLockTest, ReportsProtectedLockFileInStickyDirectory) {
    Sandbox::Run([] {
        CreateLockFile(0666);
        if (!GiveLockFileToAnotherUser())
            return;
        ProtectRegularFiles("1");
        ExpectOk("free", Check());
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms(01777));
        ExpectProblem("lock-protected", "fs.protected_regular", Check());
        WithoutRights([] { ExpectOk("free", Check()); });
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms(01775));
        ExpectOk("free", Check());
        ASSERT_EQ(0, chown(ScriptedAgent::requestDirectory, 65534, 65534));
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms(01777));
        ExpectOk("free", Check());
    });
}

TEST(DoctorLockTest, ProtectionDependsOnTheSystemSetting) {
    Sandbox::Run([] {
        CreateLockFile(0666);
        if (!GiveLockFileToAnotherUser())
            return;
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms(01775));
        ProtectRegularFiles("2");
        ExpectProblem("lock-protected", "fs.protected_regular", Check());
        fs::permissions(ScriptedAgent::requestDirectory, fs::perms(01777));
        ProtectRegularFiles("0");
        ExpectOk("free", Check());
    });
}

} // namespace
