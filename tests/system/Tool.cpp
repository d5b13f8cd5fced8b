#include "tests/system/Tool.h"

#include <algorithm>
#include <fstream>

#include "tests/support/Sandbox.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::duration_cast;
using std::chrono::milliseconds;

constexpr char const* thisThread = "thread-self";

Arguments Command(std::string const& path, Arguments const& arguments) {
    Arguments command{path};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

} // namespace

std::string AccessibleCopy(std::string const& program) {
    std::string const copy = "/opt/" + fs::path(program).filename().string();
    fs::copy_file(program, copy, fs::copy_options::skip_existing);
    fs::permissions(copy, fs::perms(0755));
    return copy;
}

ProgramOptions Unprivileged(ProgramOptions options) {
    options.prepare = [] {
        Sandbox::DropPrivileges();
        return true;
    };
    return options;
}

Tool::Tool(Arguments const& arguments, ProgramOptions const& options)
    : Tool(CC_TOOL_PROGRAM, arguments, options) {}

Tool::Tool(std::string const& path, Arguments const& arguments, ProgramOptions const& options)
    : started(Clock::now()),
      runnableAtStart(RunnableTime(thisThread)),
      program(Command(path, arguments), options) {}

Tool Tool::Unprivileged(Arguments const& arguments) {
    return Tool(AccessibleCopy(CC_TOOL_PROGRAM), arguments, ::Unprivileged());
}

ToolRun Tool::Wait(milliseconds limit) {
    ProgramResult const result = program.Wait(limit);
    auto const took = Clock::now() - started;
    auto const idle = took - result.runnable - (RunnableTime(thisThread) - runnableAtStart);
    EXPECT_EQ("", result.errors);
    return {result.status, result.output, duration_cast<milliseconds>(took),
            duration_cast<milliseconds>(idle)};
}

ToolRun RunTool(Arguments const& arguments, ProgramOptions const& options) {
    return Tool(arguments, options).Wait();
}

ToolRun RunToolUnprivileged(Arguments const& arguments) {
    return Tool::Unprivileged(arguments).Wait();
}

Evaluation Evaluate(AgentScript const& script, Arguments const& arguments) {
    Sandbox::CreateAgentDirectories();
    ScriptedAgent const agent(script);
    ToolRun const run = RunTool(arguments);
    agent.AwaitEnd(std::chrono::seconds(1));
    return {run, agent.Requests()};
}

std::string OpenError(int code) {
    return "COMPLIANCE_Open returned error: " + std::to_string(code) + ".\n";
}

std::string ReadBytes(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteBytes(std::string const& path, std::string const& bytes) {
    if (!(std::ofstream(path, std::ios::binary) << bytes << std::flush))
        throw std::runtime_error("cannot write " + path);
}

std::string ListDirectory(std::string const& path) {
    std::vector<std::string> names;
    for (auto const& entry : fs::directory_iterator(path))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    std::string text;
    for (auto const& name : names)
        text += name + ' ';
    return text;
}
