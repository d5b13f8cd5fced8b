// The real program on machines in various states.
#include "companions/Doctor.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Sandbox::agentProgram;
using Sandbox::CreateAgentDirectories;
using Sandbox::InstallAgent;

ProgramResult RunIt(std::vector<std::string> arguments, ProgramOptions const& options = {}) {
    arguments.insert(arguments.begin(), CC_DOCTOR_PROGRAM);
    return RunProgram(arguments, options);
}

// A machine on which an evaluation succeeds.
void MakeHealthy() {
    CreateAgentDirectories();
    fs::permissions(ScriptedAgent::requestDirectory, fs::perms(0770));
    fs::permissions("/var/opt/VeskaClient/ResponseDir", fs::perms(0770));
    InstallAgent();
}

// Lists all entries below the path with their modes.
std::string Survey(std::string const& root) {
    std::string text;
    for (auto const& entry : fs::recursive_directory_iterator(root))
        text += entry.path().string() + " " +
                std::to_string(static_cast<unsigned int>(entry.status().permissions())) + "\n";
    return text;
}

TEST(DoctorTest, ReportsFullDiskOfStandardOutput) {
    Sandbox::Run([] {
        ProgramResult const result =
            RunProgram({"/bin/sh", "-c", "exec " CC_DOCTOR_PROGRAM " >/dev/full"});
        EXPECT_EQ(ExitStatus::Exited(1), result.status);
        EXPECT_EQ("compliance-doctor: the findings could not be written: No space left on device\n",
                  result.errors);
    });
}

TEST(DoctorTest, ExitsWith0OnHealthyMachine) {
    Sandbox::Run([] {
        MakeHealthy();
        OtherProgram const agent({agentProgram, "60"});
        ProgramResult const result = RunIt({});
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        EXPECT_EQ("", result.errors);
        EXPECT_EQ(
            "ok       agent-program: /opt/VeskaClient/bin/VeskaClient is installed.\n"
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
    });
}

TEST(DoctorTest, ExitsWith1OnMachineWithoutAgent) {
    Sandbox::Run([] {
        ProgramResult const result = RunIt({"--json"});
        EXPECT_EQ(ExitStatus::Exited(1), result.status);
        Json const document = Json::parse(result.output);
        EXPECT_FALSE(document.at("healthy").get<bool>());
        std::string causes;
        for (Json const& check : document.at("checks"))
            causes += check.value("cause", check.at("verdict").get<std::string>()) + " ";
        EXPECT_EQ("agent-missing agent-not-running directory-missing skipped skipped skipped ok ok "
                  "directory-missing skipped ok ",
                  causes);
    });
}

TEST(DoctorTest, ReportsProcessThatHoldsTheLock) {
    Sandbox::Run([] {
        MakeHealthy();
        OtherProgram const agent({agentProgram, "60"});
        ForeignLock lock;
        ProgramResult const result = RunIt({"--json"});
        EXPECT_EQ(ExitStatus::Exited(1), result.status);
        Json const check = Json::parse(result.output).at("checks").at(5);
        EXPECT_EQ("lock", check.at("check").get<std::string>());
        EXPECT_EQ("lock-held", check.at("cause").get<std::string>());
        EXPECT_EQ(AskWhoLocks().l_pid, check.at("processId").get<pid_t>());
    });
}

// Like a container that shares the directory with the host.
TEST(DoctorTest, LockHolderInAnotherNamespaceHasNoProcessId) {
    Sandbox::Run([] {
        CreateAgentDirectories();
        ForeignLock lock;
        ProgramResult const result =
            RunProgram({"/usr/bin/unshare", "--pid", "--fork", CC_DOCTOR_PROGRAM, "--json"});
        EXPECT_EQ(ExitStatus::Exited(1), result.status) << result.errors;
        Json const check = Json::parse(result.output).at("checks").at(5);
        EXPECT_EQ("lock-held-in-other-namespace", check.at("cause").get<std::string>());
        EXPECT_FALSE(check.contains("processId"));
    });
}

TEST(DoctorTest, DoesNotChangeFiles) {
    Sandbox::Run([] {
        RunIt({});
        EXPECT_EQ("", Survey("/opt") + Survey("/var/opt"));
        MakeHealthy();
        std::string const before = Survey("/opt") + Survey("/var/opt");
        RunIt({});
        EXPECT_EQ(before, Survey("/opt") + Survey("/var/opt"));
    });
}

TEST(DoctorTest, ShowsHelpAndVersion) {
    ProgramResult const help = RunIt({"--help"});
    EXPECT_EQ(ExitStatus::Exited(0), help.status);
    EXPECT_TRUE(help.output.starts_with("Usage: compliance-doctor [--json]\n"));
    EXPECT_EQ("compliance-doctor " CC_VERSION "\n", RunIt({"--version"}).output);
}

TEST(DoctorTest, ExitsWith2OnInvalidCommandLine) {
    ProgramResult const result = RunIt({"--fix"});
    EXPECT_EQ(ExitStatus::Exited(2), result.status);
    EXPECT_EQ("compliance-doctor: '--fix' is not an option of this program; --help lists "
              "the options\n",
              result.errors);
    EXPECT_EQ("", result.output);
}

TEST(DoctorTest, ExitsWith1IfStandardOutputIsClosed) {
    Sandbox::Run([] {
        MakeHealthy();
        OtherProgram const agent({agentProgram, "60"});
        EXPECT_EQ(ExitStatus::Exited(1), RunIt({}, {.closedDescriptors = {1}}).status);
    });
}

} // namespace
