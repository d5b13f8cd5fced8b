#include "compliance/ClientComplianceLock.h"

#include "compliance/AgentPaths.h"
#include "compliance/InterProcessLock.h"

namespace {

// The lock while it is held, otherwise null.
InterProcessLock* iLock = nullptr;
// If true, Lock returns false for the rest of the process.
bool iLockIsRefused = false;

void Destroy() {
    delete iLock;
    iLock = nullptr;
}

} // namespace

ClientComplianceLock& ClientComplianceLock::The() {
    static ClientComplianceLock instance;
    return instance;
}

// If the lock is held when the process exits, later calls of Lock return false.
ClientComplianceLock::~ClientComplianceLock() {
    if (!iLock)
        return;
    Destroy();
    iLockIsRefused = true;
}

bool ClientComplianceLock::Lock() noexcept {
    if (iLock || iLockIsRefused)
        return false;
    try {
        iLock = new InterProcessLock(AgentPaths::lockFile); // GCOVR_EXCL_BR_LINE: may throw
    } catch (...) {
        // iLock is still null, so the next call tries again.
        return false;
    }
    if (iLock->Lock())
        return true;
    Destroy();
    iLockIsRefused = true;
    return false;
}

void ClientComplianceLock::Unlock() noexcept { Destroy(); }
