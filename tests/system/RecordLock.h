// The lock file of the exchange as another process sees it.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "tests/support/OtherProcess.h"
#include "tests/support/ScriptedAgent.h"

inline int OpenLockFile(std::string const& path = ScriptedAgent::lockFile) {
    int const file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0)
        throw std::runtime_error("can't open " + path);
    return file;
}

// The lock that keeps a writer off the whole file; its type is F_UNLCK if there is none.
inline struct flock AskWhoLocks(std::string const& path = ScriptedAgent::lockFile) {
    int const file = OpenLockFile(path);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    int const result = fcntl(file, F_GETLK, &lock);
    close(file);
    if (result != 0)
        throw std::runtime_error("can't ask for locks on " + path);
    return lock;
}

inline bool IsLocked(std::string const& path = ScriptedAgent::lockFile) {
    return AskWhoLocks(path).l_type != F_UNLCK;
}

inline void ExpectWholeFileLockedBy(pid_t pid, std::string const& path = ScriptedAgent::lockFile) {
    struct flock const lock = AskWhoLocks(path);
    EXPECT_EQ(F_WRLCK, lock.l_type);
    EXPECT_EQ(pid, lock.l_pid);
    EXPECT_EQ(SEEK_SET, lock.l_whence);
    EXPECT_EQ(0, lock.l_start);
    EXPECT_EQ(0, lock.l_len);
}

// A process that holds a record lock on the lock file, created if need be, from its construction
// to its end.
class ForeignLock {
public:
    explicit ForeignLock(short type = F_WRLCK, off_t start = 0, off_t length = 0)
        : holder([=](Handshake& line) {
              struct flock lock {};
              lock.l_type = type;
              lock.l_whence = SEEK_SET;
              lock.l_start = start;
              lock.l_len = length;
              if (fcntl(OpenLockFile(), F_SETLK, &lock) != 0)
                  throw std::runtime_error("can't lock");
              line.Tell("locked");
              pause();
          }) {
        holder.Await();
    }

private:
    OtherProcess holder;
};
