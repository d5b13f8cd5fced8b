// The real program, as users run it.
//
// REQUIRES: the body of a Sandbox. Every run checks that the tool writes nothing to standard error.
#pragma once

#include "tests/support/OtherProcess.h"
#include "tests/support/ScriptedAgent.h"

using Arguments = std::vector<std::string>;

struct ToolRun {
    ExitStatus status;
    std::string output;
    // From its start to its end.
    std::chrono::milliseconds took;
    // The same without the time for which the tool or the test ran or waited for a processor. A
    // busy machine lengthens `took`, but not this, so it is what an upper limit is compared with.
    std::chrono::milliseconds idle;
};

// A tool, started by the constructor.
class Tool {
public:
    explicit Tool(Arguments const& arguments, ProgramOptions const& options = {});
    // The same without privileges (see Sandbox::DropPrivileges).
    static Tool Unprivileged(Arguments const& arguments);

    pid_t pid() const { return program.pid(); }
    // The output so far.
    std::string Output() const { return program.Output(); }
    void Kill(int signal) { program.Kill(signal); }

    ToolRun Wait(std::chrono::milliseconds limit = std::chrono::seconds(40));

private:
    Tool(std::string const& path, Arguments const& arguments, ProgramOptions const& options);

    std::chrono::steady_clock::time_point const started;
    std::chrono::nanoseconds const runnableAtStart;
    OtherProgram program;
};

// Returns a copy of a program or library that all users can access, unlike the build folder. Its
// path has no space, because spaces separate the libraries of LD_PRELOAD.
std::string AccessibleCopy(std::string const& program);
// Options of a program that a user without privileges runs.
ProgramOptions Unprivileged(ProgramOptions options = {});

ToolRun RunTool(Arguments const& arguments, ProgramOptions const& options = {});
ToolRun RunToolUnprivileged(Arguments const& arguments);

// The run of a tool with an agent, and the record of that agent.
struct Evaluation {
    ToolRun tool;
    // The requests that the agent has seen.
    std::vector<SeenRequest> requests;
};

// Creates missing directories of the agent, and runs the tool with an agent that plays the script.
// Throws if the script has not ended one second after the tool.
Evaluation Evaluate(AgentScript const& script, Arguments const& arguments = {"-c", "url", "doc"});

// The output of the tool if its first call fails with the code.
std::string OpenError(int code);

std::string ReadBytes(std::string const& path);
void WriteBytes(std::string const& path, std::string const& bytes);
// The names in a directory, sorted, each followed by a space.
std::string ListDirectory(std::string const& path);
