// The outcome of the Close request does not change the output.
#include "tests/system/ToolTest.h"

namespace {

using std::chrono::seconds;

// A script up to the response with a row.
AgentScript UntilClose() { return AgentScript().Answer(OpenResponse()).Answer(OneRowResponse()); }

void ExpectOneRow(ToolRun const& run, seconds took) {
    ExpectPrinted(PrintedOneRow(), run);
    ExpectTook(took, run);
    EXPECT_FALSE(IsLocked());
}

SANDBOX_TEST(CloseTest, CloseRequestThatIsNotTakenRemainsWithoutAMessage) {
    ExpectOneRow(Evaluate(UntilClose().AwaitRequest()).tool, seconds(12));
    EXPECT_EQ(closeRequest, ReadBytes(ScriptedAgent::request));
}

SANDBOX_TEST(CloseTest, IgnoresContentOfTheLastResponse) {
    ExpectOneRow(Evaluate(UntilClose().Answer(ProgressResponse("3", "5", "50"))).tool, seconds(3));
}

} // namespace
