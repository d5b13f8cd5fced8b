// The real program, run as its users run it.
//
// For the body of a Sandbox. Whatever a test is about, the tool must not write to standard
// error; that is checked with every run.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tests/support/OtherProcess.h"
#include "tests/support/ScriptedAgent.h"

using Arguments = std::vector<std::string>;

struct ToolRun {
    ExitStatus status;
    std::string output;
    // From its start to its end.
    std::chrono::milliseconds took;
};

// A tool, started by the constructor.
class Tool {
public:
    explicit Tool(Arguments const& arguments, ProgramOptions const& options = {});
    // The same as a user who is not root and has no capability.
    static Tool WithoutRights(Arguments const& arguments);

    pid_t pid() const { return program.pid(); }
    // What it has printed so far.
    std::string Output() const { return program.Output(); }
    void Kill(int signal) { program.Kill(signal); }

    ToolRun Wait(std::chrono::milliseconds limit = std::chrono::seconds(40));

private:
    Tool(std::string const& path, Arguments const& arguments, ProgramOptions const& options);

    std::chrono::steady_clock::time_point const started;
    OtherProgram program;
};

ToolRun RunTool(Arguments const& arguments, ProgramOptions const& options = {});
ToolRun RunToolWithoutRights(Arguments const& arguments);

// A tool that has seen an agent and the whole script of that agent.
struct Evaluation {
    ToolRun tool;
    // All that the agent saw.
    std::vector<SeenRequest> requests;
};

// Creates the agent's directories where they are missing, and runs the tool against an agent that
// follows the script. Throws if the script has not come to its end when the tool has.
Evaluation Evaluate(AgentScript const& script, Arguments const& arguments = {"-c", "url", "doc"});

// What the tool prints when its first call fails with the code.
std::string OpenError(int code);

std::string ReadBytes(std::string const& path);
void WriteBytes(std::string const& path, std::string const& bytes);
// The names in a directory, sorted, each followed by a blank.
std::string ListDirectory(std::string const& path);
