// Handlers for SIGINT, SIGTERM and SIGHUP, and functions whose waits these signals interrupt.
//
// Process-wide state; not thread-safe.
#pragma once

#include <chrono>

// Installs the handlers. The first SIGINT, SIGTERM or SIGHUP is only recorded. Signals during the
// following second have no effect, because a terminal that hangs up, its shell and timeout(1) may
// send several. A later one has its default action and terminates the process. A signal that was
// ignored before stays ignored.
//
// Ignores SIGPIPE, so writes fail with EPIPE instead.
void CatchStopSignals();

// Returns the number of the first stop signal, or 0 if none has been received.
int StopSignal();

// Returns "SIGINT", "SIGTERM" or "SIGHUP".
char const* NameOfStopSignal(int signal);

// Blocks the stop signals. Returns the set of those that were not blocked before: bit n stands for
// signal n.
unsigned int HoldStopSignals();

// Unblocks the signals of a set that HoldStopSignals returned. Delivers pending ones before it
// returns.
void ReleaseStopSignals(unsigned int held);

// The functions below do not wait after a stop signal, and stop waiting when one arrives. They have
// no race: a signal that arrives just before the wait also ends it.

void SleepUnlessStopped(std::chrono::milliseconds time);

// Waits until a write to the file descriptor would succeed or fail without blocking (poll(2)).
// Returns false if a stop signal ended the wait.
bool AwaitWritable(int descriptor);
