// One record lock on one file, between processes.
//
// Only the lock counts: the existence of the file means nothing, and its content is never read or
// written. The system releases the lock of a process that dies, so there are no stale locks.
#pragma once

// Thrown when the lock file can't be opened or created.
class InterProcessLockCreateError {};

// The lock of the whole file, free at first. Not thread-safe.
//
// It is an advisory record lock of POSIX (fcntl with F_SETLK), which belongs to the process and not
// to the object: a second object on the same file in the same process gets the lock as well, and
// closing any descriptor of that file, in any part of the process, releases the lock.
class InterProcessLock {
public:
    // Opens the file for reading and writing, and creates it if it is missing, with the mode 0666
    // less the umask. Its directory is not created. The file descriptor is close-on-exec. The file
    // is never removed.
    //
    // Throws InterProcessLockCreateError.
    explicit InterProcessLock(char const* path);
    // Unlocks, and closes the file.
    ~InterProcessLock();

    InterProcessLock(InterProcessLock const&) = delete;
    InterProcessLock& operator=(InterProcessLock const&) = delete;

    // Takes the lock for writing and returns whether it is held now. Does not wait: a lock that
    // another process holds is a failure at once.
    bool Lock();

    // Releases the lock. Does nothing unless the last Lock succeeded.
    //
    // Deliberate: a further Unlock repeats the call to the system, after one that failed it does
    // not.
    void Unlock();

private:
    // Always valid.
    int fd;
    // Whether Unlock has something to do: the success of the last call, be it Lock or Unlock.
    bool locked;
};
