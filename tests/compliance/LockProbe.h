// What a stranger sees of a lock, and how a stranger takes one. Both in processes of their own:
// record locks belong to a process, and asking from inside would even give them up.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "tests/support/OtherProcess.h"

// A stretch of a file, as fcntl takes it, that somebody would like to lock.
struct WantedLock {
    short type = F_WRLCK;
    off_t start = 0;
    // 0 stands for all the rest.
    off_t length = 0;
};

inline struct flock MakeRecord(WantedLock const& wanted) {
    struct flock record {};
    record.l_type = wanted.type;
    record.l_whence = SEEK_SET;
    record.l_start = wanted.start;
    record.l_len = wanted.length;
    return record;
}

// The lock that stands in the way of another process, if there is one.
inline std::optional<struct flock> ForeignView(std::string const& path,
                                               WantedLock const& wanted = {}) {
    OtherProcess probe([&](Handshake& line) {
        int const fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
        struct flock record = MakeRecord(wanted);
        if (fd < 0 || fcntl(fd, F_GETLK, &record) != 0)
            throw std::runtime_error("The lock can't be asked for: " + path);
        line.Tell(std::string(reinterpret_cast<char const*>(&record), sizeof record));
    });
    struct flock record {};
    probe.Await().copy(reinterpret_cast<char*>(&record), sizeof record);
    probe.Wait();
    if (record.l_type == F_UNLCK)
        return std::nullopt;
    return record;
}

inline bool IsLockedForOthers(std::string const& path) { return ForeignView(path).has_value(); }

// Another process that holds a lock from the constructor on, until Release or its end.
class ForeignHolder {
public:
    explicit ForeignHolder(std::string const& path, WantedLock const& wanted = {})
        : process([path, wanted](Handshake& line) {
              int const fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
              struct flock record = MakeRecord(wanted);
              if (fd < 0 || fcntl(fd, F_SETLK, &record) != 0)
                  throw std::runtime_error("The lock can't be taken: " + path);
              line.Tell();
              line.Await();
          }) {
        process.Await();
    }

    void Release() {
        process.Tell();
        process.Wait();
    }

    pid_t pid() const { return process.pid(); }

private:
    OtherProcess process;
};
