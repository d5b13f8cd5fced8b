// Diagnoses COMPLIANCE_ERROR_LOCK.
#pragma once

#include "companions/QueryExit.h"

// Examines the machine and returns the first of these causes of COMPLIANCE_ERROR_LOCK that applies:
//
// - noAgent: the agent's program or the request directory is missing;
// - busy: another process holds the lock;
// - exchangeFailed: the lock file is a symbolic link, or this user can neither use nor create it;
// - exchangeFailed: there is no lock file, and the disk is full;
// - busy: otherwise, because another process has probably released the lock since.
//
// REQUIRES: this process does not hold the lock; the examination would release it.
QueryFailure DescribeLockRefusal();
