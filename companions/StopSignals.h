// SIGINT, SIGTERM and SIGHUP as a request to stop, and waits that such a request ends.
#pragma once

#include <chrono>

// From now on the first SIGINT, SIGTERM or SIGHUP is only recorded; a second one ends the process
// at once, with the default action. One that is ignored when the program starts stays ignored.
//
// SIGPIPE and SIGXFSZ are ignored: the write fails instead, with EPIPE or EFBIG.
void CatchStopSignals();

// Returns the number of the first stop signal; 0 as long as none came.
int StopSignal();

// Returns "SIGINT", "SIGTERM" or "SIGHUP".
char const* NameOfStopSignal(int signal);

// Blocks the stop signals. Returns those that were not blocked, as a set: bit n is the signal n.
unsigned int HoldStopSignals();

// Unblocks the signals of a set. One that came in the meantime is delivered before the return.
void ReleaseStopSignals(unsigned int held);

// The waits below are race-free: a stop signal ends them whenever it comes, before the wait too.

void SleepUnlessStopped(std::chrono::milliseconds time);

// Waits until poll(2) reports that a write to the file descriptor makes progress or fails. After a
// stop signal it does not wait, and returns false if the write would have to.
bool AwaitWritable(int descriptor);
