// Checks for the agent, made before a request is written. They read the file system only.
//
// Root and any other user run the same code. No process is signalled. Any file or process with the
// agent's name counts as the agent.
#pragma once

namespace UnixPlatform {

// Returns 0 if AgentPaths::program exists and -1 if not; note the sense. An entry of any type and
// mode counts, except for a dangling link.
int IsInstalled();

// Returns whether a process has the agent's name. Stops at the first match. Throws nothing but
// std::bad_alloc.
bool IsRunning();

// Returns whether the process has exactly the agent's name (ProcessNames.h defines the name).
bool HasAgentName(unsigned int processId);

// Always true: on this platform there is nothing to configure.
bool IsConfigured();

} // namespace UnixPlatform
