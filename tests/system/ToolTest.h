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

// The name of a test of a table whose rows have names.
inline constexpr auto NameOfRow = [](auto const& test) {
    return std::string(test.param.name);
};

inline constexpr char const* responseDirectory = "/var/opt/VeskaClient/ResponseDir";

inline std::string Repeated(std::string const& text, int times) {
    std::string repeated;
    for (int i = 0; i < times; ++i)
        repeated += text;
    return repeated;
}

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
