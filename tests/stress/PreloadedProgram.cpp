#include "tests/stress/PreloadedProgram.h"

#include <filesystem>
#include <sstream>

#include "tests/support/Sandbox.h"
#include "tests/system/Documents.h"
#include "tests/system/Tool.h"

namespace {

namespace fs = std::filesystem;

constexpr char const* callsLog = "/opt/preload/calls";
constexpr char const* agentScript = "/opt/preload/script";
constexpr char const* agentRecord = "/opt/preload/record";

std::string FaultsText(std::vector<Fault> const& faults) {
    std::string text;
    for (Fault const& fault : faults)
        text += fault.call + ' ' + std::to_string(fault.error) + ' ' +
                std::to_string(fault.number) + (fault.lasting ? " lasting;" : " once;");
    return text;
}

// Programs of other users write to the same directory.
void MakeDirectory() {
    fs::path const directory = fs::path(agentScript).parent_path();
    fs::create_directory(directory);
    fs::permissions(directory, fs::perms::all);
}

AgentScript AnsweringScript(std::vector<std::string> const& answers) {
    AgentScript script;
    for (std::string const& answer : answers)
        script.Answer(answer);
    for (int more = 0; more < 20; ++more)
        script.AwaitRequest();
    return script;
}

std::vector<std::string> PrepareAgent() {
    Sandbox::CreateAgentDirectories();
    return Sandbox::InstallIdleAgent();
}

} // namespace

PlayedAgent::PlayedAgent(std::vector<std::string> const& answers) : program(PrepareAgent()) {
    WriteScript(AnsweringScript(answers).text());
}

void PlayedAgent::WriteScript(std::string const& script) {
    MakeDirectory();
    WriteBytes(agentScript, script);
}

void PlayedAgent::Reset() {
    for (char const* const path :
         {ScriptedAgent::request, ScriptedAgent::requestTemp, ScriptedAgent::lockFile,
          ScriptedAgent::response, callsLog, agentRecord})
        fs::remove(path);
}

std::vector<std::string> PlayedAgent::Seen() {
    std::vector<std::string> seen;
    for (SeenRequest const& taken : AgentRecord(ContentOf(agentRecord).value_or("")).requests)
        seen.push_back(taken.bytes);
    return seen;
}

ProgramOptions PreloadedOptions(Preloading const& preloading, ProgramOptions options) {
    MakeDirectory();
    options.environment = {
        "LD_PRELOAD=" CC_FAILING_CALLS,
        // Deliberate: this library is loaded before the runtime of a sanitizer.
        "ASAN_OPTIONS=verify_asan_link_order=0", "FAILING_CALLS=" + FaultsText(preloading.faults),
        "CUT_WRITES=" + preloading.cutWrites, "MAX_CALLS=" + std::to_string(preloading.maxCalls),
        std::string("CALLS_LOG=") + callsLog,
        std::string("AGENT_SCRIPT=") + (preloading.withAgent ? agentScript : ""),
        std::string("AGENT_RECORD=") + agentRecord,
        preloading.actsAlways ? "AGENT_ACTS=always" : "AGENT_ACTS="};
    return options;
}

std::vector<std::string> DynamicTool(std::string const& url) {
    return {CC_DYNAMIC_TOOL, "-c", url, "doc"};
}

ProgramResult RunPreloaded(std::vector<std::string> const& arguments, Preloading const& preloading,
                           ProgramOptions options) {
    fs::remove(callsLog);
    return RunProgram(arguments, PreloadedOptions(preloading, std::move(options)));
}

std::vector<LoggedCall> LoggedCalls() {
    std::vector<LoggedCall> calls;
    std::istringstream lines(ContentOf(callsLog).value_or(""));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        LoggedCall call;
        std::string error;
        std::getline(fields, call.name, '\t');
        std::getline(fields, call.arguments, '\t');
        std::getline(fields, call.object, '\t');
        std::getline(fields, error);
        call.error = std::stoi(error);
        calls.push_back(call);
    }
    return calls;
}

std::optional<std::string> ContentOf(std::string const& path) {
    if (!fs::exists(fs::symlink_status(path)))
        return std::nullopt;
    return ReadBytes(path);
}

std::vector<std::string> UsualAnswers() {
    return {OpenAnswer(), ProgressAnswer("3", "0", "50"), OneRowAnswer(), CloseAnswer()};
}

std::string UsualRows() { return PrintedOneRow(); }

std::string UsualOutput() { return PrintedPercent("50") + PrintedOneRow(); }
