// Runs programs with the preloaded library of Preload.cpp, beside an agent that it plays.
//
// REQUIRES: the body of a sandbox.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/stress/CallTrace.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/ScriptedAgent.h"

// An injected failure; see Preload.cpp.
struct Fault {
    std::string call;
    int error = 0;
    // From 1.
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

// The agent's directories, its program, an idle process of its name, and the script that programs
// with Preload.cpp play.
class PlayedAgent {
public:
    // Answers the first requests with these bytes, and records further requests.
    explicit PlayedAgent(std::vector<std::string> const& answers);

    static void WriteScript(std::string const& script);

    // Removes all files of an evaluation, including the lock file.
    static void Reset();
    // The requests since then.
    static std::vector<std::string> Seen();
    // Its process as /proc names it.
    std::string Process() const { return std::to_string(program.pid()); }

private:
    OtherProgram const program;
};

// The command line of a usual evaluation by the dynamically linked tool.
std::vector<std::string> DynamicTool(std::string const& url = "url");

// Runs a program to its end, with a timeout of a minute. `prepare` is that of ProgramOptions.
ProgramResult RunPreloaded(std::vector<std::string> const& arguments, Preloading const& preloading,
                           ProgramOptions options = {});

// As RunPreloaded, but does not wait.
ProgramOptions PreloadedOptions(Preloading const& preloading, ProgramOptions options = {});

// The calls of the last program.
std::vector<LoggedCall> LoggedCalls();

// The content of a file, or nothing if there is none.
std::optional<std::string> ContentOf(std::string const& path);

// The answers of an agent that is in progress once, and then finished with one row.
std::vector<std::string> UsualAnswers();
// The output of the tool for that row, and for all of them.
std::string UsualRows();
std::string UsualOutput();
