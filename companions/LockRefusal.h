// Why the exchange refused the lock.
#pragma once

#include "companions/QueryExit.h"

// Examines the machine after COMPLIANCE_ERROR_LOCK, which has three causes: the agent or its
// directory is missing (noAgent), the lock was held (busy), or this user cannot use the lock file
// (exchangeFailed). A lock that is free by now was held.
//
// REQUIRES: this process does not hold the lock, which would be lost.
QueryFailure DescribeLockRefusal();
