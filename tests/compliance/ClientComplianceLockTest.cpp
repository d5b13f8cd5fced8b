#include "compliance/ClientComplianceLock.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/compliance/ExchangeFiles.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;

static_assert(std::is_empty_v<ClientComplianceLock>);
static_assert(!std::is_copy_constructible_v<ClientComplianceLock>);
static_assert(noexcept(std::declval<ClientComplianceLock&>().Lock()));

constexpr char const* requestDirectory = "/var/opt/VeskaClient/RequestDir";
constexpr char const* lockFile = "/var/opt/VeskaClient/RequestDir/lockfile";

bool Lock() { return ClientComplianceLock::The().Lock(); }

void Unlock() { ClientComplianceLock::The().Unlock(); }

// The state of the lock belongs to the process, so each case needs a process of its own: the body
// of a machine is one.
using ExchangeFiles::OnMachine;

TEST(ClientComplianceLockTest, IsOneInstance) {
    OnMachine([] { EXPECT_EQ(&ClientComplianceLock::The(), &ClientComplianceLock::The()); });
}

SANDBOX_TEST(ClientComplianceLockTest, LocksTheFixedFileAndNothingElse) {
    umask(022);
    EXPECT_TRUE(Lock());
    EXPECT_TRUE(IsLockedForOthers(lockFile));
    for (auto const& entry : fs::directory_iterator(requestDirectory))
        EXPECT_EQ(lockFile, entry.path().string());
    EXPECT_EQ(fs::perms(0644), fs::status(lockFile).permissions());
}

SANDBOX_TEST(ClientComplianceLockTest, FileStaysBehindAfterUnlock) {
    EXPECT_TRUE(Lock());
    Unlock();
    EXPECT_TRUE(fs::exists(lockFile));
    EXPECT_EQ(0u, fs::file_size(lockFile));
    EXPECT_FALSE(IsLockedForOthers(lockFile));
}

SANDBOX_TEST(ClientComplianceLockTest, ContentOfTheFileIsNeverTouched) {
    std::ofstream(lockFile) << "content";
    EXPECT_TRUE(Lock());
    Unlock();
    std::string content;
    std::getline(std::ifstream(lockFile), content);
    EXPECT_EQ("content", content);
}

SANDBOX_TEST(ClientComplianceLockTest, SecondLockInOneProcessIsRefusedAndTheFirstStaysHeld) {
    EXPECT_TRUE(Lock());
    long const open = CountOpenDescriptors();
    EXPECT_FALSE(Lock());
    EXPECT_EQ(open, CountOpenDescriptors());
    EXPECT_TRUE(IsLockedForOthers(lockFile));
    Unlock();
    EXPECT_FALSE(IsLockedForOthers(lockFile));
}

SANDBOX_TEST(ClientComplianceLockTest, UnlockWithoutLockDoesNothing) {
    Unlock();
    EXPECT_FALSE(fs::exists(lockFile));
    EXPECT_TRUE(Lock());
    Unlock();
    Unlock();
    EXPECT_FALSE(IsLockedForOthers(lockFile));
}

SANDBOX_TEST(ClientComplianceLockTest, CanBeTakenAgainAfterUnlock) {
    long const open = CountOpenDescriptors();
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(Lock());
        EXPECT_TRUE(IsLockedForOthers(lockFile));
        Unlock();
        EXPECT_EQ(open, CountOpenDescriptors());
    }
}

SANDBOX_TEST(ClientComplianceLockTest, OfTwoProcessesTheSecondIsRefusedAtOnce) {
    EXPECT_TRUE(Lock());
    OtherProcess second([] {
        // A copy of our memory has our state too, so the second process starts afresh.
        Unlock();
        EXPECT_FALSE(Lock());
    });
    EXPECT_EQ(ExitStatus::Exited(0), second.Wait());
    EXPECT_TRUE(IsLockedForOthers(lockFile));
}

// Deliberate: the refusal is for good, though the lock is free again.
SANDBOX_TEST(ClientComplianceLockTest, LockHeldElsewhereRefusesThisProcessForGood) {
    ForeignLock holder(lockFile);
    long const open = CountOpenDescriptors();
    EXPECT_FALSE(Lock());
    EXPECT_EQ(open, CountOpenDescriptors());
    holder.Release();
    EXPECT_FALSE(IsLockedForOthers(lockFile));
    EXPECT_FALSE(Lock());
    EXPECT_FALSE(IsLockedForOthers(lockFile));
    fs::remove(lockFile);
    EXPECT_FALSE(Lock());
    EXPECT_FALSE(fs::exists(lockFile)) << "A later call must not try the file again.";
}

