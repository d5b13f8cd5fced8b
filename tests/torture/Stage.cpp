#include "tests/torture/Stage.h"

#include <filesystem>
#include <sstream>

#include "tests/support/PrivateMachine.h"
#include "tests/support/ScriptedAgent.h"

namespace {

namespace fs = std::filesystem;

void ClearDisk() {
    fs::remove_all("/var/opt/VeskaClient");
    PrivateMachine::CreateAgentDirectories();
    for (std::string const path : {Entry::elsewhere, PrivateMachine::agentProgram, agentLink}) {
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
    : model(files), agent(random, files, model, sparesLockFile), replay(agent.Done()) {
    ClearDisk();
    replay.Pass(0);
    files.notice = [this] {
        agent.Notice();
    };
    files.act = [this] {
        agent.DoWhatIsDue();
    };
}

std::string Difference(Stage const& stage, std::string const& expected, std::string const& actual,
                       std::vector<std::string> const& calls) {
    Entries const onDisk = ReadFromDisk();
    if (expected == actual && calls == stage.files.calls && onDisk == stage.files.entries)
        return "";
    std::ostringstream out;
    out << "  what the agent did:\n";
    for (Act const& act : stage.agent.Done())
        out << "    " << act.when << ' ' << act.path << ": " << act.entry << '\n';
    out << "  expected " << expected << "\n  and got " << actual << '\n';
    Show(out, "expected calls", stage.files.calls);
    Show(out, "calls", calls);
    Show(out, "expected files", stage.files.entries);
    Show(out, "files", onDisk);
    return out.str();
}
