#include "tests/companions/EntryKinds.h"

#include <sys/mount.h>

#include "tests/companions/CompanionTest.h"
#include "tests/system/Tool.h"

namespace {

// Only root can search it.
constexpr char const* closedDirectory = "/opt/closed";
// An entry is created here and then renamed, because PlaceOnDisk hides only the request directory.
constexpr char const* staging = "/var/opt/staging";

// Changes the owner to the user who runs the programs, if the sandbox has a second user.
void GiveToUser(std::string const& path) {
    bool const isGiven = lchown(path.c_str(), userId, userId) == 0;
    ASSERT_TRUE(isGiven || errno == EINVAL) << path;
}

Kind Plain(std::string const& name, Entry const& entry) {
    return {name, [entry](std::string const& path) {
                PlaceOnDisk(staging, entry);
                if (entry.kind != Entry::nothing)
                    fs::rename(staging, path);
            }};
}

Kind LinkTo(std::string const& target) {
    return Plain("link to " + target.substr(0, 40), Entry::Link(target));
}

// The user's own file or directory, with the mode.
Kind WithMode(Entry const& entry, std::string const& mode) {
    Kind const plain = Plain("", entry);
    return {testing::PrintToString(entry) + ", mode " + mode, [=](std::string const& path) {
                plain.make(path);
                GiveToUser(path);
                fs::permissions(path, fs::perms(std::stoul(mode, nullptr, 8)));
            }};
}

std::vector<Kind> SpecialKinds() {
    return {Plain("FIFO", {Entry::fifo}),
            Plain("socket", {Entry::unixSocket}),
            Plain("device", {Entry::device}),
            LinkTo("/opt/simulation/creatable"),
            LinkTo(Entry::nowhere),
            LinkTo(Entry::elsewhere),
            LinkTo("/opt/simulation"),
            LinkTo("/dev/null/below"),
            LinkTo(std::string(closedDirectory) + "/target"),
            LinkTo(std::string(256, 'x')),
            {"link loop", [](std::string const& path) {
                 fs::create_symlink(path, path);
             }}};
}

} // namespace

std::vector<Kind> KindsOfEntries() {
    std::vector<Kind> kinds = SpecialKinds();
    Kind absent = Plain("absent", {});
    absent.isHealthy = true;
    Kind file = WithMode(Entry::File(""), "0644");
    file.isHealthy = true;
    kinds.insert(kinds.end(), {absent, file, Plain("file of root", Entry::File("")),
                               Plain("directory", {Entry::directory}),
                               Plain("full directory", {Entry::fullDirectory})});
    for (char const* const mode : {"0000", "0200", "0400"})
        kinds.push_back(WithMode(Entry::File(""), mode));
    return kinds;
}

void LayOut() {
    fs::remove_all(agentDirectory);
    fs::remove_all("/opt/simulation");
    Sandbox::CreateAgentDirectories();
    for (char const* const path :
         {agentDirectory, ScriptedAgent::requestDirectory, responseDirectory}) {
        GiveToUser(path);
        fs::permissions(path, fs::perms(0755));
    }
    fs::create_directories("/opt/simulation");
    GiveToUser("/opt/simulation");
    WriteBytes(Entry::elsewhere, "");
    fs::create_directories(closedDirectory);
    WriteBytes(std::string(closedDirectory) + "/target", "");
    fs::permissions(closedDirectory, fs::perms::none);
}

void Place(Kind const& kind, std::string const& path) {
    LayOut();
    fs::remove_all(path);
    kind.make(path);
}

void MountForDevices() { ASSERT_EQ(0, mount("tmpfs", "/var/opt", "tmpfs", 0, nullptr)); }

std::vector<Kind> KindsOfDirectories(Texts const& modes) {
    std::vector<Kind> kinds = SpecialKinds();
    kinds.insert(kinds.end(), {Plain("absent", {}), Plain("file", Entry::File(""))});
    for (std::string const& mode : modes)
        kinds.push_back(WithMode({Entry::directory}, mode));
    return kinds;
}

ProgramResult RunAs(bool asUser, Texts const& command, ProgramOptions const& options) {
    return RunProgram(command, asUser ? Unprivileged(options) : options);
}

std::string ProblemOf(std::string const& check, Json const& document) {
    for (Json const& finding : document.at("checks"))
        if (finding.at("check") == check && finding.at("verdict") == "problem")
            return finding.at("cause");
    return "";
}
