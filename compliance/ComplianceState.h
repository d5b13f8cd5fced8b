// The state of the five COMPLIANCE_ functions, for their implementation and for tests.
//
// - Closed: both flags are false.
// - Open: only iOwnLock is true.
// - Finished: both flags are true, and iResponse has the rows.
//
// Not thread-safe.
#pragma once

#include "compliance/ClientCompliance.h"

// True while this process holds the exchange lock, from COMPLIANCE_Open to COMPLIANCE_Close.
extern bool iOwnLock;

// True from a response with the state ClientComplianceStateFinished to COMPLIANCE_Close.
extern bool iHaveResponse;

// The last response to a Progress request. Its items are the result rows if iHaveResponse is true.
extern ClientComplianceResponse iResponse;
