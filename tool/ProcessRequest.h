// Runs one compliance evaluation and prints its results.
#pragma once

// Opens an evaluation, polls it, prints its progress and results on standard output, and closes it.
// Also prints the error code of COMPLIANCE_Open, and an error that the agent reports. `url` and
// `doc` may be null. There is no timeout as long as the agent reports progress. Throws like
// COMPLIANCE_Open.
//
// Deliberate: prints nothing if a poll fails, for example by a timeout or an unreadable response,
// or if closing fails. Scripts depend on this output.
void ProcessRequest(char const* url, char const* doc, unsigned int flags);
