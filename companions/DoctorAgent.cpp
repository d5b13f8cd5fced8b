#include "companions/DoctorAgent.h"

#include <array>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "companions/DoctorFiles.h"
#include "companions/DoctorPaths.h"
#include "compliance/ProcessNames.h"

namespace {

namespace fs = std::filesystem;
constexpr unsigned int maxPathLength = 4096;
constexpr std::string_view deletedMark = " (deleted)";

// How a process is known to be the agent, the best evidence first.
enum class Evidence {
    program,      // it runs the agent's program
    otherProgram, // it runs another program of that name, be it that of a container
    commandName,  // only the name of its command can be seen
    deleted,      // it runs a program of that name that was removed or replaced
    zombie,       // it has ended, and nobody has noticed
    none,
};

struct Candidate {
    Evidence evidence = Evidence::none;
    unsigned int id = 0;
    std::string program = {};
};

// The letter behind the name in parentheses; 0 if there is none.
char StateOf(unsigned int id) {
    std::ifstream file("/proc/" + std::to_string(id) + "/stat", std::ios::binary);
    std::string const facts{std::istreambuf_iterator<char>(file), {}};
    std::size_t const nameEnd = facts.rfind(')');
    return nameEnd == std::string::npos || nameEnd + 2 >= facts.size() ? '\0' : facts[nameEnd + 2];
}

std::string LastComponent(std::string const& path) { return path.substr(path.rfind('/') + 1); }

// Of a process whose program can be seen.
Candidate JudgeByProgram(unsigned int id, std::string const& program) {
    std::string const name = LastComponent(program);
    if (name == DoctorPaths::agentName) {
        std::error_code error;
        bool const installed = fs::equivalent("/proc/" + std::to_string(id) + "/exe",
                                              DoctorPaths::agentProgram, error);
        return {installed ? Evidence::program : Evidence::otherProgram, id, program};
    }
    if (name == DoctorPaths::agentName + std::string(deletedMark))
        return {Evidence::deleted, id, program.substr(0, program.size() - deletedMark.size())};
    return {};
}

Candidate Judge(unsigned int id) {
    std::array<char, maxPathLength> text{};
    if (ProcessIdToPath(id, text.data(), maxPathLength))
        return JudgeByProgram(id, text.data());
    long long ignored = 0;
    if (!ProcessIdToName(id, text.data(), maxPathLength, ignored, ignored, ignored) ||
        std::strcmp(text.data(), DoctorPaths::agentName) != 0)
        return {};
    return {StateOf(id) == 'Z' ? Evidence::zombie : Evidence::commandName, id};
}

// Of two with the same evidence the one with the lower process id, in whatever order they come.
bool IsBetter(Candidate const& left, Candidate const& right) {
    return left.evidence < right.evidence ||
           (left.evidence == right.evidence && left.id < right.id);
}

struct Processes {
    std::size_t count = 0;
    // The one with the best evidence.
    Candidate agent = {};
};

Processes LookForAgent() {
    Processes seen;
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
         entry.increment(error)) {
        std::string const name = entry->path().filename();
        unsigned int id = 0;
        auto const [stop, failure] = std::from_chars(name.data(), name.data() + name.size(), id);
        if (failure != std::errc() || stop != name.data() + name.size())
            continue;
        ++seen.count;
        Candidate const candidate = Judge(id);
        if (IsBetter(candidate, seen.agent))
            seen.agent = candidate;
    }
    return seen;
}

Finding Describe(Candidate const& agent) {
    std::string const process = "process " + std::to_string(agent.id);
    long const id = agent.id;
    constexpr char check[] = "agent-process";
    switch (agent.evidence) {
    case Evidence::program:
        return {check, Verdict::ok, "", "the agent runs as " + process, "", id};
    case Evidence::otherProgram:
        return {check,
                Verdict::note,
                "agent-elsewhere",
                process + " carries the agent's name and counts as the agent, but its program " +
                    agent.program + " is not the one that is installed here",
                "make sure that it is the agent",
                id};
    case Evidence::commandName:
        return {check,
                Verdict::note,
                "agent-by-command-name",
                process + " counts as the agent by the name of its command; its program can't be "
                          "seen by this user",
                "run the doctor as root to see more",
                id};
    case Evidence::deleted:
        return {check,
                Verdict::problem,
                "agent-deleted-program",
                process + " runs " + agent.program +
                    ", which was removed or replaced since, and does not count as the agent",
                "restart the agent",
                id};
    case Evidence::zombie:
        return {check,
                Verdict::problem,
                "agent-zombie",
                process + " counts as the agent, but has ended and only waits for its parent",
                "start the agent",
                id};
    default:
        return {check, Verdict::problem, "agent-not-running", "no process carries the agent's name",
                "start the agent"};
    }
}

} // namespace

Finding CheckAgentProgram() {
    constexpr char check[] = "agent-program";
    FileFacts const program(DoctorPaths::agentProgram);
    if (program.IsUnknown())
        return {check, Verdict::problem, "agent-unreachable",
                program.Path() + " can't be reached: " + program.Reason(),
                "give this user the right to search the directories above it"};
    if (program.IsMissing())
        return {check, Verdict::problem, "agent-missing", program.Path() + " is missing",
                "install the agent"};
    if (!program.IsRegularFile() || (program.Facts().st_mode & 0111) == 0)
        return {check, Verdict::problem, "agent-not-a-program",
                program.Path() + " can't be run: " + program.OwnerAndMode(),
                "install the agent again"};
    return {check, Verdict::ok, "", program.Path() + " is installed"};
}

Finding CheckAgentProcess() {
    Processes const seen = LookForAgent();
    // This very process is one.
    if (seen.count == 0)
        return {"agent-process", Verdict::problem, "no-proc",
                "no process can be seen, since /proc is not there", "mount /proc"};
    return Describe(seen.agent);
}
