// The lock that allows one evaluation at a time on a machine.
//
// The request and the response have fixed paths. An evaluation therefore holds a lock on
// AgentPaths::lockFile from its first access to these documents to its last. The agent creates the
// directory of the lock file. The first Lock creates the lock file, which is never removed.
#pragma once

// A singleton. Not thread-safe; does not exclude other threads of the process.
class ClientComplianceLock {
public:
    // Returns the instance, which exists from the first call until the process exits normally.
    static ClientComplianceLock& The();

    // Releases the lock if it is held.
    ~ClientComplianceLock();

    ClientComplianceLock(ClientComplianceLock const&) = delete;
    ClientComplianceLock& operator=(ClientComplianceLock const&) = delete;

    // Returns true if this call has acquired the lock. Does not wait and never throws. Returns
    // false in these cases:
    // - This process already holds the lock, and keeps it.
    // - The lock file cannot be opened or created, or memory is exhausted.
    // - Another process holds the lock, or locking the open file fails for another reason.
    //
    // Deliberate: the third case is final. All later calls in this process return false without a
    // system call, even if the lock is free by then. After the second case, the next call tries
    // again. The reason is the contract of COMPLIANCE_ERROR_LOCK, which documents both cases for
    // callers of the C API.
    bool Lock() noexcept;

    // Releases the lock. Does nothing if it is not held.
    void Unlock() noexcept;

private:
    ClientComplianceLock() = default;
};
