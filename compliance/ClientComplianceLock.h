// The lock that keeps evaluations apart: one at a time on a machine.
//
// The request and the response have one fixed path each, so an evaluation holds the lock on
// AgentPaths::lockFile from its first access to its last. The directory is the agent's and must
// exist; the file is created at first use, and stays.
#pragma once

// The single instance. Not thread-safe, and no lock between the threads of a process.
class ClientComplianceLock {
public:
    // Built on first use, destroyed at the normal exit of the process.
    static ClientComplianceLock& The();

    // Releases the lock if it is held.
    ~ClientComplianceLock();

    ClientComplianceLock(ClientComplianceLock const&) = delete;
    ClientComplianceLock& operator=(ClientComplianceLock const&) = delete;

    // Takes the lock and returns whether it is held now. Does not wait, and never throws: a missing
    // directory, missing rights and a lock held by another process all return false.
    //
    // While this process holds the lock, a further call returns false and changes nothing.
    //
    // Deliberate: after another process was found to hold the lock, every later call in this
    // process returns false without a system call, also when the lock is free by then. After a
    // failure to open the file a later call tries again.
    bool Lock() noexcept;

    // Releases the lock. Does nothing while it is not held.
    void Unlock() noexcept;

private:
    ClientComplianceLock() = default;
};
