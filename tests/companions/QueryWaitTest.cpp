// Retries of compliance-query with --wait.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/companions/Query.h"
#include "tests/system/RecordLock.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Json = nlohmann::json;
using std::chrono::milliseconds;
using std::chrono::seconds;
using Texts = std::vector<std::string>;

AgentScript Finishing(AgentScript script = {}) {
    return script.Answer(OpenAnswer())
        .Answer(ProgressAnswer("1", "0", "100"))
        .Answer(CloseAnswer());
}

// Waits until the program has written the text to standard error.
void AwaitNote(OtherProgram const& program, std::string const& text) {
    for (Clock::time_point const limit = Clock::now() + seconds(30); Clock::now() < limit;) {
        if (program.Errors().find(text) != std::string::npos)
            return;
        usleep(10'000);
    }
    FAIL() << "not written: " << text << "; standard error: " << program.Errors();
}

TEST(WaitTest, RetriesUntilTheLockIsReleased) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent const agent(Finishing());
        std::optional<ForeignLock> lock(std::in_place);
        OtherProgram program(QueryCommand({"-d", "--tsv", "--wait=1m"}));
        AwaitNote(program, "; trying again in 1 s\n");
        AwaitNote(program, "; trying again in 2 s\n");
        lock.reset();
        ProgramResult const result = program.Wait();
        EXPECT_EQ(ExitStatus::Exited(0), result.status) << result.errors;
        EXPECT_NE(std::string::npos, result.errors.find("the lock is held by process "));
        EXPECT_TRUE(result.output.starts_with("designator\t"));
    });
}

// The process id stays, so the program is still the child that the test started.
TEST(WaitTest, RetriesUntilTheRequestIsTaken) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        std::ofstream(std::string(ScriptedAgent::request)) << "waiting";
        // The agent sees the waiting request too.
        ScriptedAgent const agent(
            Finishing(AgentScript().AwaitRequest().PauseUntil(milliseconds(1500)).RemoveRequest()));
        ProgramResult const result = RunQuery({"-d", "--json", "--wait=60"});
        EXPECT_EQ(ExitStatus::Exited(0), result.status) << result.errors;
        EXPECT_TRUE(result.errors.starts_with("compliance-query: a request is already waiting"));
        EXPECT_EQ("finished", Json::parse(result.output).at("outcome"));
    });
}

TEST(WaitTest, RetriesWhileTheAgentIsNotAvailable) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent const agent(Finishing(AgentScript()
                                                .Answer(OpenAnswer())
                                                .Answer(ProgressAnswer("2", "-22"))
                                                .Answer(CloseAnswer())));
        ProgramResult const result = RunQuery({"-d", "--json", "--wait=60"});
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        EXPECT_EQ("compliance-query: the agent is not available right now (error -22); trying "
                  "again in 1 s\n",
                  result.errors);
        EXPECT_EQ(6u, agent.Requests().size());
        EXPECT_EQ("finished", Json::parse(result.output).at("outcome"));
    });
}

std::string UtcNow() {
    std::time_t const now = std::time(nullptr);
    char text[20] = {};
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", std::gmtime(&now));
    return text;
}

TEST(WaitTest, ReportsStartAndDurationOfTheLastRetry) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent const agent(Finishing());
        std::optional<ForeignLock> lock(std::in_place);
        Clock::time_point const firstStart = Clock::now();
        OtherProgram program(QueryCommand({"-d", "--json", "--wait=1m"}),
                             {.environment = Texts{"TZ=UTC"}});
        AwaitNote(program, "; trying again in 2 s\n");
        std::string const pause = UtcNow();
        lock.reset();
        Json const provenance = Json::parse(program.Wait().output).at("provenance");
        EXPECT_LE(pause, provenance.at("start").get<std::string>());
        std::chrono::duration<double> const whole = Clock::now() - firstStart;
        EXPECT_GT(whole.count() - 2.5, provenance.at("durationSeconds").get<double>());
    });
}

