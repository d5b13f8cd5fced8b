// Random callers and random agents in simulated time, held against a model of what is promised.
//
// SIMULATION_SEED=n makes a case tell the story of that seed alone.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/torture/Cells.h"
#include "tests/torture/PreloadedProgram.h"
#include "tests/torture/Stage.h"
#include "tests/torture/Story.h"

namespace {

using Tale = std::function<void(unsigned long long seed)>;

// Tells the seeds one after the other, up to the first that fails.
void TellSeeds(unsigned long long first, unsigned long long number, Tale const& tell) {
    if (char const* const wanted = std::getenv("SIMULATION_SEED")) {
        first = std::strtoull(wanted, nullptr, 10);
        number = 1;
    }
    PrivateMachine::Run({.limit = std::chrono::minutes(10)}, [&] {
        SmallFileSystem const proc("/proc");
        for (auto seed = first; seed != first + number && !testing::Test::HasFailure(); ++seed)
            tell(seed);
    });
    Torture::CountCells(number);
}

constexpr unsigned long long seedsOfACase = 1000;
// A sanitizer makes each of them many times as long.
#ifdef CC_ADDRESS_SANITIZER
constexpr unsigned long long quickSeeds = 50;
#else
constexpr unsigned long long quickSeeds = 350;
#endif

class FullSimulation : public testing::TestWithParam<unsigned long long> {};

// Also what the stories are worth: they come to every end that there is.
TEST(QuickSimulation, FirstStoriesReachEveryOutcome) {
    Outcomes outcomes;
    TellSeeds(0, 150, [&](unsigned long long seed) {
        TellStory(seed, outcomes);
        if (seed != 149)
            return;
        for (char const* const wanted :
             {"Open = 0",          "Open = -1",          "Open = -2",        "Open = -3",
              "Open = -5",         "Open = -6",          "Open = -7",        "Open = -15",
              "Open = -17",        "Progress = 1",       "Progress = 2",     "Progress = 3",
              "Progress = -3",     "Progress = -6",      "Progress = -7",    "Progress = -17",
              "ResultCount = 0",   "ResultCount = 1",    "ResultCount = -8", "IndexedValue = 0",
              "IndexedValue = -8", "IndexedValue = -20", "Close = 0",        "Close = -3",
              "Close = -6",        "Close = -7",         "Close = -17"})
            EXPECT_EQ(1u, outcomes.count(wanted)) << wanted;
    });
}

TEST(QuickSimulation, InterfaceKeepsWhatTheModelSays) {
    Outcomes outcomes;
    TellSeeds(150, quickSeeds, [&](unsigned long long seed) { TellStory(seed, outcomes); });
}

TEST_P(FullSimulation, InterfaceKeepsWhatTheModelSays) {
    Outcomes outcomes;
    TellSeeds(GetParam() * seedsOfACase, seedsOfACase,
              [&](unsigned long long seed) { TellStory(seed, outcomes); });
}

INSTANTIATE_TEST_SUITE_P(FullHundredThousandSeeds, FullSimulation, testing::Range(0ull, 100ull));

// The tool, linked dynamically so that simulated time can be preloaded. The runtime of a sanitizer
// needs the /proc that is replaced here.
#ifndef CC_ADDRESS_SANITIZER

void RunTool(unsigned long long seed) {
    Random random(seed);
    Stage stage(random, false);
    std::string const expected = stage.model.RunTool("url", "d&c", 7);
    PlayedAgent::WriteScript(stage.NextScript());
    ProgramResult const run =
        RunPreloaded({CC_DYNAMIC_TOOL, "-c", "url", "d&c", "7"}, {.actsAlways = true});
    EXPECT_EQ(ExitStatus::Exited(0), run.status) << "SIMULATION_SEED=" << seed;
    EXPECT_EQ("", run.errors) << "SIMULATION_SEED=" << seed;
    std::string const difference =
        Difference(stage, expected, run.output, CallTrace(LoggedCalls()));
    EXPECT_EQ("", difference) << "SIMULATION_SEED=" << seed << '\n' << difference;
}

class FullSimulatedTool : public testing::TestWithParam<unsigned long long> {};

TEST(QuickSimulation, ToolPrintsWhatTheModelSays) { TellSeeds(0, 100, RunTool); }

TEST_P(FullSimulatedTool, PrintsWhatTheModelSays) {
    TellSeeds(GetParam() * seedsOfACase, seedsOfACase, RunTool);
}

INSTANTIATE_TEST_SUITE_P(FullTenThousandSeeds, FullSimulatedTool, testing::Range(0ull, 10ull));

#endif

} // namespace
