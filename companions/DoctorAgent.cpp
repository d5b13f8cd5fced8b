#include "companions/Doctor.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "companions/DoctorFiles.h"
#include "compliance/AgentPaths.h"
#include "compliance/AgentPresence.h"
#include "compliance/ProcessNames.h"

namespace {

namespace fs = std::filesystem;
constexpr std::string_view deletedMark = " (deleted)";

// How a process matches the agent, best match first.
enum class MatchKind {
    program,      // runs the agent's program
    otherProgram, // runs another program of that name, for example in a container
    commandName,  // only its command name is visible
    deleted,      // runs a program of that name that was removed or replaced
    zombie,       // has terminated, but its parent has not waited for it
    none,
};

struct Candidate {
    MatchKind match = MatchKind::none;
    unsigned int id = 0;
    std::string program = {};
};

// Returns the state of the process: the letter after the name in parentheses in /proc/[pid]/stat
// (proc(5)), or NUL if there is none.
char StateOf(unsigned int id) {
    std::ifstream file("/proc/" + std::to_string(id) + "/stat", std::ios::binary);
    std::string const facts{std::istreambuf_iterator<char>(file), {}};
    std::size_t const nameEnd = facts.rfind(')');
    // GCOVR_EXCL_BR_START: the file is empty only if the process has just ended
    return nameEnd == std::string::npos || nameEnd + 2 >= facts.size() ? '\0' : facts[nameEnd + 2];
    // GCOVR_EXCL_BR_STOP
}

// Returns the name by which the tool recognizes a process (ProcessNames.h). Empty if it has none.
std::string NameOf(unsigned int id) {
    std::array<char, processNameCapacity> name{};
    long long unused = 0;
    ProcessIdToName(id, name.data(), processNameCapacity, unused, unused, unused);
    return name.data();
}

// Returns the match of a process whose program is visible.
Candidate ClassifyByProgram(unsigned int id, std::string const& program) {
    std::string const name = NameOf(id);
    if (name == AgentPaths::processName) {
        std::error_code error;
        bool const installed =
            fs::equivalent("/proc/" + std::to_string(id) + "/exe", AgentPaths::program, error);
        return {installed ? MatchKind::program : MatchKind::otherProgram, id, program};
    }
    if (name == AgentPaths::processName + std::string(deletedMark))
        return {MatchKind::deleted, id, program.substr(0, program.size() - deletedMark.size())};
    return {};
}

Candidate Classify(unsigned int id) {
    std::array<char, processNameCapacity> text{};
    if (ProcessIdToPath(id, text.data(), processNameCapacity))
        return ClassifyByProgram(id, text.data());
    if (!UnixPlatform::HasAgentName(id))
        return {};
    return {StateOf(id) == 'Z' ? MatchKind::zombie : MatchKind::commandName, id};
}

// Between two matches of the same kind, the lower process ID is better.
bool IsBetter(Candidate const& left, Candidate const& right) {
    return left.match < right.match || (left.match == right.match && left.id < right.id);
}

struct Processes {
    std::size_t count = 0;
    // The best match so far.
    Candidate agent = {};
};

Processes FindAgent() {
    Processes seen;
    AnyProcess([&seen](unsigned int id) {
        ++seen.count;
        Candidate const candidate = Classify(id);
        if (IsBetter(candidate, seen.agent))
            seen.agent = candidate;
        return false;
    });
    return seen;
}

Finding Describe(Candidate const& agent) {
    std::string const process = "process " + std::to_string(agent.id);
    long const id = agent.id;
    constexpr char check[] = "agent-process";
    switch (agent.match) {
    case MatchKind::program:
        return {check, Verdict::ok, "", "the agent runs as " + process, "", id};
    case MatchKind::otherProgram:
        return {check,
                Verdict::note,
                "agent-elsewhere",
                process + " has the agent's name and counts as the agent, but its program " +
                    agent.program + " is not the installed one",
                "check whether this process is the agent",
                id};
    case MatchKind::commandName:
        return {check,
                Verdict::note,
                "agent-by-command-name",
                process + " counts as the agent because of its command name; this user cannot see "
                          "its program file",
                "run compliance-doctor as root to check the program file",
                id};
    case MatchKind::deleted:
        return {check,
                Verdict::problem,
                "agent-deleted-program",
                process + " runs " + agent.program +
                    ", which was removed or replaced, so the process does not count as the agent",
                "restart the agent",
                id};
    case MatchKind::zombie:
        return {check,
                Verdict::problem,
                "agent-zombie",
                process + " counts as the agent, but has ended (zombie)",
                "start the agent",
                id};
    default:
        return {check, Verdict::problem, "agent-not-running",
                "this user sees no process with the agent's name", "start the agent"};
    }
}

} // namespace

Finding CheckAgentProgram() {
    constexpr char check[] = "agent-program";
    FileFacts const program(AgentPaths::program);
    if (program.IsUnknown())
        return {check, Verdict::problem, "agent-unreachable",
                program.Path() + " cannot be examined: " + program.Reason(), program.Remedy()};
    if (program.IsMissing())
        return {check, Verdict::problem, "agent-missing", program.Path() + " is missing",
                "install the agent"};
    if (!program.IsRegularFile() || (program.Facts().st_mode & 0111) == 0)
        return {check, Verdict::problem, "agent-not-a-program",
                program.Path() + " is not an executable file: " + program.OwnerAndMode(),
                "reinstall the agent"};
    return {check, Verdict::ok, "", program.Path() + " is installed"};
}

Finding CheckAgentProcess() {
    Processes const seen = FindAgent();
    // /proc always lists this process, so an empty list means that it cannot be read.
    if (seen.count == 0)
        return {"agent-process", Verdict::problem, "no-proc",
                "/proc lists no process, so the agent cannot be recognized", "mount /proc"};
    return Describe(seen.agent);
}
