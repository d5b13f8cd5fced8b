// A tool that is killed from outside at a random time, while the agent's behaviour is random. The
// seed of a test case determines both; STRESS_CASE=<seed> repeats one.
#include "tests/stress/Invariants.h"
#include "tests/stress/ParallelCases.h"
#include "tests/stress/Random.h"
#include "tests/stress/TestCases.h"

namespace {

using std::chrono::milliseconds;

// The behaviour of the agent, the time of the kill, and the output of a complete run.
struct Course {
    AgentScript script;
    std::string output;
    std::chrono::microseconds killedAfter{0};
    // No more responses.
    bool isSilent = false;
};

// One request receives a good response in one of several ways. A response always follows a request
// that is pending, so an older one is never read for it.
AgentScript& AnswerRandomly(AgentScript& script, Random& random, std::string const& response) {
    auto const pause = milliseconds(random.Below(2500));
    script.AwaitRequest();
    switch (random.Below(8)) {
    case 0:
        return script.PauseUntil(pause).Respond(response).RemoveRequest();
    case 1:
        return script.Respond(response).PauseUntil(pause).RemoveRequest();
    case 2:
        return script.Respond("garbage").RemoveRequest().PauseUntil(pause).Respond(response);
    case 3:
        return script.Respond(response)
            .PutRequest(progressRequest)
            .PauseUntil(pause)
            .RemoveRequest();
    case 4:
        return script.Respond(response.substr(0, response.size() / 2))
            .Respond(response)
            .RemoveRequest();
    default:
        return script.Respond(response).RemoveRequest();
    }
}

// Returns false if the agent ignores this request and all later ones.
bool IsAnswered(Course& course, Random& random, std::string const& response) {
    course.isSilent = course.isSilent || random.Below(24) == 0;
    if (!course.isSilent)
        AnswerRandomly(course.script, random, response);
    return !course.isSilent;
}

// Complete rows.
void FinishWithRows(Course& course, Random& random, size_t number) {
    std::string rows;
    std::string lines = PrintedCount(number);
    for (size_t i = 0; i < number; ++i) {
        RowTexts row = shortRow;
        row[5] = std::string(random.Below(2000), 'c');
        rows += Row(row);
        lines += PrintedRow(row);
    }
    if (IsAnswered(course, random, ProgressResponse("1", "0", "100", rows)))
        course.output += lines;
}

void FinishWithError(Course& course, Random& random) {
    std::string const error = std::to_string(random.Below(100));
    if (IsAnswered(course, random, ProgressResponse("2", error)))
        course.output += PrintedError(error);
}

void Poll(Course& course, Random& random) {
    for (size_t left = random.Below(3); left > 0 && !course.isSilent; --left) {
        std::string const percent = std::to_string(random.Below(101));
        if (IsAnswered(course, random, ProgressResponse("3", "0", percent)))
            course.output += PrintedPercent(percent);
    }
    if (course.isSilent)
        return;
    if (random.Below(4) == 0)
        FinishWithError(course, random);
    else
        FinishWithRows(course, random, random.Below(4));
}

// The tool works for some milliseconds at its start and after each second of sleep. Two thirds of
// the kills are at these times.
std::chrono::microseconds RandomTime(Random& random) {
    auto const microseconds = [&](size_t limit) {
        return std::chrono::microseconds(random.Below(limit));
    };
    switch (random.Below(3)) {
    case 0:
        return microseconds(7'000'000);
    case 1:
        return std::chrono::seconds(random.Below(7)) + microseconds(25'000);
    default:
        return microseconds(8'000);
    }
}

Course CourseOf(size_t seed) {
    Random random(seed);
    Course course;
    course.killedAfter = RandomTime(random);
    if (IsAnswered(course, random, OpenResponse())) {
        Poll(course, random);
        IsAnswered(course, random, CloseResponse());
    } else {
        course.output = OpenError(-3);
    }
    return course;
}

// Returns the exit status of the tool, and the remaining files.
std::string KillAtRandomTime(size_t seed) {
    Course const course = CourseOf(seed);
    ScriptedAgent agent(course.script);
    Tool tool({"-c", "url", "doc"});
    std::this_thread::sleep_for(course.killedAfter);
    tool.Kill(SIGKILL);
    ToolRun const run = tool.Wait();
    ExpectFreeLock();
    agent.Stop();
    bool const wasKilled = run.status == ExitStatus::Killed(SIGKILL);
    if (wasKilled)
        ExpectBeginning(course.output, run.output);
    else
        ExpectPrinted(course.output, run);
    ExpectKnownNames();
    ExpectWholeRequest();
    ExpectResponseOf(agent);
    std::string words = wasKilled ? "killed" : "ended";
    words += FileOnDisk(ScriptedAgent::request).inode ? " request" : "";
    words += FileOnDisk(ScriptedAgent::requestTemp).inode ? " temporary" : "";
    ExpectNextRun();
    return words;
}

void KillRandomly(size_t firstSeed, size_t number) {
    auto const seeds = TestCases(firstSeed, number);
    auto const ends = RunInParallel("seed", seeds, KillAtRandomTime);
    CountTestCases(seeds.size());
    for (char const* const word : {"killed", "request", "temporary"})
        testing::Test::RecordProperty(
            word, std::to_string(std::count_if(ends.begin(), ends.end(), [&](auto const& end) {
                return end.find(word) != std::string::npos;
            })));
}

constexpr size_t maxParallel = 64;

class FullKillRandomly : public testing::TestWithParam<size_t> {};

TEST_P(FullKillRandomly, InvariantsHoldAtAnyTime) { KillRandomly(GetParam(), maxParallel); }

INSTANTIATE_TEST_SUITE_P(FullSeeds, FullKillRandomly,
                         testing::Range<size_t>(0, 32 * maxParallel, maxParallel),
                         [](auto const& test) { return "From" + std::to_string(test.param); });

TEST(QuickKillRandomly, InvariantsHoldAtAnyTime) { KillRandomly(1'000'000, 3); }

} // namespace
