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

// True if COMPLIANCE_Progress has received the final state. The results are in iResponse.
extern bool iHaveResponse;

// The last response to COMPLIANCE_Progress; after the final one, the rows.
extern ClientComplianceResponse iResponse;
