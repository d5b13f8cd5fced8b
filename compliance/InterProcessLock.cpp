#include "compliance/InterProcessLock.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr mode_t readAndWriteForAll = 0666;

// Sets the record lock of the whole file to the given type, without waiting. Returns true on
// success.
bool SetRecord(int fd, short type) {
    struct flock record {};
    record.l_type = type;
    record.l_whence = SEEK_SET;
    record.l_start = 0;
    record.l_len = 0;
    return fcntl(fd, F_SETLK, &record) == 0;
}

} // namespace

InterProcessLock::InterProcessLock(char const* path)
    : fd(open(path, O_RDWR | O_CREAT, readAndWriteForAll)), locked(false) {
    if (fd < 0)
        throw InterProcessLockCreateError();
    fcntl(fd, F_SETFD, FD_CLOEXEC);
}

InterProcessLock::~InterProcessLock() {
    Unlock();
    close(fd);
}

bool InterProcessLock::Lock() {
    locked = SetRecord(fd, F_WRLCK);
    return locked;
}

void InterProcessLock::Unlock() {
    if (locked)
        locked = SetRecord(fd, F_UNLCK);
}
