// The times of the checks: about 1, 3, 7 and 10 seconds after a request is published.
//
// The checks are far apart, so the tolerances are wide. The time of the next request determines
// which check found the response.
#include "tests/system/ToolTest.h"

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::seconds;

// The second of the check that ended an exchange of this length, or -1 if there is none.
int CheckOf(std::chrono::nanoseconds exchange) {
    for (int const second : {1, 3, 7, 10})
        if (exchange > seconds(second) - milliseconds(300) &&
            exchange < seconds(second) + milliseconds(1700))
            return second;
    return -1;
}

std::string const finishedWithoutRows = ProgressResponse("1");

// The check that must find the response to an Open request, which is taken after this time. All
// other requests are taken immediately.
struct Answered {
    char const* name;
    int second;
    int milliseconds;
};

void PrintTo(Answered const& test, std::ostream* out) { *out << test.name; }

class AnsweredTest : public testing::TestWithParam<Answered> {};

TEST_P(AnsweredTest, EndsExchangeAtTheFirstCheckAfterTheRemoval) {
    Answered const& test = GetParam();
    Sandbox::RunWithDirectories([&] {
        auto const evaluation = Evaluate(AgentScript()
                                             .AwaitRequest()
                                             .Respond(OpenResponse())
                                             .PauseUntil(milliseconds(test.milliseconds))
                                             .RemoveRequest()
                                             .Answer(finishedWithoutRows)
                                             .Answer(CloseResponse()));
        ExpectPrinted(PrintedCount(0), evaluation.tool);
        auto const& requests = evaluation.requests;
        ASSERT_EQ(3u, requests.size());
        EXPECT_EQ(test.second, CheckOf(requests[1].when - requests[0].when));
        EXPECT_EQ(1, CheckOf(requests[2].when - requests[1].when));
        ExpectTook(seconds(test.second + 2), evaluation.tool);
    });
}

INSTANTIATE_TEST_SUITE_P(Check, AnsweredTest,
                         testing::Values(Answered{"GoneImmediately", 1, 0},
                                         Answered{"GoneAfterTheFirst", 3, 1700},
                                         Answered{"GoneAfterTheSecond", 7, 3700},
                                         Answered{"GoneInTheEighthSecond", 10, 8000}),
                         NameOfRow);

SANDBOX_TEST(TimingTest, PollsEveryTwoSecondsIfTheAgentAnswersAtOnce) {
    std::string const inProgress = ProgressResponse("3");
    auto const evaluation =
        Evaluate(WholeEvaluation({inProgress, inProgress, finishedWithoutRows}));
    ASSERT_EQ(5u, evaluation.requests.size());
    for (size_t const poll : {2, 3}) {
        auto const between = duration_cast<milliseconds>(evaluation.requests[poll].when -
                                                         evaluation.requests[poll - 1].when);
        EXPECT_LT(1700, between.count());
        EXPECT_GT(2900, between.count());
    }
    ExpectTook(seconds(7), evaluation.tool);
}

SANDBOX_TEST(TimingTest, RequestThatIsNotTakenIsMinus3AfterTenSeconds) {
    WriteBytes(ScriptedAgent::response, "never looked at");
    auto const evaluation = Evaluate(AgentScript().AwaitRequest());
    ExpectPrinted(OpenError(-3), evaluation.tool);
    ExpectTook(seconds(10), evaluation.tool);
    // There is no Close request, the request remains, and the next evaluation is refused.
    EXPECT_EQ(1u, evaluation.requests.size());
    EXPECT_EQ(OpenRequest("url", "doc", "0"), ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("never looked at", ReadBytes(ScriptedAgent::response));
    ScriptedAgent agent;
    EXPECT_EQ(OpenError(-5), RunTool({"-d"}).output);
}

// The only wait without a timeout: opening the FIFO at the first check. The response cannot be read
// then.
SANDBOX_TEST(TimingTest, FifoAtTheResponseBlocksUntilItHasAWriter) {
    ASSERT_EQ(0, mkfifo(ScriptedAgent::response, 0666));
    ScriptedAgent agent(AgentScript()
                            .AwaitRequest()
                            .RemoveRequest()
                            .Answer(finishedWithoutRows)
                            .Answer(CloseResponse()));
    Tool tool({"-d"});
    agent.AwaitRequests(1);
    std::this_thread::sleep_for(milliseconds(2500));
    int const fifo = open(ScriptedAgent::response, O_WRONLY | O_CLOEXEC);
    ASSERT_LE(0, fifo);
    fs::remove(ScriptedAgent::response);
    WriteBytes(ScriptedAgent::response, OpenResponse());
    close(fifo);
    EXPECT_EQ(PrintedCount(0), tool.Wait().output);
    auto const requests = agent.Requests();
    ASSERT_EQ(3u, requests.size());
    // The second sleep, of 2,000 ms, begins after the first check.
    auto const took = duration_cast<milliseconds>(requests[1].when - requests[0].when);
    EXPECT_LT(4400, took.count());
    EXPECT_GT(6400, took.count());
}

// Deliberate: nothing relates a response to its request.
SANDBOX_TEST(TimingTest, ReadsOldResponseForAllThreeRequests) {
    WriteBytes(ScriptedAgent::response, OneRowResponse());
    AgentScript script;
    for (int exchange = 0; exchange < 3; ++exchange)
        script.AwaitRequest().RemoveRequest();
    auto const evaluation = Evaluate(script);
    ExpectPrinted(PrintedOneRow(), evaluation.tool);
    ExpectTook(seconds(3), evaluation.tool);
    EXPECT_EQ(OneRowResponse(), ReadBytes(ScriptedAgent::response));
}

} // namespace
