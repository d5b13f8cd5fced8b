// The lock of the exchange, as somebody sees it who does not want it.
#pragma once

#include <sys/types.h>

#include "companions/DoctorFinding.h"

struct LockState {
    enum What {
        none,    // also if there is no lock file
        held,    // by the process below
        unknown, // the file can't be opened for reading, or is not a regular file
    };

    What what = none;
    // 0 if the holder lives in a process namespace that this process can't see into, -1 if the lock
    // belongs to an open file and not to a process.
    pid_t holder = 0;
};

// Asks the system who keeps a writer off the lock file. The file is opened for reading only and is
// never created; no lock is taken.
//
// REQUIRES: this process holds no lock on the file, which would be lost.
LockState AskForLock();

// Whether this user could take the lock, as AskForLock returned it.
Finding CheckLock(LockState const& state);
