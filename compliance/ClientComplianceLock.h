// The lock that keeps evaluations apart: one at a time on a machine.
//
// The request and the response have one fixed path each, so an evaluation holds the lock on
// AgentPaths::lockFile from its first access to its last. The directory is the agent's and must
// exist; the file is created at first use, and stays.
#pragma once

// The single instance. One thread; between threads of a process it keeps nothing apart.
class ClientComplianceLock {
public:
    // Built on first use, destroyed at the normal exit of the process.
    static ClientComplianceLock& The();

    // Gives the lock up if it is held.
    ~ClientComplianceLock();

    ClientComplianceLock(ClientComplianceLock const&) = delete;
    ClientComplianceLock& operator=(ClientComplianceLock const&) = delete;

    // Takes the lock and returns whether it is held now. Does not wait, and never throws: a missing
    // directory, missing rights and a lock held elsewhere all give false.
    //
    // While this process holds the lock, a further call gives false and changes nothing.
    //
    // Deliberate: once another process was found to hold the lock, every later call in this process
    // gives false, without trying again, also when the lock is free by then. After a failure to
    // open the file a later call does try again.
    bool Lock() noexcept;

    // Gives the lock up. Does nothing while it is not held.
    void Unlock() noexcept;

private:
    ClientComplianceLock() = default;
};
