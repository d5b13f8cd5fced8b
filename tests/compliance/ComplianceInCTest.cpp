#include <gtest/gtest.h>

#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"

namespace {

// The program itself, ComplianceInC.c, ends with the number of the first call that was wrong.
void ExpectGood(ProgramResult const& result) {
    EXPECT_EQ(ExitStatus::Exited(0), result.status);
    EXPECT_EQ("", result.output);
    EXPECT_EQ("", result.errors);
}

TEST(ComplianceInCTest, ProgramInC89GetsTheCodesOfAMachineWithoutTheAgent) {
    PrivateMachine::Run([] { ExpectGood(RunProgram({COMPLIANCE_IN_C})); });
}

SANDBOX_TEST(ComplianceInCTest, ProgramInC89GetsTheRowsOfAnEvaluation) {
    ScriptedAgent const agent(
        AgentScript()
            .Answer(AnswerOfType("Open"))
            .Answer(ProgressAnswer("1", "0", "100", Row({"d", "r", "t", "e", "i", "c"})))
            .Answer(AnswerOfType("Close")));
    ExpectGood(RunProgram({COMPLIANCE_IN_C, "evaluate"}));
}

} // namespace
