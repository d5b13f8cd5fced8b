// Checks whether the agent is available, before a request is written. They only read the file
// system.
//
// The checks are the same for root and for other users. They send no signals. Every file or process
// with the agent's name counts as the agent.
#pragma once

namespace UnixPlatform {

// Returns 0 if AgentPaths::program exists, otherwise -1. A directory entry of any type and mode
// counts, except a dangling link.
int IsInstalled();

// True if a process has the agent's name. Stops at the first match. Throws only std::bad_alloc.
bool IsRunning();

// True if the name of the process, as ProcessNames.h defines it, is exactly the agent's name.
bool HasAgentName(unsigned int processId);

// Always true: on this platform, the agent needs no configuration.
bool IsConfigured();

} // namespace UnixPlatform
