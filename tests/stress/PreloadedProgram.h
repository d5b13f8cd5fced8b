// Runs programs with the preloaded library of Preload.cpp, which also plays an agent.
//
// REQUIRES: the body of a sandbox.
#pragma once

#include <sstream>

#include "tests/stress/CallTrace.h"
#include "tests/support/Sandbox.h"
#include "tests/system/Documents.h"
#include "tests/system/Tool.h"

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

inline constexpr char const* callsLog = "/opt/preload/calls";
inline constexpr char const* agentScript = "/opt/preload/script";
inline constexpr char const* agentRecord = "/opt/preload/record";

// Programs of other users write to the same directory.
inline void MakePreloadDirectory() {
    fs::create_directory("/opt/preload");
    fs::permissions("/opt/preload", fs::perms::all);
}

// Returns the content of a file, or nullopt if it does not exist.
inline std::optional<std::string> ContentOf(std::string const& path) {
    if (!fs::exists(fs::symlink_status(path)))
        return std::nullopt;
    return ReadBytes(path);
}

// Creates the agent's directories and program, an idle process of its name, and the script that
// Preload.cpp plays.
class PlayedAgent {
public:
    // Answers the first requests with these bytes, and records further requests.
    explicit PlayedAgent(std::vector<std::string> const& responses) {
        AgentScript script;
        for (std::string const& bytes : responses)
            script.Answer(bytes);
        for (int more = 0; more < 20; ++more)
            script.AwaitRequest();
        WriteScript(script.text());
    }

    static void WriteScript(std::string const& script) {
        MakePreloadDirectory();
        WriteBytes(agentScript, script);
    }

    // Removes all files of an evaluation, including the lock file.
    static void Reset() {
        for (char const* const path :
             {ScriptedAgent::request, ScriptedAgent::requestTemp, ScriptedAgent::lockFile,
              ScriptedAgent::response, callsLog, agentRecord})
            fs::remove(path);
    }

    // Returns the requests since the construction or the last Reset.
    static std::vector<std::string> Seen() {
        return BytesOf(AgentRecord(ContentOf(agentRecord).value_or("")).requests);
    }

    // Returns the ID of the agent's process as text.
    std::string Process() const { return std::to_string(program.pid()); }

private:
    static std::vector<std::string> Install() {
        Sandbox::CreateAgentDirectories();
        return Sandbox::InstallIdleAgent();
    }

    OtherProgram const program{Install()};
};

// Returns the command line of a usual evaluation by the dynamically linked tool.
inline std::vector<std::string> DynamicTool(std::string const& url = "url") {
    return {CC_DYNAMIC_TOOL, "-c", url, "doc"};
}

// Options of a program with the preloaded library. `prepare` is that of ProgramOptions.
inline ProgramOptions PreloadedOptions(Preloading const& preloading, ProgramOptions options = {}) {
    MakePreloadDirectory();
    std::string faults;
    for (Fault const& fault : preloading.faults)
        faults += fault.call + ' ' + std::to_string(fault.error) + ' ' +
                  std::to_string(fault.number) + (fault.lasting ? " lasting;" : " once;");
    options.environment = {"LD_PRELOAD=" + AccessibleCopy(CC_FAILING_CALLS),
                           // Deliberate: this library is loaded before the runtime of a sanitizer.
                           "ASAN_OPTIONS=verify_asan_link_order=0", "FAILING_CALLS=" + faults,
                           "CUT_WRITES=" + preloading.cutWrites,
                           "MAX_CALLS=" + std::to_string(preloading.maxCalls),
                           std::string("CALLS_LOG=") + callsLog,
                           std::string("AGENT_SCRIPT=") + (preloading.withAgent ? agentScript : ""),
                           std::string("AGENT_RECORD=") + agentRecord,
                           preloading.actsAlways ? "AGENT_ACTS=always" : "AGENT_ACTS="};
    return options;
}

// Runs a program to its end, with a timeout of a minute.
inline ProgramResult RunPreloaded(std::vector<std::string> const& arguments,
                                  Preloading const& preloading, ProgramOptions options = {}) {
    fs::remove(callsLog);
    return RunProgram(arguments, PreloadedOptions(preloading, std::move(options)));
}

// Returns the calls of the last program.
inline std::vector<LoggedCall> LoggedCalls() {
    std::vector<LoggedCall> calls;
    std::istringstream lines(ContentOf(callsLog).value_or(""));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::array<std::string, 4> texts;
        for (std::string& text : texts)
            std::getline(fields, text, '\t');
        calls.push_back({texts[0], texts[1], texts[2], std::stoi(texts[3])});
    }
    return calls;
}

// Returns the responses of an evaluation: in progress once, then finished with one row.
inline std::vector<std::string> UsualResponses() {
    return {OpenResponse(), ProgressResponse("3", "0", "50"), OneRowResponse(), CloseResponse()};
}

// Return the output of the tool for that row, and for all these responses.
inline std::string UsualRows() { return PrintedOneRow(); }
inline std::string UsualOutput() { return PrintedPercent("50") + PrintedOneRow(); }
