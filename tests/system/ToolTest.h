// The common includes and checks of the tests that run the real tool.
#pragma once

#include <algorithm>
#include <csignal>

#include <sys/stat.h>

#include "tests/support/Entries.h"
#include "tests/support/Sandbox.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"
#include "tests/system/Tool.h"

namespace fs = std::filesystem;

inline constexpr char const* responseDirectory = "/var/opt/VeskaClient/ResponseDir";

// The names in the request directory, each followed by a space.
inline std::string Requests() { return ListDirectory(ScriptedAgent::requestDirectory); }

// The run, of a Tool or an OtherProgram, has printed exactly this, and has exited with this status.
template <class Run>
void ExpectPrinted(std::string const& output, Run const& run, int status = 0) {
    EXPECT_EQ(output, run.output);
    EXPECT_EQ(ExitStatus::Exited(status), run.status);
    if constexpr (requires { run.errors; }) {
        EXPECT_EQ("", run.errors);
    }
}

// The run has taken this long, and not as long as another poll or another series of retries.
inline void ExpectTook(std::chrono::milliseconds expected, ToolRun const& run) {
    EXPECT_LE(expected.count(), run.took.count());
    EXPECT_GT(expected.count() + 950, run.idle.count());
}
