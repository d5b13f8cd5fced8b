// The real companions while files change, and with an interrupted system call.
#include "tests/companions/Query.h"
#include "tests/stress/KilledTool.h"

namespace {

using Stress::KilledRun;
using Stress::Trace;

constexpr char resultDirectory[] = "/opt/results/";
constexpr char resultFile[] = "/opt/results/file";

void ExpectRunExit(int status, std::string const& errors, KilledRun const& run) {
    EXPECT_EQ(ExitStatus::Exited(status), run.status);
    EXPECT_EQ(errors, run.errors);
}

// Runs compliance-query without an agent once for each of its system calls that name `path`, with
// the change before that call. Expects that no run succeeds or writes a request. Returns the status
// and the message of each run.
Texts QueryWithChangeAtEachCall(std::string const& path, std::string const& output,
                                std::function<void()> const& prepare,
                                std::function<void()> const& change) {
    Texts const command = QueryCommand({"--output", output, "-d"});
    auto const namesPath = [&](Stress::SystemCall const& call) {
        return call.path == path;
    };
    prepare();
    Trace const trace =
        Stress::RunProgramAndKill(command, [](Trace const&) { return false; }).trace;
    Texts outcomes;
    for (long number = 1; number <= std::ranges::count_if(trace, namesPath); ++number) {
        prepare();
        auto const isDue = [&](Trace const& calls) {
            return namesPath(calls.back()) && std::ranges::count_if(calls, namesPath) == number;
        };
        KilledRun const run = Stress::RunProgramWithChange(command, isDue, change);
        EXPECT_FALSE(run.status == ExitStatus::Exited(0));
        EXPECT_FALSE(fs::exists(ScriptedAgent::request));
        outcomes.push_back(std::to_string(run.status.code) + ": " + run.errors);
    }
    return outcomes;
}

SANDBOX_TEST(ChangedFilesTest, QueryRefusesLinkThatReplacesTheFile) {
    auto const prepare = [] {
        fs::remove_all(resultDirectory);
        fs::create_directory(resultDirectory);
        WriteBytes(resultFile, "old");
    };
    auto const change = [] {
        fs::remove(resultFile);
        fs::create_symlink("file", resultFile);
    };
    EXPECT_THAT(QueryWithChangeAtEachCall(resultFile, resultFile, prepare, change),
                Contains("8: compliance-query: --output: '/opt/results/file' has too many symbolic "
                         "links\n"));
    EXPECT_TRUE(fs::is_symlink(resultFile));
}

SANDBOX_TEST(ChangedFilesTest, QueryRefusesDirectoryThatIsJustCreated) {
    auto const prepare = [] {
        fs::remove_all(resultDirectory);
    };
    auto const change = [] {
        fs::create_directory(resultDirectory);
    };
    EXPECT_THAT(
        QueryWithChangeAtEachCall(resultDirectory, resultDirectory, prepare, change),
        Contains("2: compliance-query: --output: '/opt/results/' is in no directory that exists; "
                 "accepted: a regular file, or a new name in a directory that exists\n"));
    EXPECT_EQ(0u, CountEntries(resultDirectory));
}

SANDBOX_TEST(ChangedFilesTest, QueryReportsThatTheDirectoryOfALinkIsGone) {
    auto const prepare = [] {
        fs::remove_all(resultDirectory);
        fs::remove_all("/opt/moved");
        fs::create_directory(resultDirectory);
        WriteBytes("/opt/results/target", "old");
        fs::create_symlink("target", resultFile);
    };
    auto const change = [] {
        fs::rename("/opt/results", "/opt/moved");
    };
    EXPECT_THAT(
        QueryWithChangeAtEachCall(resultDirectory, resultFile, prepare, change),
        Contains("8: compliance-query: --output: '/opt/results/file' is in no directory that "
                 "exists\n"));
    EXPECT_EQ("old", ReadBytes("/opt/moved/target"));
}

SANDBOX_TEST(ChangedFilesTest, ReportRefusesFileThatIsReplacedBeforeItIsReadAgain) {
    fs::create_directory(resultDirectory);
    Query({"--json", "--output", resultFile, "-d"}, FinishingScript());
    auto const opensAgain = [](Trace const& trace) {
        auto const opensFile = [](Stress::SystemCall const& call) {
            return call.name == "openat" && call.path == resultFile;
        };
        return opensFile(trace.back()) && std::ranges::count_if(trace, opensFile) == 2;
    };
    KilledRun const run = Stress::RunProgramWithChange(
        {CC_REPORT_PROGRAM, "--strict=r", "--csv=-", resultDirectory}, opensAgain, [] {
            fs::copy_file(resultFile, "/opt/copy");
            fs::rename("/opt/copy", resultFile);
        });
    ExpectRunExit(1, "compliance-report: /opt/results/file: expected no change during the report\n",
                  run);
}

SANDBOX_TEST(ChangedFilesTest, DoctorRepeatsAnInterruptedWrite) {
    Texts const command = {CC_DOCTOR_PROGRAM, "--help"};
    bool isInterrupted = false;
    KilledRun const run = Stress::RunProgramWithFaults(command, [&](Trace const& trace) {
        bool const isWrite = trace.back().name == "write" && trace.back().argument == STDOUT_FILENO;
        return isWrite && !std::exchange(isInterrupted, true) ? EINTR : 0;
    });
    EXPECT_TRUE(isInterrupted);
    ExpectRunExit(0, "", run);
    EXPECT_EQ(RunProgram(command).output, run.output);
}

} // namespace
