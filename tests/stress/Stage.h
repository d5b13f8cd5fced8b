// Compares the model with real files, on which an AgentEngine repeats the acts of the model's
// agent.
#pragma once

#include <sstream>

#include "tests/files/RecordedSleeps.h"
#include "tests/files/SystemCalls.h"
#include "tests/stress/CallTrace.h"
#include "tests/stress/RandomAgent.h"

// REQUIRES: a sandbox with a /proc made of files.
class Stage {
public:
    // Creates the initial files of the agent, in the model and on disk.
    Stage(Random& random, bool sparesLockFile)
        : model(files), agent(random, files, model, sparesLockFile) {
        ClearDisk();
        Repeat();
        engine.Advance(0);
        files.notice = [this] {
            agent.Notice();
        };
        files.act = [this] {
            agent.DoWhatIsDue();
        };
    }

    // Returns the script of the agent's acts in the model since the last call.
    std::string const& NextScript() {
        script.clear();
        for (; repeated < agent.Done().size(); ++repeated)
            script += ScriptOf(agent.Done()[repeated]).text();
        return script;
    }

    // Makes the engine play that script on the real files.
    void Repeat() { engine.Play(NextScript()); }
    void Pass(unsigned long long microseconds) {
        now += microseconds;
        engine.Advance(static_cast<AgentEngine::Nanoseconds>(now) * 1000);
    }

    FileModel files;
    ExchangeModel model;
    RandomAgent agent;

private:
    static void ClearDisk() {
        std::filesystem::remove_all("/var/opt/VeskaClient");
        Sandbox::CreateAgentDirectories();
        for (std::string const path : {Entry::elsewhere, Sandbox::agentProgram, agentLink}) {
            std::filesystem::create_directories(std::filesystem::path(path).parent_path());
            std::filesystem::remove_all(path);
        }
    }

    AgentEngine engine;
    unsigned long long now = 0;
    std::size_t repeated = 0;
    std::string script;
};

// From its construction to its destruction, sleeps return immediately, and calls are recorded.
class SimulatedTime {
public:
    explicit SimulatedTime(Stage& stage)
        : sleeps([this, &stage](std::string const& call, unsigned long long microseconds) {
              size_t const blank = call.find(' ');
              calls.Record({call.substr(0, blank), call.substr(blank + 1), {}});
              stage.Pass(microseconds);
              return false;
          }) {
        calls.Decide([this](SystemCalls::Call const& call) {
            logged.push_back({call.name, call.arguments, call.object});
            return SystemCalls::Answer();
        });
    }

    std::vector<LoggedCall> const& Calls() const { return logged; }

private:
    std::vector<LoggedCall> logged;
    SystemCalls calls;
    RecordedSleeps sleeps;
};

// Returns the differences between the model and the real results, or an empty string.
inline std::string Difference(Stage const& stage, std::string const& expected,
                              std::string const& actual, CallTrace const& trace) {
    Entries const onDisk = ReadFromDisk();
    bool const isSame = expected == actual && trace.Predicted() == stage.files.calls;
    if (isSame && onDisk == stage.files.entries)
        return "";
    std::ostringstream out;
    auto const show = [&](char const* title, auto const& items) {
        out << "  " << title << ":\n";
        for (auto const& item : items)
            out << "    " << testing::PrintToString(item) << '\n';
    };
    out << "  acts of the agent:\n";
    for (Act const& act : stage.agent.Done())
        out << "    " << act.when << ' ' << act.path << ": " << act.entry << '\n';
    out << "  expected " << expected << "\n  actual " << actual << '\n';
    show("expected calls", stage.files.calls);
    show("calls", trace.Predicted());
    show("expected files", stage.files.entries);
    show("files", onDisk);
    return out.str();
}
