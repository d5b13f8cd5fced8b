// Locks a file as another process does, and queries its locks. The default is the lock file of the
// exchange.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

#include "tests/support/OtherProcess.h"
#include "tests/support/ScriptedAgent.h"

// The range of a file to lock.
struct WantedLock {
    short type = F_WRLCK;
    off_t start = 0;
    // 0 means to the end of the file, also if the file grows.
    off_t length = 0;

    struct flock Record() const {
        struct flock record {};
        record.l_type = type;
        record.l_whence = SEEK_SET;
        record.l_start = start;
        record.l_len = length;
        return record;
    }
};

inline int OpenLockFile(std::string const& path = ScriptedAgent::lockFile) {
    int const file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0)
        throw std::runtime_error("cannot open " + path);
    return file;
}

// The lock that conflicts with the wanted one; its type is F_UNLCK if there is none.
//
// REQUIRES: this process holds no lock on the file, because closing a descriptor releases it.
inline struct flock AskWhoLocks(std::string const& path = ScriptedAgent::lockFile,
                                WantedLock const& wanted = {}) {
    int const file = OpenLockFile(path);
    struct flock record = wanted.Record();
    int const result = fcntl(file, F_GETLK, &record);
    close(file);
    if (result != 0)
        throw std::runtime_error("cannot ask for locks on " + path);
    return record;
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

// As AskWhoLocks, but by another process. This process may hold the lock.
inline std::optional<struct flock> ForeignView(std::string const& path,
                                               WantedLock const& wanted = {}) {
    OtherProcess probe([&](Handshake& line) {
        struct flock const record = AskWhoLocks(path, wanted);
        line.Tell(std::string(reinterpret_cast<char const*>(&record), sizeof record));
    });
    struct flock record {};
    probe.Await().copy(reinterpret_cast<char*>(&record), sizeof record);
    probe.Wait();
    return record.l_type == F_UNLCK ? std::nullopt : std::optional(record);
}

inline bool IsLockedForOthers(std::string const& path) { return ForeignView(path).has_value(); }

// Another process that holds a lock, from the construction to Release or the destruction. It
// creates the file if necessary.
class ForeignLock {
public:
    explicit ForeignLock(std::string const& path, WantedLock const& wanted = {})
        : holder([=](Handshake& line) {
              struct flock record = wanted.Record();
              if (fcntl(OpenLockFile(path), F_SETLK, &record) != 0)
                  throw std::runtime_error("cannot lock " + path + ": " + std::strerror(errno));
              line.Tell();
              line.Await(std::chrono::hours(1));
          }) {
        holder.Await();
    }
    explicit ForeignLock(short type = F_WRLCK, off_t start = 0, off_t length = 0)
        : ForeignLock(ScriptedAgent::lockFile, {type, start, length}) {}

    void Release() {
        holder.Tell();
        holder.Wait();
    }

    pid_t pid() const { return holder.pid(); }

private:
    OtherProcess holder;
};
