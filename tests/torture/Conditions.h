// What the tests under real conditions share: evaluations of the dynamically linked tool.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"
#include "tests/system/Tool.h"
#include "tests/torture/PreloadedProgram.h"

namespace Conditions {

inline constexpr char const* responseDirectory = "/var/opt/VeskaClient/ResponseDir";

inline std::string Listing() { return ListDirectory(ScriptedAgent::requestDirectory); }

inline void ExpectOutput(std::string const& output, ProgramResult const& result) {
    EXPECT_EQ(output, result.output);
    EXPECT_EQ(ExitStatus::Exited(0), result.status);
    EXPECT_EQ("", result.errors);
    EXPECT_FALSE(IsLocked());
}

// What a request that waits makes of the next evaluation.
inline void ExpectNextIsRefused() { ExpectOutput(OpenError(-5), RunPreloaded(DynamicTool(), {})); }

} // namespace Conditions
