// The companions and the stand-in agent as subjects of fault injection.
#pragma once

#include "tests/companions/Query.h"
#include "tests/stress/KilledTool.h"

namespace Stress {

// A program with its arguments.
struct Subject {
    char const* name;
    std::vector<std::string> command;
    // The same program, dynamically linked.
    char const* dynamicProgram;
    // Prepares the files of the program, calls `run`, which runs it, and checks the invariants.
    // Returns the run. REQUIRES: the body of a sandbox.
    std::function<KilledRun(std::function<KilledRun()> const& run)> tryOnce;
};

void PrintTo(Subject const& subject, std::ostream* out);

std::vector<Subject> const& CompanionSubjects();

} // namespace Stress
