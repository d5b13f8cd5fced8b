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

// The response to the last Progress request; empty before the first one, after a failed exchange
// and after COMPLIANCE_Close. Its items are the result rows if iHaveResponse is true.
extern ClientComplianceResponse iResponse;
