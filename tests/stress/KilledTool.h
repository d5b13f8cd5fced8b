// Runs the real tool under ptrace, and kills it at the entry of one of its system calls.
//
// SIGKILL is sent at the entry of a call, so that call is not made. A loop over the number of the
// call therefore covers every point at which the file system can observe the death of the tool.
//
// REQUIRES: a sandbox. The leak checker is off, because LeakSanitizer is a tracer itself.
#pragma once

#include "tests/support/OtherProcess.h"
#include "tests/system/Tool.h"

namespace Stress {

struct SystemCall {
    // The name of the manual page, or "call999" for a call without a name in the table.
    std::string name;
    // The first path argument; empty if there is none.
    std::string path;
    // False if the call failed, or was not made because the tool was killed.
    bool succeeded = false;
    // The first argument, which is the file descriptor of `write`, `fsync` and `close`.
    unsigned long long argument = 0;
    // The return value, which is the file descriptor of `openat`. Set if the call succeeded.
    long long result = 0;
};

// The calls of a run, from the first one after the execve of the tool.
using Trace = std::vector<SystemCall>;

// Returns the names with their occurrences, such as "rename#2" for the second call of rename.
std::vector<std::string> NamesOf(Trace const& trace);

// Called at the entry of each call, which is the last one of the trace. Returns whether to kill the
// tool.
using KillCondition = std::function<bool(Trace const&)>;

// Returns a condition for the call with this number, counted from 1.
KillCondition AtCall(std::size_t number);

// A call by its subject, which is the same for any compiler and with a sanitizer.
struct Place {
    std::string name;
    // The end of the path of the call.
    std::string path;
    // The occurrence of the call, counted from 1.
    std::size_t occurrence = 1;
    // The number of calls between this call and the place.
    std::size_t later = 0;
};
KillCondition AtPlace(Place const& place);

struct KilledRun {
    // If the tool was killed, the last call was not made.
    Trace trace;
    bool wasKilled = false;
    ExitStatus status;
    std::string output;
    std::string errors;
};

// Called at the entry of each call, which is the last one of the trace. Returns the error number
// that the call fails with, or 0.
using FaultCondition = std::function<int(Trace const&)>;

// Runs the tool until it ends or is killed. The only timeout is that of the sandbox.
KilledRun RunAndKill(Arguments const& arguments, KillCondition const& condition);
// As RunAndKill, for any program. The first word is its path.
KilledRun RunProgramAndKill(Arguments const& command, KillCondition const& condition);
// Runs a program to its end. Calls `change` at the entry of the first system call for which `isDue`
// returns true, before the call is made. Throws std::runtime_error if there is none.
KilledRun RunProgramWithChange(Arguments const& command, KillCondition const& isDue,
                               std::function<void()> const& change);
// Runs a program to its end. The first argument is its path. A call that fails is not made: its
// number is replaced by an invalid one. This also works for a static program.
KilledRun RunProgramWithFaults(Arguments const& command, FaultCondition const& errorOf);

} // namespace Stress
