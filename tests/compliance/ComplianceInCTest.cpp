#include <gtest/gtest.h>

#include "tests/compliance/Answers.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/ScriptedAgent.h"

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

TEST(ComplianceInCTest, ProgramInC89GetsTheRowsOfAnEvaluation) {
    PrivateMachine::Run([] {
        PrivateMachine::CreateAgentDirectories();
        ScriptedAgent const agent(
            AgentScript()
                .Answer(Answers::Bare("Open"))
                .Answer(Answers::Progress("1", Answers::Row("d", "r", "t", "e", "i", "c")))
                .Answer(Answers::Bare("Close")));
        ExpectGood(RunProgram({COMPLIANCE_IN_C, "evaluate"}));
    });
}

} // namespace
