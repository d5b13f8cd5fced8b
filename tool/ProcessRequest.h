// Runs one compliance request and prints its results.
#pragma once

// Opens a request, waits for its end, closes it, and prints the results on standard output. `url`
// and `doc` may be null. Waits without a limit, as long as the agent reports progress.
//
// Deliberate: prints nothing if polling fails by a timeout, an unreadable response or a lost lock.
void ProcessRequest(char const* url, char const* doc, unsigned int flags);
