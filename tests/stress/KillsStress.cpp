// A tool that is killed at any system call leaves a state in which the next evaluation works. If a
// request is pending, the agent must take it first.
#include <iterator>
#include <set>

#include "tests/stress/Invariants.h"
#include "tests/stress/KilledTool.h"
#include "tests/stress/ParallelCases.h"
#include "tests/stress/TestCases.h"

namespace {

using namespace Stress;

// More calls than any run makes.
constexpr size_t never = 100'000;

// An agent that serves a number of requests, even if the tool is dead.
struct Scenario {
    char const* name;
    AgentScript script;
    std::string output;
    // The number of requests it has seen determines how many steps it completes, and whether there
    // is a request at the end.
    std::vector<size_t> steps;
    std::vector<bool> requestStays;
    bool agentRuns = true;
};

void PrintTo(Scenario const& scenario, std::ostream* out) { *out << scenario.name; }

// The result is long, so more than one call prints it.
RowTexts LongerRow() {
    RowTexts row = shortRow;
    row[4] = std::string(9000, 'x');
    return row;
}

// Open, two polls and Close, all answered immediately.
Scenario const answered = {"Answered",
                           WholeEvaluation({ProgressResponse("3", "0", "50"),
                                            ProgressResponse("1", "0", "100", Row(LongerRow()))}),
                           PrintedPercent("50") + PrintedCount(1) + PrintedRow(LongerRow()),
                           {0, 3, 6, 9, 12},
                           {false, false, false, false, false}};

// The agent runs, and never takes the Open request. There is an old response.
Scenario const neverTaken = {
    "NeverTaken", AgentScript().Respond(CloseResponse()), OpenError(-3), {1, 1}, {false, true}};

// The agent is installed and does not run.
Scenario const notRunning = {
    "NotRunning", AgentScript().Respond(CloseResponse()), OpenError(-2), {1}, {false}, false};

// The agent answers only the Open request. The Progress request is not taken in its ten seconds,
// and then the Close request replaces it by removal and rename.
Scenario const pollReplacedByClose = {
    "PollReplacedByClose",
    AgentScript().Answer(OpenResponse()).AwaitRequest().AwaitRequest(),
    "",
    {0, 3, 4, 5},
    {false, false, true, true}};

// The agent puts a request back during the sleep after a poll, and the next Progress request
// replaces it.
Scenario const putBackReplacedByPoll = {"PutBackReplacedByPoll",
                                        AgentScript()
                                            .Answer(OpenResponse())
                                            .Answer(ProgressResponse("3", "0", "50"))
                                            .PauseUntil(std::chrono::milliseconds(1500))
                                            .PutRequest(progressRequest)
                                            .Answer(ProgressResponse("1"))
                                            .Answer(CloseResponse()),
                                        PrintedPercent("50") + PrintedCount(0),
                                        {0, 3, 8, 11, 14},
                                        {false, false, true, false, false}};

bool IsDone(SystemCall const& call, std::string const& name, char const* path) {
    return call.succeeded && call.name == name && call.path == path;
}

bool Publishes(SystemCall const& call) {
    return IsDone(call, "rename", ScriptedAgent::requestTemp);
}
bool Removes(SystemCall const& call) { return IsDone(call, "unlink", ScriptedAgent::request); }
bool Opens(SystemCall const& call) { return IsDone(call, "openat", ScriptedAgent::requestTemp); }

// Whether the last of these two actions of the tool was the first one.
bool WasLast(Trace const& trace, bool (*first)(SystemCall const&),
             bool (*second)(SystemCall const&)) {
    for (auto call = trace.rbegin(); call != trace.rend(); ++call)
        if (first(*call) || second(*call))
            return first(*call);
    return false;
}

// Counts the published requests whose bytes were all flushed to disk by an fsync of the same file
// descriptor. Fails for the others.
size_t CountFlushedRequests(Trace const& trace) {
    long long descriptor = -1;
    bool isOnDisk = false;
    size_t published = 0;
    for (SystemCall const& call : trace) {
        bool const isOfRequest = static_cast<long long>(call.argument) == descriptor;
        if (Opens(call))
            descriptor = call.result;
        else if (call.name.find("write") != std::string::npos && isOfRequest)
            isOnDisk = false;
        else if (call.name == "fsync" && isOfRequest)
            isOnDisk = call.succeeded;
        else if (Publishes(call)) {
            EXPECT_TRUE(isOnDisk) << "request " << published;
            isOnDisk = false;
            ++published;
        }
    }
    return published;
}

// The remaining documents follow from the completed calls of the tool.
void ExpectDocumentsOf(Trace const& trace, bool requestStays) {
    bool const removed = WasLast(trace, Removes, Publishes);
    bool const unpublished = WasLast(trace, Opens, Publishes);
    std::string const found = Requests();
    EXPECT_EQ(requestStays && !removed, found.find("request.xml ") != std::string::npos) << found;
    EXPECT_EQ(unpublished, found.find("requestTemp.xml ") != std::string::npos) << found;
    // Between the two steps of a replacement the new request is complete.
    if (removed && unpublished && !WasLast(trace, Opens, Removes)) {
        std::string const temporary = ReadBytes(ScriptedAgent::requestTemp);
        EXPECT_TRUE(temporary == closeRequest || temporary == progressRequest) << temporary;
    }
}

void ExpectSeenRequests(ScriptedAgent const& agent) {
    auto const seen = agent.Requests();
    for (size_t i = 0; i < seen.size(); ++i)
        EXPECT_TRUE(seen[i].bytes == (i == 0 ? OpenRequest("url", "doc", "0") : progressRequest) ||
                    (i > 1 && seen[i].bytes == closeRequest))
            << i << ": " << seen[i].bytes;
}

void Prepare(Scenario const& scenario, ScriptedAgent& agent) {
    agent.AwaitSteps(scenario.steps[0]);
    if (!scenario.agentRuns)
        agent.Stop();
}

// Runs the scenario up to the point and checks the invariants. Returns the name of the point, or a
// space if the tool ended first.
std::string KillAt(Scenario const& scenario, KillCondition const& condition) {
    ScriptedAgent agent(scenario.script);
    Prepare(scenario, agent);
    KilledRun const run = RunAndKill({"-c", "url", "doc"}, condition);
    SCOPED_TRACE("killed at (" + NamesOf(run.trace).back() + ")");
    ExpectFreeLock();
    EXPECT_EQ(run.wasKilled ? ExitStatus::Killed(SIGKILL) : ExitStatus::Exited(0), run.status);
    EXPECT_EQ("", run.errors);
    ExpectBeginning(scenario.output, run.output);
    EXPECT_TRUE(run.wasKilled || run.output == scenario.output) << run.output;
    auto const published = static_cast<size_t>(std::ranges::count_if(run.trace, Publishes));
    agent.AwaitSteps(scenario.steps.at(published));
    ExpectKnownNames();
    ExpectWholeRequest();
    ExpectDocumentsOf(run.trace, scenario.requestStays.at(published));
    ExpectResponseOf(agent);
    ExpectSeenRequests(agent);
    if (scenario.agentRuns)
        agent.Stop();
    ExpectNextRun();
    return run.wasKilled ? NamesOf(run.trace).back() : " ";
}

// The points of a run without kills.
std::set<std::string> RecordPoints(Scenario const& scenario) {
    auto const record = [&](size_t) {
        ScriptedAgent agent(scenario.script);
        Prepare(scenario, agent);
        KilledRun const run = RunAndKill({"-c", "url", "doc"}, AtCall(never));
        EXPECT_EQ(scenario.output, run.output);
        std::string text;
        for (std::string const& name : NamesOf(run.trace))
            text += name + ' ';
        return text;
    };
    std::istringstream words(RunInParallel(scenario.name, {0}, record)[0]);
    return {std::istream_iterator<std::string>(words), {}};
}

class FullKills : public testing::TestWithParam<Scenario> {};

// The run that makes fewer calls ends the loop, so no point is omitted. The test also verifies that
// each point of a recorded run was reached.
TEST_P(FullKills, InvariantsHoldAfterKillAtEachCall) {
    constexpr size_t maxParallel = 64;
    Scenario const& scenario = GetParam();
    auto const kill = [&](size_t number) {
        return KillAt(scenario, AtCall(number));
    };
    if (IsOneCaseSelected()) {
        RunInParallel("call", TestCases(1, never), kill);
        return;
    }
    auto const recorded = RecordPoints(scenario);
    if (IsSkipped())
        return;
    std::set<std::string> hit;
    size_t testCases = 0;
    for (bool isThrough = false; !isThrough && !HasFailure(); testCases += maxParallel) {
        auto const names = RunInParallel("call", TestCases(testCases + 1, maxParallel), kill);
        hit.insert(names.begin(), names.end());
        isThrough = hit.contains(" ");
    }
    hit.erase(" ");
    EXPECT_THAT(recorded, testing::IsSubsetOf(hit));
    EXPECT_LT(20u, recorded.size());
    CountTestCases(hit.size());
}

INSTANTIATE_TEST_SUITE_P(FullKills, FullKills,
                         testing::Values(answered, notRunning, neverTaken, pollReplacedByClose,
                                         putBackReplacedByPoll),
                         NameOfRow);

// The points between which the state on disk changes, in parallel.
void KillAtPlaces(Scenario const& scenario, std::vector<Place> const& places) {
    auto const names = RunInParallel("place", TestCases(0, places.size()), [&](size_t number) {
        return KillAt(scenario, AtPlace(places[number]));
    });
    if (testing::Test::IsSkipped())
        return;
    for (size_t i = 0; i < names.size(); ++i)
        EXPECT_TRUE(names[i] != " " &&
                    (places[i].later > 0 || names[i].starts_with(places[i].name)))
            << names[i];
    CountTestCases(places.size());
}

SANDBOX_TEST(QuickKills, RequestIsFlushedToDiskBeforeItIsPublished) {
    ScriptedAgent const agent(answered.script);
    EXPECT_EQ(4u, CountFlushedRequests(RunAndKill({"-c", "url", "doc"}, AtCall(never)).trace));
}

TEST(QuickKills, InvariantsHoldAfterKillAtEachStep) {
    KillAtPlaces(answered, {{"openat", "/lockfile"},
                            {"openat", "/lockfile", 1, 2},
                            {"openat", "/requestTemp.xml"},
                            {"openat", "/requestTemp.xml", 1, 40},
                            {"fsync", ""},
                            {"rename", "/requestTemp.xml"},
                            {"rename", "/requestTemp.xml", 2},
                            {"openat", "/response.xml", 2},
                            {"exit_group", ""}});
}

TEST(QuickKills, InvariantsHoldAfterKillDuringReplacement) {
    KillAtPlaces(pollReplacedByClose,
                 {{"unlink", "/request.xml"}, {"rename", "/requestTemp.xml", 3}});
}

TEST(QuickKills, InvariantsHoldAfterKillWithoutPickup) {
    KillAtPlaces(neverTaken, {{"rename", "/requestTemp.xml"}, {"clock_nanosleep", ""}});
}

} // namespace
