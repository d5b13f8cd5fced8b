// The agent's program and its process.
#pragma once

#include "companions/DoctorFinding.h"

// Whether something stands where the agent's program belongs, and whether it could be run.
Finding CheckAgentProgram();

// Whether the agent runs, and how that is known: a process of the agent's name counts as the agent
// for the exchange, be it dead but not yet reaped, or another program altogether.
Finding CheckAgentProcess();
