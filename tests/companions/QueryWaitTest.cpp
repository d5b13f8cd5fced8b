// Retries of compliance-query with --wait.
#include "tests/companions/Query.h"
#include "tests/system/RecordLock.h"

namespace {

using Clock = std::chrono::steady_clock;

// Waits until the program has written the text to standard error.
void AwaitNote(OtherProgram const& program, std::string const& text) {
    for (Clock::time_point const limit = Clock::now() + seconds(30); Clock::now() < limit;) {
        if (program.Errors().find(text) != std::string::npos)
            return;
        usleep(10'000);
    }
    FAIL() << "not written: " << text << "; standard error: " << program.Errors();
}

// A lock that another process holds until Release, and the installed agent.
struct HeldLock : ForeignLock {
    HeldLock() { Sandbox::InstallAgent(); }
};

SANDBOX_TEST(WaitTest, RetriesUntilTheLockIsReleased) {
    ScriptedAgent const agent(FinishingScript());
    ForeignLock lock;
    OtherProgram program(QueryCommand({"-d", "--tsv", "--wait=1m"}));
    AwaitNote(program, "; trying again in 1 s\n");
    AwaitNote(program, "; trying again in 2 s\n");
    lock.Release();
    ProgramResult const result = program.Wait();
    EXPECT_EQ(ExitStatus::Exited(0), result.status) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr("the lock is held by process "));
    EXPECT_THAT(result.output, StartsWith("designator\t"));
}

// The process id stays, so the program is still the child that the test started.
SANDBOX_TEST(WaitTest, RetriesUntilTheRequestIsTaken) {
    WriteWholeFile(ScriptedAgent::request, "waiting");
    // The agent sees the waiting request too.
    QueryRun const run = Query({"-d", "--json", "--wait=60"}, AgentScript()
                                                                  .AwaitRequest()
                                                                  .PauseUntil(milliseconds(1500))
                                                                  .RemoveRequest()
                                                                  .Answer(OpenResponse())
                                                                  .Answer(Finished())
                                                                  .Answer(CloseResponse()));
    EXPECT_EQ(ExitStatus::Exited(0), run.status) << run.errors;
    EXPECT_THAT(run.errors, StartsWith("compliance-query: a request is already waiting"));
    EXPECT_EQ("finished", DocumentOf(run).at("outcome"));
}

SANDBOX_TEST(WaitTest, RetriesWhileTheAgentIsNotAvailable) {
    QueryRun const run =
        Query({"-d", "--json", "--wait=60"}, QueryScript({ProgressResponse("2", "-22")})
                                                 .Answer(OpenResponse())
                                                 .Answer(Finished())
                                                 .Answer(CloseResponse()));
    ExpectExit(0,
               "compliance-query: the agent is not available right now (error -22); trying "
               "again in 1 s\n",
               run);
    EXPECT_EQ(6u, run.requests.size());
    EXPECT_EQ("finished", DocumentOf(run).at("outcome"));
}

std::string UtcNow() {
    std::time_t const now = std::time(nullptr);
    char text[20] = {};
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", std::gmtime(&now));
    return text;
}

SANDBOX_TEST(WaitTest, ReportsStartAndDurationOfTheLastRetry) {
    ScriptedAgent const agent(FinishingScript());
    ForeignLock lock;
    Clock::time_point const firstStart = Clock::now();
    OtherProgram program(QueryCommand({"-d", "--json", "--wait=1m"}),
                         {.environment = Texts{"TZ=UTC"}});
    AwaitNote(program, "; trying again in 2 s\n");
    std::string const pause = UtcNow();
    lock.Release();
    Json const provenance = Json::parse(program.Wait().output).at("provenance");
    EXPECT_LE(pause, provenance.at("start").get<std::string>());
    std::chrono::duration<double> const whole = Clock::now() - firstStart;
    EXPECT_GT(whole.count() - 2.5, provenance.at("durationSeconds").get<double>());
}

void ExpectNameAfterRetry(std::string const& path, std::string const& name) {
    ForeignLock const lock;
    OtherProgram program({path, "-d", "--wait=1h"});
    std::string const file = "/proc/" + std::to_string(program.pid()) + "/comm";
    AwaitNote(program, "; trying again in 1 s\n");
    EXPECT_EQ(name + "\n", ReadWholeFile(file));
    fs::remove(path);
    AwaitNote(program, "; trying again in 2 s\n");
    EXPECT_EQ(name + "\n", ReadWholeFile(file));
    program.Kill(SIGTERM);
    EXPECT_EQ(ExitStatus::Exited(143), program.Wait(seconds(5)).status);
}

// The kernel truncates process names to 15 bytes.
SANDBOX_TEST(WaitTest, KeepsNameOfProcessIfProgramIsRemoved) {
    Sandbox::InstallAgent();
    for (auto const& [path, name] : {std::pair{"/opt/compliance-query", "compliance-quer"},
                                     std::pair{"/opt/a name", "a name"}}) {
        fs::copy_file(CC_QUERY_PROGRAM, path);
        ExpectNameAfterRetry(path, name);
    }
}

SANDBOX_TEST(WaitTest, DoesNotRetryAfterOtherFailures) {
    EXPECT_EQ(ExitStatus::Exited(3), RunQuery({"-d", "--wait=60"}).status);
    ExpectExit(1, "compliance-query: the agent reports the error 5\n",
               Query({"-d", "--wait=60"}, QueryScript({ProgressResponse("2", "5")})));
}

SANDBOX_TEST(WaitTest, ReportsFailureAfterTheWait) {
    HeldLock const lock;
    Clock::time_point const start = Clock::now();
    ProgramResult const result = RunQuery({"-d", "--json", "--wait=2"});
    EXPECT_LE(seconds(2), Clock::now() - start);
    EXPECT_EQ(ExitStatus::Exited(4), result.status);
    EXPECT_EQ("busy", DocumentOf(result).at("failure"));
}

SANDBOX_TEST(WaitTest, TimeoutLimitsTheWait) {
    HeldLock const lock;
    Clock::time_point const start = Clock::now();
    ProgramResult const result = RunQuery({"-d", "--json", "--wait=60", "--timeout=2"});
    EXPECT_LE(seconds(2), Clock::now() - start);
    EXPECT_GT(seconds(20), Clock::now() - start);
    EXPECT_EQ(ExitStatus::Exited(5), result.status);
    EXPECT_EQ("time-out", DocumentOf(result).at("failure"));
}

SANDBOX_TEST(WaitTest, SignalEndsTheWait) {
    HeldLock const lock;
    OtherProgram program(QueryCommand({"-d", "--json", "--wait=1h"}));
    AwaitNote(program, "again in 2 s\n");
    program.Kill(SIGTERM);
    ProgramResult const result = program.Wait(seconds(5));
    EXPECT_EQ(ExitStatus::Exited(143), result.status);
    EXPECT_EQ("signal", DocumentOf(result).at("failure"));
}

SANDBOX_TEST(WaitTest, ReportsThatTheProgramCannotBeExecutedAgain) {
    HeldLock const lock;
    std::string const path = "/opt/compliance-query";
    fs::copy_file(CC_QUERY_PROGRAM, path);
    std::string const file = "/opt/result";
    OtherProgram program({path, "-d", "--json", "--wait=1h", "--keep-failures", "-o", file});
    AwaitNote(program, "; trying again in 1 s\n");
    fs::permissions(path, fs::perms::none);
    ProgramResult const result = program.Wait(seconds(20));
    EXPECT_EQ(ExitStatus::Exited(4), result.status);
    EXPECT_EQ("busy", Json::parse(ReadBytes(file)).at("failure"));
    EXPECT_THAT(result.errors,
                EndsWith("; the program could not be executed again: Permission denied\n"));
}

SANDBOX_TEST(WaitTest, RemovesTemporaryFilesOfRetries) {
    fs::create_directory("/opt/results");
    HeldLock const lock;
    EXPECT_EQ(ExitStatus::Exited(4),
              RunQuery({"-d", "--json", "--wait=2", "-o", "/opt/results/file"}).status);
    EXPECT_TRUE(fs::is_empty("/opt/results"));
}

SANDBOX_TEST(WaitTest, QuietRetriesWithoutNotes) {
    HeldLock const lock;
    EXPECT_THAT(RunQuery({"-d", "-q", "--wait=1"}).errors, Not(HasSubstr("trying again")));
}

} // namespace
