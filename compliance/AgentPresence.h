// Checks whether the agent is installed, running and configured. COMPLIANCE_Open calls these
// functions before it writes a request.
//
// They only read the file system, and send no signals. They do not treat root specially, but may
// return different results for root, who can search all directories and see all processes. They
// identify the agent only by the path of its program and by the name of its process.
#pragma once

namespace UnixPlatform {

// Returns 0 if stat(2) finds AgentPaths::program, otherwise -1. The file may have any type and
// mode. A dangling link counts as missing, and so does a file in a directory that the user may not
// search.
int IsInstalled();

// True if a process has the agent's name. Stops at the first match. False if "/proc" cannot be
// read. Throws only std::bad_alloc.
bool IsRunning();

// True if the name of the process, as ProcessNames.h defines it, is exactly the agent's name.
bool HasAgentName(unsigned int processId);

// Always true: on this platform, the agent needs no configuration.
bool IsConfigured();

} // namespace UnixPlatform
