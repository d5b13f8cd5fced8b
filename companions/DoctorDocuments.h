// The documents of the exchange that lie about.
#pragma once

#include "companions/DoctorFinding.h"

// The tool reads a response into memory, which takes up to four bytes for each of its bytes: 4 GiB
// at this limit, for millions of rows.
constexpr long long maxResponseBytes = 1LL << 30;

// A request that waits keeps all evaluations off, unless the lock says that one is under way.
Finding CheckRequest();
// A temporary request of before is overwritten, if that can be done.
Finding CheckTemporaryRequest();
// An old response is usual; it is a problem where it can't be read, or not into memory.
Finding CheckResponse();
