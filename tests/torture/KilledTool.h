// The real tool, killed at the entry of one of its system calls.
//
// It runs under ptrace and stops at the entry and at the end of every call. Where a condition says
// so, SIGKILL is sent at the entry; a process that is killed there leaves the call undone. Nothing
// else of the tool is changed, so a loop over the number of the call covers every point at which it
// can die as the file system sees it, and ends with the run that makes fewer calls.
//
// For the body of a PrivateMachine. The tool's leaks are not looked for: LeakSanitizer is a tracer
// itself, and there can be one only.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/OtherProcess.h"
#include "tests/system/Tool.h"

namespace Torture {

struct SystemCall {
    // As its manual page has it; "call 999" for one that the tool is not known to make.
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

// "rename, 2nd": the last call of the trace, and which one of its name it is.
std::string NameOfLast(Trace const& trace);
// All of them in this form.
std::vector<std::string> NamesOf(Trace const& trace);

// Asked at the entry of each call, which is the last one of the trace.
using KillCondition = std::function<bool(Trace const&)>;

KillCondition Never();
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

// Runs the tool to its end, or to its death. There is no limit of time but that of the machine.
KilledRun RunAndKill(Arguments const& arguments, KillCondition const& condition);
// The same for any program, whose path is the first argument. A condition that only returns false
// can change files between two system calls of the program.
KilledRun RunProgramAndKill(Arguments const& command, KillCondition const& condition);

} // namespace Torture
