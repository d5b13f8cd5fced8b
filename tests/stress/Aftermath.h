// What must hold on a machine after a tool on it was killed, whenever that was.
//
// For the body of a Sandbox; the requests are those of `-c url doc`. The numbers are those
// of docs/testing.md.
#pragma once

#include <string>

#include "tests/support/ScriptedAgent.h"

namespace Stress {

// I2: a new process can lock the whole file, at once.
void ExpectFreeLock();

// I1: the request is absent or one of the three whole documents; the temporary one is absent or the
// beginning of one.
void ExpectWholeRequest();

// I4: nothing but the fixed names is in the two directories, at most.
void ExpectKnownNames();

// I3: the response is the file that the agent has published last, or absent if it has not.
void ExpectResponseOf(ScriptedAgent const& agent);

// I5: the beginning of all that the tool has to print. It may end within a line, since a file or a
// pipe takes the output in blocks.
void ExpectBeginning(std::string const& whole, std::string const& printed);

// I6: the next tool is refused with -5 as long as a request stands, and changes nothing; as soon as
// the agent has taken it, a whole evaluation succeeds.
void ExpectNextRun();

} // namespace Stress
