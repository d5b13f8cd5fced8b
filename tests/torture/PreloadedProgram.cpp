#include "tests/torture/PreloadedProgram.h"

#include <filesystem>

#include "tests/support/PrivateMachine.h"
#include "tests/system/Documents.h"
#include "tests/system/Tool.h"

namespace {

namespace fs = std::filesystem;

constexpr char const* callsLog = "/opt/calls";

std::string FaultsText(std::vector<Fault> const& faults) {
    std::string text;
    for (Fault const& fault : faults)
        text += fault.call + ' ' + std::to_string(fault.error) + ' ' +
                std::to_string(fault.number) + (fault.lasting ? " lasting;" : " once;");
    return text;
}

std::string InAgentsDirectory(std::string const& name) {
    return std::string(PlayedAgent::directory) + '/' + name;
}

std::vector<std::string> AgentCommand() {
    PrivateMachine::CreateAgentDirectories();
    PrivateMachine::InstallAgent();
    return {PrivateMachine::agentProgram, "3600"};
}

} // namespace

PlayedAgent::PlayedAgent(std::vector<Answer> const& answers) : program(AgentCommand()) {
    fs::create_directory(directory);
    fs::permissions(directory, fs::perms::all);
    int number = 0;
    for (Answer const& answer : answers)
        WriteBytes(InAgentsDirectory(std::to_string(++number)), answer.bytes);
}

void PlayedAgent::Reset() {
    for (char const* const path : {ScriptedAgent::request, ScriptedAgent::requestTemp,
                                   ScriptedAgent::lockFile, ScriptedAgent::response, callsLog})
        fs::remove(path);
    for (auto const& entry : fs::directory_iterator(directory))
        if (entry.path().filename().string().starts_with("request"))
            fs::remove(entry.path());
}

std::vector<std::string> PlayedAgent::Taken() {
    std::vector<std::string> taken;
    while (auto const bytes =
               ContentOf(InAgentsDirectory("request" + std::to_string(taken.size() + 1))))
        taken.push_back(*bytes);
    return taken;
}

ProgramOptions PreloadedOptions(Preloading const& preloading, ProgramOptions options) {
    options.environment = {
        "LD_PRELOAD=" CC_FAILING_CALLS,
        // The order is meant.
        "ASAN_OPTIONS=verify_asan_link_order=0", "FAILING_CALLS=" + FaultsText(preloading.faults),
        "CUT_WRITES=" + preloading.cutWrites, std::string("CALLS_LOG=") + callsLog,
        std::string("PLAYED_AGENT=") + (preloading.withAgent ? PlayedAgent::directory : "")};
    return options;
}

ProgramResult RunPreloaded(std::vector<std::string> const& arguments, Preloading const& preloading,
                           ProgramOptions options) {
    fs::remove(callsLog);
    return RunProgram(arguments, PreloadedOptions(preloading, std::move(options)));
}

std::vector<std::string> LoggedCalls() {
    std::vector<std::string> calls;
    std::string const text = ContentOf(callsLog).value_or("");
    for (size_t from = 0; from < text.size();) {
        size_t const end = text.find('\n', from);
        calls.push_back(text.substr(from, end - from));
        from = end + 1;
    }
    return calls;
}

std::optional<std::string> ContentOf(std::string const& path) {
    if (!fs::exists(fs::symlink_status(path)))
        return std::nullopt;
    return ReadBytes(path);
}

std::vector<Answer> UsualAnswers() {
    return {{OpenAnswer()},
            {ProgressAnswer("3", "0", "50"), 3, 0, 50},
            {ProgressAnswer("1", "0", "100", Row("d", "r", "t", "1", "text", "c")), 1, 0, 100},
            {CloseAnswer()}};
}

std::string UsualRows() {
    return "COMPLIANCE_ResultCount is 1.\n"
           "    Designator: d\n"
           "        Result: r\n"
           "   Result Type: t\n"
           "Eval Time (\xB5"
           "s): 1\n"
           "          Desc: text\n"
           "       Comment: c\n"
           "\n";
}
