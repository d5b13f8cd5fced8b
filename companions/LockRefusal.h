// Diagnoses COMPLIANCE_ERROR_LOCK.
#pragma once

#include "companions/QueryExit.h"

// Examines the machine and returns the cause of COMPLIANCE_ERROR_LOCK:
//
// - noAgent: the agent's program or the request directory is missing;
// - exchangeFailed: this user cannot use the lock file;
// - busy: the lock is held, or was held and is free now.
//
// REQUIRES: this process does not hold the lock; the examination would release it.
QueryFailure DescribeLockRefusal();
