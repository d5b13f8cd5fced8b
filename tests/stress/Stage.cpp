#include "tests/stress/Stage.h"

#include <filesystem>
#include <sstream>

#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedAgent.h"

namespace {

namespace fs = std::filesystem;

void ClearDisk() {
    fs::remove_all("/var/opt/VeskaClient");
    Sandbox::CreateAgentDirectories();
    for (std::string const path : {Entry::elsewhere, Sandbox::agentProgram, agentLink}) {
        fs::create_directories(fs::path(path).parent_path());
        fs::remove_all(path);
    }
}

void Show(std::ostream& out, char const* title, std::vector<std::string> const& lines) {
    out << "  " << title << ":\n";
    for (std::string const& line : lines)
        out << "    " << line << '\n';
}

void Show(std::ostream& out, char const* title, Entries const& entries) {
    out << "  " << title << ":\n";
    for (auto const& [path, entry] : entries)
        out << "    " << path << ": " << entry << '\n';
}

} // namespace

Stage::Stage(Random& random, bool sparesLockFile)
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

std::string const& Stage::NextScript() {
    script.clear();
    for (; repeated < agent.Done().size(); ++repeated)
        script += ScriptOf(agent.Done()[repeated]).text();
    return script;
}

void Stage::Pass(unsigned long long microseconds) {
    now += microseconds;
    engine.Advance(static_cast<AgentEngine::Nanoseconds>(now) * 1000);
}

SimulatedTime::SimulatedTime(Stage& stage)
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

std::string Difference(Stage const& stage, std::string const& expected, std::string const& actual,
                       CallTrace const& trace) {
    Entries const onDisk = ReadFromDisk();
    bool const isSame = expected == actual && trace.Predicted() == stage.files.calls;
    if (isSame && onDisk == stage.files.entries)
        return "";
    std::ostringstream out;
    out << "  acts of the agent:\n";
    for (Act const& act : stage.agent.Done())
        out << "    " << act.when << ' ' << act.path << ": " << act.entry << '\n';
    out << "  expected " << expected << "\n  actual " << actual << '\n';
    Show(out, "expected calls", stage.files.calls);
    Show(out, "calls", trace.Predicted());
    Show(out, "expected files", stage.files.entries);
    Show(out, "files", onDisk);
    return out.str();
}