SANDBOX_TEST(ClientComplianceLockTest, UnlockAfterRefusalChangesNothing) {
    {
        ForeignLock const holder(lockFile);
        EXPECT_FALSE(Lock());
    }
    Unlock();
    Unlock();
    EXPECT_FALSE(Lock());
}

SANDBOX_TEST(ClientComplianceLockTest, ProcessThatWasRefusedExitsInOrder) {
    ForeignLock const holder(lockFile);
    OtherProcess refused([] {
        EXPECT_FALSE(Lock());
        std::exit(0);
    });
    EXPECT_EQ(ExitStatus::Exited(0), refused.Wait());
    EXPECT_TRUE(IsLockedForOthers(lockFile));
}

TEST(ClientComplianceLockTest, MissingDirectoryGivesFalseAndLaterCallTriesAfresh) {
    PrivateMachine::Run([] {
        EXPECT_FALSE(Lock());
        EXPECT_FALSE(fs::exists("/var/opt/VeskaClient"));
        EXPECT_FALSE(Lock());
        PrivateMachine::CreateAgentDirectories();
        EXPECT_TRUE(Lock());
        EXPECT_TRUE(IsLockedForOthers(lockFile));
        Unlock();
        EXPECT_FALSE(IsLockedForOthers(lockFile));
    });
}

SANDBOX_TEST(ClientComplianceLockTest, DirectoryInThePlaceOfTheFileGivesFalse) {
    fs::create_directory(lockFile);
    EXPECT_FALSE(Lock());
    fs::remove(lockFile);
    EXPECT_TRUE(Lock());
}

SANDBOX_TEST(ClientComplianceLockTest, MissingRightsGiveFalseAndLaterCallTriesAfresh) {
    std::ofstream(lockFile) << "";
    fs::permissions(lockFile, fs::perms(0444));
    OtherProcess ordinary([](Handshake& line) {
        PrivateMachine::DropPrivileges();
        EXPECT_FALSE(Lock());
        line.Tell();
        line.Await();
        EXPECT_TRUE(Lock());
    });
    ordinary.Await();
    fs::permissions(lockFile, fs::perms(0666));
    ordinary.Tell();
    EXPECT_EQ(ExitStatus::Exited(0), ordinary.Wait());
}

SANDBOX_TEST(ClientComplianceLockTest, UserWhoMayNotCreateTheFileGetsFalse) {
    fs::permissions(requestDirectory, fs::perms(0555));
    PrivateMachine::DropPrivileges();
    EXPECT_FALSE(Lock());
    EXPECT_FALSE(fs::exists(lockFile));
}

SANDBOX_TEST(ClientComplianceLockTest, ExhaustedMemoryGivesFalseAndLaterCallTriesAfresh) {
    {
        FailingAllocation const failing(1);
        EXPECT_FALSE(Lock());
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_FALSE(fs::exists(lockFile));
    EXPECT_TRUE(Lock());
}

SANDBOX_TEST(ClientComplianceLockTest, DescriptorIsClosedOnExec) {
    int const fd = open("/dev/null", O_RDONLY);
    close(fd);
    EXPECT_TRUE(Lock());
    EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));
}

SANDBOX_TEST(ClientComplianceLockTest, LockOfKilledProcessIsFree) {
    OtherProcess holder([](Handshake& line) {
        EXPECT_TRUE(Lock());
        line.Tell();
        line.Await();
    });
    holder.Await();
    EXPECT_TRUE(IsLockedForOthers(lockFile));
    holder.Kill(SIGKILL);
    holder.Wait();
    EXPECT_TRUE(Lock());
}

Handshake* exitLine = nullptr;

// Registered before the first use of the lock, so it runs after the instance was destroyed.
void PauseBehindTheDestructor() {
    exitLine->Tell("at exit");
    exitLine->Await();
}

SANDBOX_TEST(ClientComplianceLockTest, IsHeldUntilNormalExitAndFreedByIt) {
    OtherProcess holder([](Handshake& line) {
        exitLine = &line;
        std::atexit(PauseBehindTheDestructor);
        EXPECT_TRUE(Lock());
        line.Tell("locked");
        line.Await();
        std::exit(0);
    });
    EXPECT_EQ("locked", holder.Await());
    EXPECT_TRUE(IsLockedForOthers(lockFile));
    holder.Tell();
    // The process still lives, so it is the destructor that has freed the lock.
    EXPECT_EQ("at exit", holder.Await());
    EXPECT_FALSE(IsLockedForOthers(lockFile));
    holder.Tell();
    EXPECT_EQ(ExitStatus::Exited(0), holder.Wait());
}

} // namespace
