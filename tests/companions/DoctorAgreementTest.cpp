// compliance-doctor compared with the real tool: for each kind of directory entry at each path of
// the exchange, the doctor exits with 0 only where an evaluation succeeds, and it reports each
// failure of the tool as a problem of the check for that path.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/mount.h>
#include <unistd.h>

#include "tests/support/Entries.h"
#include "tests/support/PrivateMachine.h"
#include "tests/system/Tool.h"
#include "tests/torture/PreloadedProgram.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr uid_t userId = 65534;
constexpr char const* agentDirectory = "/var/opt/VeskaClient";
constexpr char const* responseDirectory = "/var/opt/VeskaClient/ResponseDir";
// Only root can search it.
constexpr char const* closedDirectory = "/opt/closed";
// An entry is made here and then renamed, because PlaceOnDisk only hides the request directory.
constexpr char const* staging = "/var/opt/staging";

struct Kind {
    std::string name;
    std::function<void(std::string const& path)> make;
    // Whether the doctor must exit with 0, unless the entry is a request.
    bool isHealthy = false;
};

// The owner becomes the user whose evaluations are tried, where the sandbox has a second user.
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

// No evaluation has a lock, a request or an answer yet.
void LayOut() {
    fs::remove_all(agentDirectory);
    fs::remove_all("/opt/simulation");
    PrivateMachine::CreateAgentDirectories();
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

// A file system on which a device works.
void MountForDevices() { ASSERT_EQ(0, mount("tmpfs", "/var/opt", "tmpfs", 0, nullptr)); }

// Not every user can reach the directory of the build.
std::string CopyForEveryone(std::string const& program) {
    std::string const copy = "/opt/" + fs::path(program).filename().string();
    fs::copy_file(program, copy, fs::copy_options::skip_existing);
    fs::permissions(copy, fs::perms(0755));
    return copy;
}

class Programs {
public:
    explicit Programs(bool asUser) {
        prepare = [asUser] {
            if (asUser)
                PrivateMachine::DropPrivileges();
            return true;
        };
    }

    ProgramResult RunDoctor() const { return RunProgram({doctor, "--json"}, {.prepare = prepare}); }

    // Whether the tool prints the rows of an agent that answers.
    bool Evaluates() const {
        ProgramOptions options = PreloadedOptions({});
        options.environment->front() = "LD_PRELOAD=" + shim;
        options.prepare = prepare;
        ProgramResult const result = RunProgram({tool, "-d"}, options);
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        return result.output.ends_with(UsualRows());
    }

private:
    std::string const doctor = CopyForEveryone(CC_DOCTOR_PROGRAM);
    std::string const tool = CopyForEveryone(CC_DYNAMIC_TOOL);
    std::string const shim = CopyForEveryone(CC_FAILING_CALLS);
    std::function<bool()> prepare;
};

bool HasProblemOf(std::string const& check, Json const& document) {
    for (Json const& finding : document.at("checks"))
        if (finding.at("check") == check && finding.at("verdict") == "problem")
            return true;
    return false;
}

void ExpectAgreement(Programs const& programs, std::string const& check, bool isHealthy) {
    ProgramResult const doctor = programs.RunDoctor();
    bool const evaluates = programs.Evaluates();
    if (isHealthy) {
        EXPECT_EQ(ExitStatus::Exited(0), doctor.status) << doctor.output;
        EXPECT_TRUE(evaluates);
    }
    if (evaluates)
        return;
    EXPECT_EQ(ExitStatus::Exited(1), doctor.status) << doctor.output;
    EXPECT_TRUE(HasProblemOf(check, Json::parse(doctor.output))) << doctor.output;
}

void TryAll(std::string const& path, std::string const& check, std::vector<Kind> const& kinds) {
    for (bool const asUser : {false, true}) {
        PrivateMachine::Run([&] {
            MountForDevices();
            PrivateMachine::CreateAgentDirectories();
            PlayedAgent const agent(UsualAnswers());
            Programs const programs(asUser);
            for (Kind const& kind : kinds) {
                SCOPED_TRACE(kind.name + " at " + path + (asUser ? ", user" : ", root"));
                LayOut();
                fs::remove_all(path);
                kind.make(path);
                ExpectAgreement(programs, check, kind.isHealthy && check != "request");
            }
        });
    }
}

TEST(DoctorAgreementTest, RequestOfEachKind) {
    TryAll(ScriptedAgent::request, "request", KindsOfEntries());
}

TEST(DoctorAgreementTest, TemporaryRequestOfEachKind) {
    TryAll(ScriptedAgent::requestTemp, "temporary-request", KindsOfEntries());
}

TEST(DoctorAgreementTest, LockFileOfEachKind) {
    TryAll(ScriptedAgent::lockFile, "lock", KindsOfEntries());
}

TEST(DoctorAgreementTest, ResponseOfEachKind) {
    TryAll(ScriptedAgent::response, "response", KindsOfEntries());
}

std::vector<Kind> KindsOfDirectories(std::vector<std::string> const& modes) {
    std::vector<Kind> kinds = SpecialKinds();
    kinds.insert(kinds.end(), {Plain("absent", {}), Plain("file", Entry::File(""))});
    for (std::string const& mode : modes)
        kinds.push_back(WithMode({Entry::directory}, mode));
    return kinds;
}

TEST(DoctorAgreementTest, RequestDirectoryOfEachKind) {
    TryAll(ScriptedAgent::requestDirectory, "request-directory",
           KindsOfDirectories({"0000", "0100", "0200", "0400", "0500", "0600", "0300", "0700"}));
}

// The agent answers with the rights of the tool's user, who therefore needs the right to write.
TEST(DoctorAgreementTest, ResponseDirectoryOfEachKind) {
    TryAll(responseDirectory, "response-directory",
           KindsOfDirectories({"0000", "0200", "0600", "0300", "0700"}));
}

TEST(DoctorAgreementTest, ParentDirectoryOfEachKind) {
    TryAll(agentDirectory, "request-directory", KindsOfDirectories({"0000", "0200", "0400"}));
}

// In a sticky directory only the owners of the file and of the directory may rename a file. Returns
// false where the sandbox has no second user.
bool GiveStickyDirectoryToGroup() {
    if (chown(ScriptedAgent::requestDirectory, 0, userId) != 0)
        return false;
    fs::permissions(ScriptedAgent::requestDirectory, fs::perms(01775));
    return true;
}

TEST(DoctorAgreementTest, FileOfRootInStickyDirectory) {
    PrivateMachine::Run([] {
        PrivateMachine::CreateAgentDirectories();
        PlayedAgent const agent(UsualAnswers());
        Programs const programs(true);
        struct {
            char const* path;
            char const* check;
        } const cells[] = {{ScriptedAgent::request, "request"},
                           {ScriptedAgent::requestTemp, "temporary-request"},
                           {ScriptedAgent::lockFile, "lock"}};
        for (auto const& cell : cells) {
            SCOPED_TRACE(cell.path);
            LayOut();
            if (!GiveStickyDirectoryToGroup())
                GTEST_SKIP() << "this sandbox has no second user";
            WriteBytes(cell.path, "");
            fs::permissions(cell.path, fs::perms(0666));
            ExpectAgreement(programs, cell.check, false);
        }
    });
}

// The number of the first call of lstat for the path, among all calls of lstat.
std::size_t FindCallOfLstat(std::string const& path) {
    std::size_t number = 0;
    for (LoggedCall const& call : LoggedCalls()) {
        number += call.name == "lstat";
        if (call.name == "lstat" && call.arguments == path)
            return number;
    }
    throw std::runtime_error("no call of lstat for " + path);
}

TEST(DoctorAgreementTest, EntryThatCannotBeExaminedIsProblem) {
    PrivateMachine::Run([] {
        LayOut();
        struct {
            char const* path;
            char const* check;
        } const cells[] = {{ScriptedAgent::request, "request"},
                           {ScriptedAgent::requestTemp, "temporary-request"},
                           {ScriptedAgent::lockFile, "lock"},
                           {ScriptedAgent::response, "response"}};
        std::vector<std::string> const doctor = {CC_DYNAMIC_DOCTOR, "--json"};
        for (auto const& cell : cells) {
            SCOPED_TRACE(cell.path);
            RunPreloaded(doctor, {.withAgent = false});
            Fault const fault{"lstat", EIO, FindCallOfLstat(cell.path), true};
            ProgramResult const run = RunPreloaded(doctor, {{fault}, "", false});
            EXPECT_TRUE(HasProblemOf(cell.check, Json::parse(run.output))) << run.output;
        }
    });
}

} // namespace
