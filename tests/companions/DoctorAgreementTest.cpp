// Compares compliance-doctor with the real tool, for each kind of directory entry at each path of
// the exchange. The doctor exits with 0 only where an evaluation succeeds. It reports each failure
// of the tool as a problem of the check for that path.
#include "tests/companions/CompanionTest.h"
#include "tests/companions/EntryKinds.h"
#include "tests/stress/PreloadedProgram.h"
#include "tests/system/Tool.h"

namespace {

class Programs {
public:
    explicit Programs(bool isUser) : asUser(isUser) {}

    ProgramResult RunDoctor() const { return RunAs(asUser, {doctor, "--json"}); }

    // Whether the tool prints the rows of an agent that answers.
    bool Evaluates() const {
        ProgramResult const result = RunAs(asUser, {tool, "-d"}, PreloadedOptions({}));
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        return result.output.ends_with(UsualRows());
    }

private:
    bool const asUser;
    std::string const doctor = AccessibleCopy(CC_DOCTOR_PROGRAM);
    std::string const tool = AccessibleCopy(CC_DYNAMIC_TOOL);
};

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
    EXPECT_NE("", ProblemOf(check, Json::parse(doctor.output))) << doctor.output;
}

// Tries each kind of entry at the path, as root and as a user.
void TryAll(std::string const& path, std::string const& check, std::vector<Kind> const& kinds) {
    for (bool const asUser : {false, true})
        Sandbox::Run([&] {
            MountForDevices();
            Sandbox::CreateAgentDirectories();
            PlayedAgent const agent(UsualResponses());
            Programs const programs(asUser);
            for (Kind const& kind : kinds) {
                SCOPED_TRACE(kind.name + " at " + path + (asUser ? ", user" : ", root"));
                Place(kind, path);
                ExpectAgreement(programs, check, kind.isHealthy && check != "request");
            }
        });
}

struct CheckedPath {
    char const* path;
    char const* check;
};

constexpr CheckedPath checkedFiles[] = {{ScriptedAgent::request, "request"},
                                        {ScriptedAgent::requestTemp, "temporary-request"},
                                        {ScriptedAgent::lockFile, "lock"},
                                        {ScriptedAgent::response, "response"}};

class DoctorAgreementFileTest : public testing::TestWithParam<CheckedPath> {};

TEST_P(DoctorAgreementFileTest, AgreesOnEachEntryKind) {
    TryAll(GetParam().path, GetParam().check, KindsOfEntries());
}

INSTANTIATE_TEST_SUITE_P(Paths, DoctorAgreementFileTest, testing::ValuesIn(checkedFiles),
                         [](auto const& test) {
                             return fs::path(test.param.path).stem().string();
                         });

TEST(DoctorAgreementTest, AgreesOnEachEntryKindAtRequestDirectoryPath) {
    TryAll(ScriptedAgent::requestDirectory, "request-directory",
           KindsOfDirectories({"0000", "0100", "0200", "0400", "0500", "0600", "0300", "0700"}));
}

// The agent answers with the rights of the tool's user, who therefore needs the right to write.
TEST(DoctorAgreementTest, AgreesOnEachEntryKindAtResponseDirectoryPath) {
    TryAll(responseDirectory, "response-directory",
           KindsOfDirectories({"0000", "0200", "0600", "0300", "0700"}));
}

TEST(DoctorAgreementTest, AgreesOnEachEntryKindAtParentDirectoryPath) {
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

SANDBOX_TEST(DoctorAgreementTest, AgreesOnFilesOfRootInStickyDirectory) {
    PlayedAgent const agent(UsualResponses());
    Programs const programs(true);
    for (CheckedPath const& checked : checkedFiles) {
        SCOPED_TRACE(checked.path);
        LayOut();
        if (!GiveStickyDirectoryToGroup())
            GTEST_SKIP() << "this sandbox has no second user";
        WriteBytes(checked.path, "");
        fs::permissions(checked.path, fs::perms(0666));
        ExpectAgreement(programs, checked.check, false);
    }
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

SANDBOX_TEST(DoctorAgreementTest, ReportsEntryThatCannotBeExamined) {
    LayOut();
    Texts const doctor = {CC_DYNAMIC_DOCTOR, "--json"};
    for (CheckedPath const& checked : checkedFiles) {
        SCOPED_TRACE(checked.path);
        RunPreloaded(doctor, {.withAgent = false});
        Fault const fault{"lstat", EIO, FindCallOfLstat(checked.path), true};
        ProgramResult const run = RunPreloaded(doctor, {{fault}, "", false});
        EXPECT_NE("", ProblemOf(checked.check, Json::parse(run.output))) << run.output;
    }
}

} // namespace
