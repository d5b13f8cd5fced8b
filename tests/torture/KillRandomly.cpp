// A tool that is killed from outside at any time, while the agent behaves in any way.
//
// Nothing traces the tool and nothing stands in for the clock: it is what an impatient
// administrator does. The seed of a cell decides on the agent and on the time; TORTURE_CELL=<seed>
// repeats one.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <random>
#include <string>
#include <thread>

#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"
#include "tests/system/Tool.h"
#include "tests/torture/Aftermath.h"
#include "tests/torture/AtOnce.h"
#include "tests/torture/Cells.h"

namespace {

using namespace Torture;
using std::chrono::milliseconds;

// The same numbers for the same seed, everywhere.
class Dice {
public:
    explicit Dice(size_t seed) : engine(static_cast<std::mt19937::result_type>(seed)) {}
    size_t Below(size_t limit) { return engine() % limit; }
    bool OneIn(size_t number) { return Below(number) == 0; }

private:
    std::mt19937 engine;
};

// What the agent does, when the tool is killed, and what it would have printed in the end.
struct Course {
    AgentScript script;
    std::string output;
    std::chrono::microseconds killedAfter{0};
    // Nothing more is answered.
    bool isSilent = false;
};

// One request is answered well in the end, in one of several ways. A response is only ever behind a
// request that still stands, so that an older one is never taken for it.
void AnswerSomehow(Course& course, Dice& dice, std::string const& answer) {
    auto const pause = milliseconds(dice.Below(2500));
    AgentScript& script = course.script.AwaitRequest();
    switch (dice.Below(8)) {
    case 0:
        script.PauseUntil(pause).Respond(answer).RemoveRequest();
        break;
    case 1:
        script.Respond(answer).PauseUntil(pause).RemoveRequest();
        break;
    case 2:
        script.Respond("garbage").RemoveRequest().PauseUntil(pause).Respond(answer);
        break;
    case 3:
        script.Respond(answer).PutRequest(progressRequest).PauseUntil(pause).RemoveRequest();
        break;
    case 4:
        script.Respond(answer.substr(0, answer.size() / 2)).Respond(answer).RemoveRequest();
        break;
    default:
        script.Respond(answer).RemoveRequest();
    }
}

// False if this request and all after it are left alone.
bool IsAnswered(Course& course, Dice& dice, std::string const& answer) {
    course.isSilent = course.isSilent || dice.OneIn(24);
    if (!course.isSilent)
        AnswerSomehow(course, dice, answer);
    return !course.isSilent;
}

// Whole rows, so many.
void FinishWithRows(Course& course, Dice& dice, size_t number) {
    std::string rows;
    std::string lines = PrintedCount(number);
    for (size_t i = 0; i < number; ++i) {
        RowTexts row = shortRow;
        row[5] = std::string(dice.Below(2000), 'c');
        rows += Row(row);
        lines += PrintedRow(row);
    }
    if (IsAnswered(course, dice, ProgressAnswer("1", "0", "100", rows)))
        course.output += lines;
}

void FinishWithError(Course& course, Dice& dice) {
    std::string const error = std::to_string(dice.Below(100));
    if (IsAnswered(course, dice, ProgressAnswer("2", error)))
        course.output += PrintedError(error);
}

void Poll(Course& course, Dice& dice) {
    for (size_t left = dice.Below(3); left > 0 && !course.isSilent; --left) {
        std::string const percent = std::to_string(dice.Below(101));
        if (IsAnswered(course, dice, ProgressAnswer("3", "0", percent)))
            course.output += PrintedPercent(percent);
    }
    if (course.isSilent)
        return;
    if (dice.OneIn(4))
        FinishWithError(course, dice);
    else
        FinishWithRows(course, dice, dice.Below(4));
}

// The tool works for some milliseconds at its start and behind each second of sleep: two thirds of
// the times are such moments.
std::chrono::microseconds SomeTime(Dice& dice) {
    switch (dice.Below(3)) {
    case 0:
        return std::chrono::microseconds(dice.Below(7'000'000));
    case 1:
        return std::chrono::seconds(dice.Below(7)) + std::chrono::microseconds(dice.Below(25'000));
    default:
        return std::chrono::microseconds(dice.Below(8'000));
    }
}

Course CourseOf(size_t seed) {
    Dice dice(seed);
    Course course;
    course.killedAfter = SomeTime(dice);
    if (IsAnswered(course, dice, OpenAnswer())) {
        Poll(course, dice);
        IsAnswered(course, dice, CloseAnswer());
    } else {
        course.output = OpenError(-3);
    }
    return course;
}

// What there is under the name, for the count of how many kills hit what.
bool IsThere(char const* path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

// Returns how the tool ended, and what of it stayed.
std::string KillSomeTime(size_t seed) {
    Course const course = CourseOf(seed);
    ScriptedAgent agent(course.script);
    Tool tool({"-c", "url", "doc"});
    std::this_thread::sleep_for(course.killedAfter);
    tool.Kill(SIGKILL);
    ToolRun const run = tool.Wait();
    ExpectFreeLock();
    agent.Stop();
    if (run.status == ExitStatus::Killed(SIGKILL)) {
        ExpectBeginning(course.output, run.output);
    } else {
        EXPECT_EQ(ExitStatus::Exited(0), run.status);
        EXPECT_EQ(course.output, run.output);
    }
    ExpectKnownNames();
    ExpectWholeRequest();
    ExpectResponseOf(agent);
    std::string words = run.status == ExitStatus::Killed(SIGKILL) ? "killed" : "ended";
    words += IsThere(ScriptedAgent::request) ? " request" : "";
    words += IsThere(ScriptedAgent::requestTemp) ? " temporary" : "";
    ExpectNextRun();
    return words;
}

void KillRandomly(size_t firstSeed, size_t number) {
    auto const seeds = Cells(firstSeed, number);
    auto const ends = RunAtOnce("seed", seeds, KillSomeTime);
    CountCells(seeds.size());
    for (char const* const word : {"killed", "request", "temporary"})
        testing::Test::RecordProperty(
            word, std::to_string(std::count_if(ends.begin(), ends.end(), [&](auto const& end) {
                return end.find(word) != std::string::npos;
            })));
}

constexpr size_t atOnce = 64;

class FullKillRandomly : public testing::TestWithParam<size_t> {};

TEST_P(FullKillRandomly, AtAnyTime) { KillRandomly(GetParam(), atOnce); }

INSTANTIATE_TEST_SUITE_P(FullSeeds, FullKillRandomly,
                         testing::Range<size_t>(0, 32 * atOnce, atOnce),
                         [](auto const& test) { return "From" + std::to_string(test.param); });

TEST(QuickKillRandomly, AtAnyTime) { KillRandomly(1'000'000, 3); }

} // namespace
