// Diagnoses COMPLIANCE_ERROR_LOCK.
#pragma once

#include "companions/QueryExit.h"

// Examines the machine and returns the cause of COMPLIANCE_ERROR_LOCK:
//
// - noAgent: the agent's program or the request directory is missing;
// - exchangeFailed: the lock file is a symbolic link, or this user can neither use nor create it;
// - busy: another process holds the lock, or has released it since.
//
// REQUIRES: this process does not hold the lock; the examination would release it.
QueryFailure DescribeLockRefusal();
