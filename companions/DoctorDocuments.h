// The documents of the exchange that lie about.
#pragma once

#include "companions/DoctorFinding.h"

class FileFacts;
struct LockState;

// The tool reads a response into memory, which takes up to four bytes for each of its bytes: 4 GiB
// at this limit, for millions of rows.
constexpr long long maxResponseBytes = 1LL << 30;

// A request that nobody waits for keeps off all evaluations.
//
// `before` describes the request before AskForLock returned `lock`; the request is examined again
// here. Where the lock is free, the request is left over only if it did not change in between:
// otherwise it may belong to an evaluation that began after the lock was examined.
Finding CheckRequest(FileFacts const& before, LockState const& lock);
// A temporary request of before is overwritten, if that can be done.
Finding CheckTemporaryRequest();
// An old response is usual; it is a problem where it can't be read, or not into memory.
Finding CheckResponse();
