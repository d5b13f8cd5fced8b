// Programs that run with FailingCallsShim between them and the system, beside its played agent.
//
// For the body of a PrivateMachine.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/support/OtherProcess.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/torture/EvaluationModel.h"

// What the shim is to do; see there.
struct Preloading {
    std::vector<Fault> faults = {};
    std::string cutWrites = {};
    bool withAgent = true;
};

// The agent's directories, its program, its process, and its answers.
class PlayedAgent {
public:
    explicit PlayedAgent(std::vector<Answer> const& answers);

    // Removes what an evaluation has left behind, the lock file too.
    static void Reset();
    // The requests that it has taken since.
    static std::vector<std::string> Taken();
    // Its process as /proc names it.
    std::string Process() const { return std::to_string(program.pid()); }

    static constexpr char const* directory = "/opt/agent";

private:
    OtherProgram program;
};

// Runs a program to its end, at most for a minute. With `prepare` as in ProgramOptions.
ProgramResult RunPreloaded(std::vector<std::string> const& arguments, Preloading const& preloading,
                           ProgramOptions options = {});

// As RunPreloaded, but does not wait.
ProgramOptions PreloadedOptions(Preloading const& preloading, ProgramOptions options = {});

// The calls that the last program has made.
std::vector<std::string> LoggedCalls();

// The content of a file, or nothing where there is none.
std::optional<std::string> ContentOf(std::string const& path);

// The answers of an agent that is in progress once, and then finished with one row.
std::vector<Answer> UsualAnswers();

// What the tool prints about the row of the usual answers.
std::string UsualRows();
