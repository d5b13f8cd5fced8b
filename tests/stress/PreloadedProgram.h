// Runs programs with the preloaded library of Preload.cpp, which also plays an agent.
//
// REQUIRES: the body of a sandbox.
#pragma once

#include "tests/stress/CallTrace.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/ScriptedAgent.h"

// An injected failure; see Preload.cpp.
struct Fault {
    std::string call;
    int error = 0;
    // Counted from 1.
    std::size_t number = 1;
    bool lasting = false;
};

struct Preloading {
    std::vector<Fault> faults = {};
    std::string cutWrites = {};
    bool withAgent = true;
    // The program exits at this number of calls; 0 means no limit.
    std::size_t maxCalls = 0;
    bool actsAlways = false;
};

// Creates the agent's directories and program, an idle process of its name, and the script that
// Preload.cpp plays.
class PlayedAgent {
public:
    // Answers the first requests with these bytes, and records further requests.
    explicit PlayedAgent(std::vector<std::string> const& answers);

    static void WriteScript(std::string const& script);

    // Removes all files of an evaluation, including the lock file.
    static void Reset();
    // Returns the requests since the construction or the last Reset.
    static std::vector<std::string> Seen();
    // Returns the ID of the agent's process as text.
    std::string Process() const { return std::to_string(program.pid()); }

private:
    OtherProgram const program;
};

// Returns the command line of a usual evaluation by the dynamically linked tool.
std::vector<std::string> DynamicTool(std::string const& url = "url");

// Runs a program to its end, with a timeout of a minute. `prepare` is that of ProgramOptions.
ProgramResult RunPreloaded(std::vector<std::string> const& arguments, Preloading const& preloading,
                           ProgramOptions options = {});

// As RunPreloaded, but does not wait.
ProgramOptions PreloadedOptions(Preloading const& preloading, ProgramOptions options = {});

// Returns the calls of the last program.
std::vector<LoggedCall> LoggedCalls();

// Returns the content of a file, or nullopt if it does not exist.
std::optional<std::string> ContentOf(std::string const& path);

// Returns answers to an evaluation: in progress once, then finished with one row.
std::vector<std::string> UsualAnswers();
// Return the output of the tool for that row, and for all these answers.
std::string UsualRows();
std::string UsualOutput();
