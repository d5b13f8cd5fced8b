#include "compliance/InterProcessLock.h"

#include <csignal>
#include <memory>

#include <sys/stat.h>

#include "tests/compliance/ExchangeFiles.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;
using ExchangeFiles::NextDescriptor;

class InterProcessLockTest : public testing::Test {
protected:
    struct stat Status() const {
        struct stat status {};
        stat(path.c_str(), &status);
        return status;
    }

    TemporaryDirectory const directory;
    std::string const path = directory / "lockfile";
};

TEST_F(InterProcessLockTest, CreatesAnEmptyFileOfMode0666LessUmaskAndKeepsIt) {
    for (mode_t const mask : {0U, 022U, 077U}) {
        mode_t const old = umask(mask);
        EXPECT_TRUE(InterProcessLock(path.c_str()).Lock());
        umask(old);
        EXPECT_EQ(S_IFREG | (0666U & ~mask), Status().st_mode);
        EXPECT_EQ(0, Status().st_size);
        fs::remove(path);
    }
}

TEST_F(InterProcessLockTest, NeverChangesItsFile) {
    WriteWholeFile(path, "content of somebody else");
    fs::permissions(path, fs::perms(0640));
    auto const facts = [&] {
        struct stat const status = Status();
        return std::tuple(status.st_ino, status.st_mode, status.st_mtim.tv_sec,
                          status.st_mtim.tv_nsec);
    };
    auto const before = facts();
    {
        InterProcessLock lock(path.c_str());
        EXPECT_TRUE(lock.Lock());
        lock.Unlock();
    }
    EXPECT_EQ(before, facts());
    EXPECT_EQ("content of somebody else", ReadWholeFile(path));
}

TEST_F(InterProcessLockTest, ThrowsIfTheFileCannotBeOpenedAndLeaksNoDescriptor) {
    fs::create_symlink(path, path);
    int const next = NextDescriptor();
    for (std::string const& name : {std::string(), path, directory.path(), path + "/missing"}) {
        EXPECT_THROW(InterProcessLock(name.c_str()), InterProcessLockCreateError) << name;
        EXPECT_EQ(next, NextDescriptor()) << name;
    }
}

TEST_F(InterProcessLockTest, ThrowsIfTheFileIsNotWritableOrCannotBeCreated) {
    Sandbox::Run([] {
        WriteWholeFile("/opt/lockfile", "");
        fs::permissions("/opt/lockfile", fs::perms(0444));
        fs::permissions("/opt", fs::perms(0555));
        Sandbox::DropPrivileges();
        EXPECT_THROW(InterProcessLock("/opt/lockfile"), InterProcessLockCreateError);
        EXPECT_THROW(InterProcessLock("/opt/other"), InterProcessLockCreateError);
    });
}

TEST_F(InterProcessLockTest, DescriptorIsReadWriteAndCloseOnExec) {
    int const fd = NextDescriptor();
    {
        InterProcessLock const lock(path.c_str());
        EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));
        EXPECT_EQ(O_RDWR, fcntl(fd, F_GETFL) & O_ACCMODE);
        EXPECT_EQ(std::set<int>{fd}, DescriptorsOn(path));
        EXPECT_FALSE(IsLockedForOthers(path)) << "not locked before Lock";
    }
    EXPECT_EQ(fd, NextDescriptor());
    OtherProcess withoutInput([&] {
        close(0);
        EXPECT_TRUE(InterProcessLock(path.c_str()).Lock()) << "with file descriptor 0";
    });
    EXPECT_EQ(ExitStatus::Exited(0), withoutInput.Wait());
}

