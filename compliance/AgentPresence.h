// Is the agent there? Asked before a request is written, of the file system alone.
//
// Nothing here depends on who asks: root and any other user run the same code. No process is
// signalled. A name or a process that merely looks like the agent's counts as the agent.
#pragma once

namespace UnixPlatform {

// Returns 0 if "/opt/VeskaClient/bin/VeskaClient" exists and -1 if not; note the sense. Whatever
// stands there counts, be it a directory or a file without permissions, but no broken link.
int IsInstalled();

// Whether a process of exactly the name "VeskaClient" is there (see ProcessNames.h for what a name
// is). Walks "/proc" up to the first match; false where there is no "/proc". Processes that come
// and go during the walk are seen or not.
//
// Throws nothing but std::bad_alloc.
bool IsRunning();

// Always true: on this platform there is nothing to configure.
bool IsConfigured();

} // namespace UnixPlatform
