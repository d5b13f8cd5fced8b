// The state of the five COMPLIANCE_ functions, for their source and for tests.
//
// Closed: both flags false. Open: iOwnLock. Finished: both, with the rows in iResponse. Plain
// variables without a guard: the interface is for one thread.
#pragma once

#include "compliance/ClientCompliance.h"

// This process holds the exchange lock through a successful COMPLIANCE_Open.
extern bool iOwnLock;

// COMPLIANCE_Progress has seen the final state; the results are in iResponse.
extern bool iHaveResponse;

// The one response that outlives a call: the last progress answer and, in the end, the rows.
extern ClientComplianceResponse iResponse;