std::string NameOf(OtherProgram const& program) {
    std::ifstream file("/proc/" + std::to_string(program.pid()) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

void ExpectNameAfterRetry(std::string const& path, std::string const& name) {
    ForeignLock const lock;
    OtherProgram program({path, "-d", "--wait=1h"});
    AwaitNote(program, "; trying again in 1 s\n");
    EXPECT_EQ(name, NameOf(program));
    fs::remove(path);
    AwaitNote(program, "; trying again in 2 s\n");
    EXPECT_EQ(name, NameOf(program));
    program.Kill(SIGTERM);
    EXPECT_EQ(ExitStatus::Exited(143), program.Wait(seconds(5)).status);
}

// The kernel truncates process names to 15 bytes.
TEST(WaitTest, KeepsNameOfProcessIfProgramIsRemoved) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        Sandbox::InstallAgent();
        for (auto const& [path, name] : {std::pair{"/opt/compliance-query", "compliance-quer"},
                                         std::pair{"/opt/a name", "a name"}}) {
            fs::copy_file(CC_QUERY_PROGRAM, path);
            ExpectNameAfterRetry(path, name);
        }
    });
}

TEST(WaitTest, DoesNotRetryAfterOtherFailures) {
    Sandbox::Run([] {
        EXPECT_EQ(ExitStatus::Exited(3), RunQuery({"-d", "--wait=60"}).status);
        Sandbox::CreateAgentDirectories();
        ScriptedAgent const agent(AgentScript()
                                      .Answer(OpenAnswer())
                                      .Answer(ProgressAnswer("2", "5"))
                                      .Answer(CloseAnswer()));
        ProgramResult const result = RunQuery({"-d", "--wait=60"});
        EXPECT_EQ(ExitStatus::Exited(1), result.status);
        EXPECT_EQ("compliance-query: the agent reports the error 5\n", result.errors);
    });
}

TEST(WaitTest, ReportsFailureAfterTheWait) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        Sandbox::InstallAgent();
        ForeignLock const lock;
        Clock::time_point const start = Clock::now();
        ProgramResult const result = RunQuery({"-d", "--json", "--wait=2"});
        EXPECT_LE(seconds(2), Clock::now() - start);
        EXPECT_EQ(ExitStatus::Exited(4), result.status);
        EXPECT_EQ("busy", Json::parse(result.output).at("failure"));
    });
}

TEST(WaitTest, TimeoutLimitsTheWait) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        Sandbox::InstallAgent();
        ForeignLock const lock;
        Clock::time_point const start = Clock::now();
        ProgramResult const result = RunQuery({"-d", "--json", "--wait=60", "--timeout=2"});
        EXPECT_LE(seconds(2), Clock::now() - start);
        EXPECT_GT(seconds(20), Clock::now() - start);
        EXPECT_EQ(ExitStatus::Exited(5), result.status);
        EXPECT_EQ("time-out", Json::parse(result.output).at("failure"));
    });
}

TEST(WaitTest, SignalEndsTheWait) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        Sandbox::InstallAgent();
        ForeignLock const lock;
        OtherProgram program(QueryCommand({"-d", "--json", "--wait=1h"}));
        AwaitNote(program, "again in 2 s\n");
        program.Kill(SIGTERM);
        ProgramResult const result = program.Wait(seconds(5));
        EXPECT_EQ(ExitStatus::Exited(143), result.status);
        EXPECT_EQ("signal", Json::parse(result.output).at("failure"));
    });
}

TEST(WaitTest, RemovesTemporaryFilesOfRetries) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        Sandbox::InstallAgent();
        fs::create_directory("/opt/results");
        ForeignLock const lock;
        EXPECT_EQ(ExitStatus::Exited(4),
                  RunQuery({"-d", "--json", "--wait=2", "-o", "/opt/results/file"}).status);
        EXPECT_TRUE(fs::is_empty("/opt/results"));
    });
}

TEST(WaitTest, QuietRetriesWithoutNotes) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        Sandbox::InstallAgent();
        ForeignLock const lock;
        ProgramResult const result = RunQuery({"-d", "-q", "--wait=1"});
        EXPECT_EQ(std::string::npos, result.errors.find("trying again"));
    });
}

} // namespace
