// The real compliance-doctor on machines in various states.
#include "tests/companions/CompanionTest.h"
#include "tests/system/RecordLock.h"

namespace {

ProgramResult RunDoctor(Texts arguments, ProgramOptions const& options = {}) {
    arguments.insert(arguments.begin(), CC_DOCTOR_PROGRAM);
    return RunProgram(arguments, options);
}

// Makes an evaluation possible. Returns the command that runs the agent.
Texts MakeHealthy() {
    for (char const* const path :
         {ScriptedAgent::requestDirectory, "/var/opt/VeskaClient/ResponseDir"})
        fs::permissions(path, fs::perms(0770));
    return Sandbox::InstallIdleAgent();
}

// Lists all entries of the exchange and the agent with their modes.
std::string Survey() {
    std::string text;
    for (char const* const root : {"/opt", "/var/opt"})
        for (auto const& entry : fs::recursive_directory_iterator(root))
            text += entry.path().string() + " " +
                    std::to_string(static_cast<unsigned int>(entry.status().permissions())) + "\n";
    return text;
}

SANDBOX_TEST(DoctorTest, ExitsWith1IfStandardOutputIsFullOrClosed) {
    OtherProgram const agent(MakeHealthy());
    ExpectExit(1, "compliance-doctor: the findings could not be written: No space left on device\n",
               RunShell("exec '" CC_DOCTOR_PROGRAM "' >/dev/full"));
    EXPECT_EQ(ExitStatus::Exited(1), RunDoctor({}, {.closedDescriptors = {1}}).status);
}

SANDBOX_TEST(DoctorTest, ExitsWith0OnHealthyMachine) {
    OtherProgram const agent(MakeHealthy());
    ProgramResult const result = RunDoctor({});
    ExpectExit(0, "", result);
    EXPECT_EQ("ok       agent-program: /opt/VeskaClient/bin/VeskaClient is installed.\n"
              "ok       agent-process: the agent runs as process " +
                  std::to_string(agent.pid()) +
                  ".\n"
                  "ok       request-directory: /var/opt/VeskaClient/RequestDir is writable.\n"
                  "ok       request-directory-mode: /var/opt/VeskaClient/RequestDir is owned by "
                  "user root and group 0, mode 0770.\n"
                  "ok       space: the file system of /var/opt/VeskaClient/RequestDir has free "
                  "space.\n"
                  "ok       lock: there is no lock file yet, so the lock is free.\n"
                  "ok       request: no request is waiting.\n"
                  "ok       temporary-request: there is no temporary request.\n"
                  "ok       response-directory: /var/opt/VeskaClient/ResponseDir is accessible.\n"
                  "ok       response-directory-mode: /var/opt/VeskaClient/ResponseDir is owned "
                  "by user root and group 0, mode 0770.\n"
                  "ok       response: there is no response.\n",
              result.output);
}

TEST(DoctorTest, ExitsWith1OnMachineWithoutAgent) {
    Sandbox::Run([] {
        ProgramResult const result = RunDoctor({"--json"});
        EXPECT_EQ(ExitStatus::Exited(1), result.status);
        EXPECT_EQ("", Survey());
        Json const document = Json::parse(result.output);
        EXPECT_EQ(false, document.at("healthy"));
        Texts causes;
        for (Json const& check : document.at("checks"))
            causes.push_back(check.value("cause", check.at("verdict").get<std::string>()));
        EXPECT_THAT(causes, ElementsAre("agent-missing", "agent-not-running", "directory-missing",
                                        "skipped", "skipped", "skipped", "ok", "ok",
                                        "directory-missing", "skipped", "ok"));
    });
}

SANDBOX_TEST(DoctorTest, ReportsProcessThatHoldsTheLock) {
    OtherProgram const agent(MakeHealthy());
    ForeignLock const lock;
    std::string const before = Survey();
    ProgramResult const result = RunDoctor({"--json"});
    EXPECT_EQ(ExitStatus::Exited(1), result.status);
    Json const check = Json::parse(result.output).at("checks").at(5);
    EXPECT_EQ("lock", check.at("check"));
    EXPECT_EQ("lock-held", check.at("cause"));
    EXPECT_EQ(lock.pid(), check.at("processId"));
    EXPECT_EQ(before, Survey());
}

// Like a container that shares the directory with the host.
SANDBOX_TEST(DoctorTest, LockHolderInAnotherNamespaceHasNoProcessId) {
    ForeignLock const lock;
    ProgramResult const result =
        RunProgram({"/usr/bin/unshare", "--pid", "--fork", CC_DOCTOR_PROGRAM, "--json"});
    EXPECT_EQ(ExitStatus::Exited(1), result.status) << result.errors;
    Json const check = Json::parse(result.output).at("checks").at(5);
    EXPECT_EQ("lock-held-in-other-namespace", check.at("cause"));
    EXPECT_FALSE(check.contains("processId"));
}

TEST(DoctorTest, ShowsHelpAndVersion) {
    ProgramResult const help = RunDoctor({"--help"});
    EXPECT_EQ(ExitStatus::Exited(0), help.status);
    EXPECT_THAT(help.output, StartsWith("Usage: compliance-doctor [--json]\n"));
    EXPECT_EQ("compliance-doctor " CC_VERSION "\n", RunDoctor({"--version"}).output);
}

TEST(DoctorTest, ExitsWith2OnInvalidCommandLine) {
    ProgramResult const result = RunDoctor({"--fix"});
    ExpectExit(2,
               "compliance-doctor: '--fix' is not an option of this program; --help lists the "
               "options\n",
               result);
    EXPECT_EQ("", result.output);
}

} // namespace
