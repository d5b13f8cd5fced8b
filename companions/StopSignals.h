// SIGINT and SIGTERM as a wish that is granted at the next good moment.
#pragma once

// From now on the first SIGINT or SIGTERM is only noted, though it cuts short the wait that it
// meets; a second one ends the process at once, as it would have without this call. One that was
// ignored when the program started goes on being ignored. SIGPIPE is ignored, so that a reader who
// is gone is an error of the write.
void CatchStopSignals();

// The number of the first signal; 0 as long as none came.
int StopSignal();

// "SIGINT" or "SIGTERM".
char const* NameOfStopSignal(int signal);
