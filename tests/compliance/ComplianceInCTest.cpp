#include <gtest/gtest.h>

#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"

namespace {

SANDBOX_TEST(ComplianceInCTest, ProgramInC89EvaluatesADocument) {
    ScriptedAgent const agent(
        WholeEvaluation({ProgressResponse("1", "0", "100", Row({"d", "r", "t", "e", "i", "c"}))}));
    ProgramResult const result = RunProgram({COMPLIANCE_IN_C});
    EXPECT_EQ(ExitStatus::Exited(0), result.status);
    EXPECT_EQ("", result.output + result.errors);
}

} // namespace
