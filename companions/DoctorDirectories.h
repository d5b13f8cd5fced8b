// The two directories of the exchange.
#pragma once

#include "companions/DoctorFinding.h"

// Whether this user can leave requests there. The lock and the requests are looked at only if it can.
Finding CheckRequestDirectory();
// Whether this user can read answers there.
Finding CheckResponseDirectory();
// Whether a stranger can put a request or an answer in the place of another one.
Finding CheckModesOfRequestDirectory();
Finding CheckModesOfResponseDirectory();
// Whether there is room for a request.
Finding CheckSpace();