TEST_F(InterProcessLockTest, LocksTheWholeFileForWritingIndependentOfItsContent) {
    for (std::string const content : {"", "content of somebody else"}) {
        WriteWholeFile(path, content);
        InterProcessLock lock(path.c_str());
        for (WantedLock const& wanted :
             {WantedLock{.length = 1}, WantedLock{.length = 24},
              WantedLock{.type = F_RDLCK, .start = off_t(1) << 40, .length = 1}}) {
            ForeignLock const holder(path, wanted);
            EXPECT_FALSE(lock.Lock());
        }
        ASSERT_TRUE(lock.Lock());
        auto const seen = ForeignView(path);
        ASSERT_TRUE(seen);
        EXPECT_EQ(F_WRLCK, seen->l_type);
        EXPECT_EQ(0, seen->l_start);
        EXPECT_EQ(0, seen->l_len);
        EXPECT_EQ(getpid(), seen->l_pid);
        EXPECT_TRUE(ForeignView(path, {.type = F_RDLCK}));
        EXPECT_TRUE(ForeignView(path, {.start = 0, .length = 1}));
        EXPECT_TRUE(ForeignView(path, {.start = off_t(1) << 62, .length = 1}));
        lock.Unlock();
        EXPECT_FALSE(IsLockedForOthers(path));
    }
}

TEST_F(InterProcessLockTest, ForkedChildDoesNotHoldIt) {
    InterProcessLock lock(path.c_str());
    ASSERT_TRUE(lock.Lock());
    OtherProcess child([&] { EXPECT_FALSE(lock.Lock()); });
    EXPECT_EQ(ExitStatus::Exited(0), child.Wait());
    EXPECT_TRUE(IsLockedForOthers(path));
}

TEST_F(InterProcessLockTest, RepeatedLockSucceedsAndOneUnlockReleasesIt) {
    auto lock = std::make_unique<InterProcessLock>(path.c_str());
    EXPECT_TRUE(lock->Lock());
    EXPECT_TRUE(lock->Lock());
    EXPECT_TRUE(IsLockedForOthers(path));
    lock->Unlock();
    EXPECT_FALSE(IsLockedForOthers(path));
    EXPECT_TRUE(lock->Lock());
    lock.reset();
    EXPECT_FALSE(IsLockedForOthers(path)) << "the destructor unlocks";
}

TEST_F(InterProcessLockTest, LockOfAKilledProcessIsFree) {
    OtherProcess holder([&](Handshake& line) {
        InterProcessLock lock(path.c_str());
        EXPECT_TRUE(lock.Lock());
        line.Tell();
        line.Await();
    });
    holder.Await();
    EXPECT_TRUE(IsLockedForOthers(path));
    holder.Kill(SIGKILL);
    EXPECT_EQ(ExitStatus::Killed(SIGKILL), holder.Wait());
    EXPECT_TRUE(InterProcessLock(path.c_str()).Lock());
}

// Record locks belong to the process, so two objects share one. If Unlock of the first object calls
// the system, it releases the lock of the second.
class TwoLocksTest : public InterProcessLockTest {
protected:
    // Returns whether an Unlock of the first object leaves the second one locked.
    bool UnlockDoesNothing() {
        EXPECT_TRUE(second.Lock());
        first.Unlock();
        return IsLockedForOthers(path);
    }

    int const fd = NextDescriptor();
    InterProcessLock first{path.c_str()};
    InterProcessLock second{path.c_str()};
};

TEST_F(TwoLocksTest, UnlockWithoutLockHasNoEffect) { EXPECT_TRUE(UnlockDoesNothing()); }

TEST_F(TwoLocksTest, UnlockAfterAFailedLockHasNoEffect) {
    EXPECT_TRUE(first.Lock());
    first.Unlock();
    {
        ForeignLock const holder(path);
        EXPECT_FALSE(first.Lock());
    }
    EXPECT_TRUE(UnlockDoesNothing());
}

// Deliberate: only the result of the last call of Lock or Unlock matters.
TEST_F(TwoLocksTest, UnlockIsRepeatedOnlyAfterASuccessfulCall) {
    EXPECT_TRUE(first.Lock());
    first.Unlock();
    EXPECT_FALSE(UnlockDoesNothing());
    // The call fails while the descriptor is closed.
    int const aside = dup(fd);
    close(fd);
    first.Unlock();
    EXPECT_EQ(fd, dup2(aside, fd));
    close(aside);
    EXPECT_TRUE(UnlockDoesNothing());
}

} // namespace
