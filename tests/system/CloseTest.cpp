// A close that fails says nothing and changes nothing of what has been printed.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "tests/support/PrivateMachine.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"
#include "tests/system/Tool.h"

namespace {

namespace fs = std::filesystem;
using PrivateMachine::CreateAgentDirectories;
using std::chrono::milliseconds;
using std::chrono::seconds;

std::string const finished = ProgressAnswer("1", "0", "100", Row("d", "r", "t", "1", "x", "c"));

constexpr char results[] = "COMPLIANCE_ResultCount is 1.\n"
                           "    Designator: d\n"
                           "        Result: r\n"
                           "   Result Type: t\n"
                           "Eval Time (\xB5s): 1\n"
                           "          Desc: x\n"
                           "       Comment: c\n"
                           "\n";

void ExpectResults(ToolRun const& run, milliseconds least) {
    EXPECT_EQ(results, run.output);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    EXPECT_LE(least.count(), run.took.count());
    EXPECT_GT((least + milliseconds(2500)).count(), run.took.count());
    EXPECT_FALSE(IsLocked());
}

TEST(CloseTest, CloseThatIsNotTakenIsSilentAndStays) {
    PrivateMachine::Run([] {
        auto const evaluation =
            Evaluate(AgentScript().Answer(OpenAnswer()).Answer(finished).AwaitRequest());
        ExpectResults(evaluation.tool, seconds(12));
        EXPECT_EQ(closeRequest, ReadBytes(ScriptedAgent::request));
    });
}

TEST(CloseTest, CloseWithAnUnreadableAnswerIsSilent) {
    PrivateMachine::Run([] {
        auto const evaluation =
            Evaluate(AgentScript().Answer(OpenAnswer()).Answer(finished).Answer("garbage"));
        ExpectResults(evaluation.tool, seconds(12));
        EXPECT_EQ("lockfile ", ListDirectory(ScriptedAgent::requestDirectory));
    });
}

TEST(CloseTest, CloseWithoutAnAnswerIsSilent) {
    PrivateMachine::Run([] {
        auto const evaluation = Evaluate(AgentScript()
                                             .Answer(OpenAnswer())
                                             .Answer(finished)
                                             .AwaitRequest()
                                             .RemoveResponse()
                                             .RemoveRequest());
        ExpectResults(evaluation.tool, seconds(12));
    });
}

TEST(CloseTest, CloseThatCannotBeWrittenIsSilent) {
    PrivateMachine::Run([] {
        std::string const moved = "/var/opt/VeskaClient/Moved";
        auto const evaluation = Evaluate(AgentScript()
                                             .Answer(OpenAnswer())
                                             .Answer(finished)
                                             .Move(ScriptedAgent::requestDirectory, moved));
        fs::rename(moved, ScriptedAgent::requestDirectory);
        ExpectResults(evaluation.tool, milliseconds(2000 + 2032));
    });
}

// Whether the agent runs is asked at the opening only.
TEST(CloseTest, AgentThatEndsInBetweenIsNotNoticed) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        auto agent =
            std::make_unique<ScriptedAgent>(AgentScript().Answer(OpenAnswer()).Answer(finished));
        Tool tool({"-d"});
        agent->AwaitEnd();
        agent.reset();
        fs::remove_all("/opt/VeskaClient");
        ExpectResults(tool.Wait(), seconds(12));
    });
}

TEST(CloseTest, ContentOfTheLastAnswerIsNotLookedAt) {
    PrivateMachine::Run([] {
        auto const evaluation = Evaluate(AgentScript()
                                             .Answer(OpenAnswer())
                                             .Answer(finished)
                                             .Answer(ProgressAnswer("3", "5", "50")));
        ExpectResults(evaluation.tool, seconds(3));
    });
}

} // namespace
