#include "compliance/InterProcessLock.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <type_traits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;

static_assert(std::is_empty_v<InterProcessLockCreateError>);
static_assert(!std::is_base_of_v<std::exception, InterProcessLockCreateError>);

class InterProcessLockTest : public testing::Test {
protected:
    TemporaryDirectory const directory;
    std::string const path = directory / "lockfile";
};

// The descriptor that the next open will get.
int NextDescriptor() {
    int const next = open("/dev/null", O_RDONLY);
    close(next);
    return next;
}

unsigned int ModeOfFileCreatedUnder(mode_t mask, std::string const& path) {
    mode_t const old = umask(mask);
    InterProcessLock const lock(path.c_str());
    umask(old);
    struct stat status {};
    stat(path.c_str(), &status);
    return status.st_mode;
}

TEST_F(InterProcessLockTest, CreatesItsFileWithTheModeThatTheUmaskLeaves) {
    EXPECT_EQ(S_IFREG | 0666u, ModeOfFileCreatedUnder(0, directory / "a"));
    EXPECT_EQ(S_IFREG | 0644u, ModeOfFileCreatedUnder(022, directory / "b"));
    EXPECT_EQ(S_IFREG | 0600u, ModeOfFileCreatedUnder(077, directory / "c"));
}

TEST_F(InterProcessLockTest, NeverTouchesContentModeOrTimesOfItsFile) {
    std::ofstream(path) << "content of somebody else";
    fs::permissions(path, fs::perms(0640));
    struct stat before {};
    ASSERT_EQ(0, stat(path.c_str(), &before));
    {
        InterProcessLock lock(path.c_str());
        EXPECT_TRUE(lock.Lock());
        lock.Unlock();
    }
    struct stat after {};
    ASSERT_EQ(0, stat(path.c_str(), &after));
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(before.st_size, after.st_size);
    EXPECT_EQ(before.st_mode, after.st_mode);
    EXPECT_EQ(before.st_mtim.tv_sec, after.st_mtim.tv_sec);
    EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
    std::string content;
    std::getline(std::ifstream(path), content);
    EXPECT_EQ("content of somebody else", content);
}

TEST_F(InterProcessLockTest, FileStaysBehindEmpty) {
    {
        InterProcessLock lock(path.c_str());
        EXPECT_TRUE(lock.Lock());
    }
    EXPECT_TRUE(fs::is_regular_file(path));
    EXPECT_EQ(0u, fs::file_size(path));
}

TEST_F(InterProcessLockTest, FileThatCannotBeOpenedThrows) {
    EXPECT_THROW(InterProcessLock((directory / "missing/lockfile").c_str()),
                 InterProcessLockCreateError);
    EXPECT_THROW(InterProcessLock(directory.path().c_str()), InterProcessLockCreateError);
    EXPECT_THROW(InterProcessLock(""), InterProcessLockCreateError);
    fs::create_symlink(path, path);
    EXPECT_THROW(InterProcessLock(path.c_str()), InterProcessLockCreateError);
}

TEST_F(InterProcessLockTest, FailedOpenLeavesNoDescriptorOpen) {
    int const next = NextDescriptor();
    EXPECT_THROW(InterProcessLock(directory.path().c_str()), InterProcessLockCreateError);
    EXPECT_EQ(next, NextDescriptor());
}

TEST_F(InterProcessLockTest, FileThatMayNotBeWrittenThrows) {
    PrivateMachine::Run([] {
        std::ofstream("/opt/lockfile") << "";
        fs::permissions("/opt/lockfile", fs::perms(0444));
        fs::permissions("/opt", fs::perms(0555));
        PrivateMachine::DropPrivileges();
        EXPECT_THROW(InterProcessLock("/opt/lockfile"), InterProcessLockCreateError);
        EXPECT_THROW(InterProcessLock("/opt/other"), InterProcessLockCreateError);
    });
}

TEST_F(InterProcessLockTest, DescriptorReadsAndWritesAndIsClosedOnExec) {
    int const fd = NextDescriptor();
    InterProcessLock const lock(path.c_str());
    EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD));
    EXPECT_EQ(O_RDWR, fcntl(fd, F_GETFL) & O_ACCMODE);
    EXPECT_EQ(path, fs::read_symlink("/proc/self/fd/" + std::to_string(fd)).string());
    std::string const isOpen = "test -e /proc/self/fd/" + std::to_string(fd);
    OtherProcess inheriting(
        [&] { execl("/bin/sh", "sh", "-c", isOpen.c_str(), static_cast<char*>(nullptr)); });
    EXPECT_EQ(ExitStatus::Exited(1), inheriting.Wait());
}

TEST_F(InterProcessLockTest, DestructorClosesItsDescriptor) {
    int const fd = NextDescriptor();
    { InterProcessLock const lock(path.c_str()); }
    EXPECT_EQ(fd, NextDescriptor());
}

TEST_F(InterProcessLockTest, IsFreeAtFirst) {
    InterProcessLock const lock(path.c_str());
    EXPECT_FALSE(IsLockedForOthers(path));
}

TEST_F(InterProcessLockTest, LocksTheWholeFileForWriting) {
    InterProcessLock lock(path.c_str());
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
}

