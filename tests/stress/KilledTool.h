// The real tool, killed at the entry of one of its system calls.
//
// It runs under ptrace. Where a condition says so, SIGKILL is sent at the entry of a call; a
// process that is killed there leaves the call undone. A loop over the number of the call therefore
// covers every point at which the file system can see the tool die.
//
// REQUIRES: a sandbox. Leaks are not looked for: LeakSanitizer is a tracer itself.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/OtherProcess.h"
#include "tests/system/Tool.h"

namespace Stress {

struct SystemCall {
    // As its manual page has it; "call999" for one without a name here.
    std::string name;
    // The path that it is given, or the first of two; empty if it takes none.
    std::string path;
    // False for one that failed, and for one that was not made since the tool was killed.
    bool succeeded = false;
    // The first argument, which is the descriptor of `write`, `fsync` and `close`.
    unsigned long long argument = 0;
    // What it returned, which is the descriptor of `openat`. Set if it succeeded.
    long long result = 0;
};

// The calls of a run, from the first one behind the execve of the tool.
using Trace = std::vector<SystemCall>;

// The calls as "rename#2", the second call of that name.
std::vector<std::string> NamesOf(Trace const& trace);

// Asked at the entry of each call, which is the last one of the trace.
using KillCondition = std::function<bool(Trace const&)>;

// At the call of this number, from 1.
KillCondition AtCall(std::size_t number);

// A call by what it is about, which is the same for any compiler and under a sanitizer.
struct Place {
    std::string name;
    // The end of its path.
    std::string path;
    // Which one of these.
    std::size_t occurrence = 1;
    // So many calls behind it.
    std::size_t later = 0;
};
KillCondition AtPlace(Place const& place);

struct KilledRun {
    // If it was killed, the last call was not made.
    Trace trace;
    bool wasKilled = false;
    ExitStatus status;
    std::string output;
    std::string errors;
};

// Asked at the entry of each call, which is the last one of the trace. Returns the error number
// that the call fails with, or 0.
using FaultCondition = std::function<int(Trace const&)>;

// Runs the tool to its end, or to its death. There is no limit of time but that of the machine.
KilledRun RunAndKill(Arguments const& arguments, KillCondition const& condition);
// The same for any program, whose path is the first argument. A condition that only returns false
// can change files between two system calls of the program.
KilledRun RunProgramAndKill(Arguments const& command, KillCondition const& condition);
// Runs a program, whose path is the first argument, to its end. A call that fails is not made: the
// kernel gets the number of no call. That works for a program that is linked statically, too.
KilledRun RunProgramWithFaults(Arguments const& command, FaultCondition const& errorOf);

} // namespace Stress
