// Invariants of a sandbox after a tool was killed in it. Their numbers are those of
// docs/testing.md.
//
// REQUIRES: the body of a Sandbox; the requests are those of `-c url doc`.
#pragma once

#include "tests/support/ScriptedAgent.h"

namespace Stress {

// I2: a new process can lock the whole lock file immediately.
void ExpectFreeLock();

// I1: the request is absent or one of the three complete documents. The temporary document is
// absent or the start of one.
void ExpectWholeRequest();

// I4: the two directories contain only the fixed names.
void ExpectKnownNames();

// I3: the response is the last file that the agent has published, or absent if there is none.
void ExpectResponseOf(ScriptedAgent const& agent);

// I5: `printed` is the start of the expected output. It may end within a line, because output to a
// file or a pipe is written in blocks.
void ExpectBeginning(std::string const& whole, std::string const& printed);

// I6: while a request is pending, the next tool fails with -5 and changes nothing. When the agent
// has taken the request, an evaluation succeeds.
void ExpectNextRun();

} // namespace Stress
