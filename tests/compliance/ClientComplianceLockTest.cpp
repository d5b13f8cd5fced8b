#include "compliance/ClientComplianceLock.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <type_traits>
#include <utility>

#include <sys/stat.h>

#include "tests/compliance/ExchangeFiles.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"
#include "tests/system/RecordLock.h"

// The state of the lock belongs to the process, so each test has a sandbox.
namespace {

namespace fs = std::filesystem;

static_assert(std::is_empty_v<ClientComplianceLock>);
static_assert(!std::is_copy_constructible_v<ClientComplianceLock>);
static_assert(noexcept(std::declval<ClientComplianceLock&>().Lock()));

constexpr char const* lockFile = "/var/opt/VeskaClient/RequestDir/lockfile";

bool Lock() { return ClientComplianceLock::The().Lock(); }

void Unlock() { ClientComplianceLock::The().Unlock(); }

// Expects that Lock fails and leaks no file descriptor.
void ExpectNoLock() {
    long const open = CountOpenDescriptors();
    EXPECT_FALSE(Lock());
    EXPECT_EQ(open, CountOpenDescriptors());
}

SANDBOX_TEST(ClientComplianceLockTest, LocksTheFixedFileRepeatedly) {
    EXPECT_EQ(&ClientComplianceLock::The(), &ClientComplianceLock::The());
    umask(022);
    long const open = CountOpenDescriptors();
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(Lock());
        EXPECT_TRUE(IsLockedForOthers(lockFile));
        Unlock();
        EXPECT_FALSE(IsLockedForOthers(lockFile));
        EXPECT_EQ(open, CountOpenDescriptors());
    }
    for (auto const& entry : fs::directory_iterator(ExchangeFiles::requestDirectory))
        EXPECT_EQ(lockFile, entry.path().string());
    EXPECT_EQ(fs::perms(0644), fs::status(lockFile).permissions());
    EXPECT_EQ(0u, fs::file_size(lockFile));
}

SANDBOX_TEST(ClientComplianceLockTest, FollowsLinkAtTheLockFile) {
    fs::create_symlink("/opt/elsewhere", lockFile);
    EXPECT_TRUE(Lock());
    EXPECT_TRUE(fs::is_symlink(lockFile));
    EXPECT_TRUE(IsLockedForOthers("/opt/elsewhere"));
}

SANDBOX_TEST(ClientComplianceLockTest, SecondLockFailsAndTheFirstStaysHeld) {
    EXPECT_TRUE(Lock());
    long const open = CountOpenDescriptors();
    EXPECT_FALSE(Lock());
    EXPECT_EQ(open, CountOpenDescriptors());
    EXPECT_TRUE(IsLockedForOthers(lockFile));
    Unlock();
    EXPECT_FALSE(IsLockedForOthers(lockFile));
}

SANDBOX_TEST(ClientComplianceLockTest, UnlockWithoutLockHasNoEffect) {
    Unlock();
    EXPECT_FALSE(fs::exists(lockFile));
    EXPECT_TRUE(Lock());
    Unlock();
    Unlock();
    EXPECT_TRUE(Lock());
}

// Deliberate: the failure is permanent, although the lock becomes free again.
SANDBOX_TEST(ClientComplianceLockTest, FailureDueToALockOfAnotherProcessIsPermanent) {
    ForeignLock holder(lockFile);
    ExpectNoLock();
    EXPECT_TRUE(IsLockedForOthers(lockFile));
    holder.Release();
    ExpectNoLock();
    EXPECT_FALSE(IsLockedForOthers(lockFile));
    Unlock();
    EXPECT_FALSE(Lock());
    fs::remove(lockFile);
    EXPECT_FALSE(Lock());
    EXPECT_FALSE(fs::exists(lockFile)) << "a later call opens no file";
}

SANDBOX_TEST(ClientComplianceLockTest, ProcessThatFailedToLockExitsNormally) {
    ForeignLock const holder(lockFile);
    OtherProcess refused([] {
        EXPECT_FALSE(Lock());
        std::exit(0);
    });
    EXPECT_EQ(ExitStatus::Exited(0), refused.Wait());
    EXPECT_TRUE(IsLockedForOthers(lockFile));
}

SANDBOX_TEST(ClientComplianceLockTest, FailureToOpenTheFileOrAllocateIsNotPermanent) {
    fs::remove(ExchangeFiles::requestDirectory);
    EXPECT_FALSE(Lock());
    EXPECT_FALSE(fs::exists(ExchangeFiles::requestDirectory));
    Sandbox::CreateAgentDirectories();
    fs::create_directory(lockFile);
    EXPECT_FALSE(Lock());
    fs::remove(lockFile);
    {
        FailingAllocation const failing(1);
        EXPECT_FALSE(Lock());
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_FALSE(fs::exists(lockFile));
    EXPECT_TRUE(Lock());
    EXPECT_TRUE(IsLockedForOthers(lockFile));
}

Handshake* exitLine = nullptr;

// Registered before the first use of the lock, so it runs after the instance was destroyed.
void PauseAfterTheDestructor() {
    exitLine->Tell(Lock() ? "locked again" : "at exit");
    exitLine->Await();
}

SANDBOX_TEST(ClientComplianceLockTest, NormalExitReleasesItAndLaterLocksFail) {
    OtherProcess holder([](Handshake& line) {
        exitLine = &line;
        std::atexit(PauseAfterTheDestructor);
        EXPECT_TRUE(Lock());
        line.Tell("locked");
        line.Await();
        std::exit(0);
    });
    EXPECT_EQ("locked", holder.Await());
    EXPECT_TRUE(IsLockedForOthers(lockFile));
    holder.Tell();
    // The process still runs, so the destructor has released the lock.
    EXPECT_EQ("at exit", holder.Await());
    EXPECT_FALSE(IsLockedForOthers(lockFile));
    holder.Tell();
    EXPECT_EQ(ExitStatus::Exited(0), holder.Wait());
}

} // namespace
