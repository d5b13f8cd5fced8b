// A record lock on a file, which excludes other processes.
//
// The existence and the contents of the file have no meaning; it is never read or written. The
// system releases the lock when its process exits, so there are no stale locks.
#pragma once

// The lock file cannot be opened or created.
class InterProcessLockCreateError {};

// A lock of the whole file, initially not held. Not thread-safe.
//
// It is an advisory POSIX record lock (fcntl with F_SETLK), which belongs to the process and not to
// the object. So a second object for the same file in the same process can acquire the lock, too.
// Closing any file descriptor of the file in the process releases the lock.
class InterProcessLock {
public:
    // Opens the file for reading and writing, and creates it if it does not exist, with the mode
    // 0666 less the umask. Does not create its directory. The file descriptor is close-on-exec.
    // The file is never removed.
    //
    // Throws InterProcessLockCreateError.
    explicit InterProcessLock(char const* path);
    // Releases the lock and closes the file.
    ~InterProcessLock();

    InterProcessLock(InterProcessLock const&) = delete;
    InterProcessLock& operator=(InterProcessLock const&) = delete;

    // Acquires the write lock. Returns true if it is now held. Does not wait: returns false at once
    // if another process holds the lock, or if the system call fails for another reason.
    bool Lock();

    // Releases the lock. Does nothing unless the last Lock succeeded.
    //
    // Deliberate: a repeated Unlock makes the system call again, until one fails. This is harmless,
    // because releasing a lock that the process does not hold has no effect.
    void Unlock();

private:
    int fd;
    // The result of the last system call of Lock or Unlock. Unlock does nothing if it is false.
    bool locked;
};
