// One compliance request from open to close, with its output.
#pragma once

// Runs one request and prints its outcome on standard output. `url` and `doc` may be null. Returns
// when the evaluation is over, however long the agent goes on reporting progress.
//
// Deliberate: a time-out, an unreadable answer and a lost lock while polling print nothing.
void ProcessRequest(char const* url, char const* doc, unsigned int flags);
