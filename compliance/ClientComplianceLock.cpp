#include "compliance/ClientComplianceLock.h"

#include "compliance/InterProcessLock.h"

namespace {

constexpr char const* lockFile = "/var/opt/VeskaClient/RequestDir/lockfile";

// Not null: Lock refuses. The object that it points to may be gone, as the next variable tells.
InterProcessLock* iLock = nullptr;
// Set when the object is gone for good and iLock stands only for the refusal. Then nothing may
// touch the object, and iLock is never cleared again.
bool iLockIsGone = false;

void DestroyAndRefuseFromNowOn() {
    delete iLock;
    iLockIsGone = true;
}

} // namespace

ClientComplianceLock& ClientComplianceLock::The() {
    static ClientComplianceLock instance;
    return instance;
}

// The pointer stays, so that nobody takes the lock once the process is on its way out.
ClientComplianceLock::~ClientComplianceLock() {
    if (iLock && !iLockIsGone)
        DestroyAndRefuseFromNowOn();
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): asked of the single instance
bool ClientComplianceLock::Lock() noexcept {
    if (iLock)
        return false;
    try {
        iLock = new InterProcessLock(lockFile);
    } catch (...) {
        // Nothing was made, and the pointer is still null: the next call tries afresh.
        return false;
    }
    if (iLock->Lock())
        return true;
    DestroyAndRefuseFromNowOn();
    return false;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): asked of the single instance
void ClientComplianceLock::Unlock() noexcept {
    if (!iLock || iLockIsGone)
        return;
    delete iLock;
    iLock = nullptr;
}
