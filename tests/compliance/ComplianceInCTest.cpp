#include <gtest/gtest.h>

#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"

namespace {

// The program itself, ComplianceInC.c, ends with the number of the first call that was wrong.
TEST(ComplianceInCTest, ProgramInC89GetsTheCodesOfAMachineWithoutTheAgent) {
    PrivateMachine::Run([] {
        ProgramResult const result = RunProgram({COMPLIANCE_IN_C});
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        EXPECT_EQ("", result.output);
        EXPECT_EQ("", result.errors);
    });
}

} // namespace