TEST_F(InterProcessLockTest, LocksTheWholeFileWhateverItsContent) {
    std::string const content = "content of somebody else";
    std::ofstream(path) << content;
    InterProcessLock lock(path.c_str());
    for (off_t const length : {off_t(1), off_t(content.size())}) {
        ForeignLock const holder(path, {.start = 0, .length = length});
        EXPECT_FALSE(lock.Lock()) << length;
    }
    ASSERT_TRUE(lock.Lock());
    EXPECT_TRUE(ForeignView(path, {.start = 0, .length = 1}));
    auto const seen = ForeignView(path);
    ASSERT_TRUE(seen);
    EXPECT_EQ(0, seen->l_start);
    EXPECT_EQ(0, seen->l_len);
    lock.Unlock();
    EXPECT_FALSE(IsLockedForOthers(path));
}

TEST_F(InterProcessLockTest, LockHeldElsewhereIsRefusedAtOnce) {
    ForeignLock holder(path);
    InterProcessLock lock(path.c_str());
    EXPECT_FALSE(lock.Lock());
    auto const seen = ForeignView(path);
    ASSERT_TRUE(seen);
    EXPECT_EQ(holder.pid(), seen->l_pid);
    holder.Release();
    EXPECT_TRUE(lock.Lock());
}

TEST_F(InterProcessLockTest, LockOnAnyByteElsewhereIsInTheWay) {
    ForeignLock const reader(path, {.type = F_RDLCK, .start = off_t(1) << 40, .length = 1});
    InterProcessLock lock(path.c_str());
    EXPECT_FALSE(lock.Lock());
}

TEST_F(InterProcessLockTest, TwoProcessesExcludeEachOther) {
    InterProcessLock lock(path.c_str());
    ASSERT_TRUE(lock.Lock());
    OtherProcess other([&](Handshake& line) {
        InterProcessLock theirs(path.c_str());
        EXPECT_FALSE(theirs.Lock());
        line.Tell();
        line.Await();
        EXPECT_TRUE(theirs.Lock());
        line.Tell();
        line.Await();
    });
    other.Await();
    lock.Unlock();
    other.Tell();
    other.Await();
    EXPECT_FALSE(lock.Lock());
    other.Tell();
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    EXPECT_TRUE(lock.Lock());
}

TEST_F(InterProcessLockTest, ForkedChildHoldsNothing) {
    InterProcessLock lock(path.c_str());
    ASSERT_TRUE(lock.Lock());
    OtherProcess child([&] { EXPECT_FALSE(lock.Lock()); });
    EXPECT_EQ(ExitStatus::Exited(0), child.Wait());
    EXPECT_TRUE(IsLockedForOthers(path));
}

TEST_F(InterProcessLockTest, LockAgainStaysLocked) {
    InterProcessLock lock(path.c_str());
    EXPECT_TRUE(lock.Lock());
    EXPECT_TRUE(lock.Lock());
    EXPECT_TRUE(IsLockedForOthers(path));
    lock.Unlock();
    EXPECT_FALSE(IsLockedForOthers(path));
}

TEST_F(InterProcessLockTest, DestructorUnlocks) {
    auto lock = std::make_unique<InterProcessLock>(path.c_str());
    ASSERT_TRUE(lock->Lock());
    lock.reset();
    EXPECT_FALSE(IsLockedForOthers(path));
}

TEST_F(InterProcessLockTest, LockOfKilledProcessIsFree) {
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
    InterProcessLock lock(path.c_str());
    EXPECT_TRUE(lock.Lock());
}

// Record locks belong to the process: a second object gets the same one. With it the tests below
// see whether an Unlock called the system, since that would free the lock under the second object.
TEST_F(InterProcessLockTest, SecondObjectInTheSameProcessIsNotShutOut) {
    InterProcessLock first(path.c_str());
    InterProcessLock second(path.c_str());
    EXPECT_TRUE(first.Lock());
    EXPECT_TRUE(second.Lock());
}

TEST_F(InterProcessLockTest, UnlockWithoutLockDoesNothing) {
    InterProcessLock first(path.c_str());
    InterProcessLock second(path.c_str());
    ASSERT_TRUE(second.Lock());
    first.Unlock();
    EXPECT_TRUE(IsLockedForOthers(path));
}

TEST_F(InterProcessLockTest, UnlockAfterSuccessfulUnlockRepeatsTheCallOnPurpose) {
    InterProcessLock first(path.c_str());
    InterProcessLock second(path.c_str());
    ASSERT_TRUE(first.Lock());
    first.Unlock();
    ASSERT_TRUE(second.Lock());
    first.Unlock();
    EXPECT_FALSE(IsLockedForOthers(path));
}

TEST_F(InterProcessLockTest, UnlockAfterRefusedLockDoesNothing) {
    InterProcessLock first(path.c_str());
    InterProcessLock second(path.c_str());
    ASSERT_TRUE(first.Lock());
    first.Unlock();
    {
        ForeignLock const holder(path);
        EXPECT_FALSE(first.Lock());
    }
    ASSERT_TRUE(second.Lock());
    first.Unlock();
    EXPECT_TRUE(IsLockedForOthers(path));
}

TEST_F(InterProcessLockTest, UnlockAfterFailedUnlockDoesNothingOnPurpose) {
    int const fd = NextDescriptor();
    InterProcessLock first(path.c_str());
    ASSERT_TRUE(first.Lock());
    // The call fails while the descriptor is closed behind the object's back.
    int const aside = dup(fd);
    close(fd);
    first.Unlock();
    ASSERT_EQ(fd, dup2(aside, fd));
    close(aside);
    InterProcessLock second(path.c_str());
    ASSERT_TRUE(second.Lock());
    first.Unlock();
    EXPECT_TRUE(IsLockedForOthers(path));
}

} // namespace
