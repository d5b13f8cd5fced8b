// The documents of the exchange that lie about.
#pragma once

#include "companions/DoctorFinding.h"

// A request that waits keeps all evaluations off, unless the lock says that one is under way.
Finding CheckRequest();
// A temporary request of before is overwritten, if that can be done.
Finding CheckTemporaryRequest();
// An old response is always there; what matters is whether it can be read.
Finding CheckResponse();
