// Compares the model with real files, on which an AgentEngine repeats the acts of the model's
// agent.
#pragma once

#include <string>
#include <vector>

#include "tests/files/RecordedSleeps.h"
#include "tests/files/SystemCalls.h"
#include "tests/stress/CallTrace.h"
#include "tests/stress/ExchangeModel.h"
#include "tests/stress/FileModel.h"
#include "tests/stress/Random.h"
#include "tests/stress/RandomAgent.h"
#include "tests/support/AgentEngine.h"

// REQUIRES: a sandbox with a /proc made of files.
class Stage {
public:
    // Creates the initial files of the agent, in the model and on disk.
    Stage(Random& random, bool sparesLockFile);

    // Returns the script of the agent's acts in the model since the last call.
    std::string const& NextScript();
    // Makes the engine play that script on the real files.
    void Repeat() { engine.Play(NextScript()); }
    void Pass(unsigned long long microseconds);

    FileModel files;
    ExchangeModel model;
    RandomAgent agent;

private:
    AgentEngine engine;
    unsigned long long now = 0;
    std::size_t repeated = 0;
    std::string script;
};

// From its construction to its destruction, sleeps return immediately, and calls are recorded.
class SimulatedTime {
public:
    explicit SimulatedTime(Stage& stage);

    std::vector<LoggedCall> const& Calls() const { return logged; }

private:
    std::vector<LoggedCall> logged;
    SystemCalls calls;
    RecordedSleeps sleeps;
};

// Returns the differences between the model and the real results, or an empty string.
std::string Difference(Stage const& stage, std::string const& expected, std::string const& actual,
                       CallTrace const& trace);
