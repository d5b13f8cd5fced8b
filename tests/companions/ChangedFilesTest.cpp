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

Texts const queryCommand = QueryCommand({"--output", resultFile, "-d"});

// The program examines a path with stat(2), lstat(2), and once more.
Stress::KillCondition ThirdCheckOf(std::string const& path) {
    return [path](Trace const& trace) {
        return trace.size() >= 3 &&
               std::all_of(trace.end() - 3, trace.end(),
                           [&](auto const& call) { return call.path == path; });
    };
}

SANDBOX_TEST(ChangedFilesTest, QueryRefusesLinkThatReplacesTheFile) {
    fs::create_directory(resultDirectory);
    WriteBytes(resultFile, "old");
    KilledRun const run = Stress::RunProgramWithChange(queryCommand, ThirdCheckOf(resultFile), [] {
        fs::remove(resultFile);
        fs::create_symlink("file", resultFile);
    });
    ExpectRunExit(
        8, "compliance-query: --output: '/opt/results/file' has too many symbolic links\n", run);
    EXPECT_FALSE(fs::exists(ScriptedAgent::request));
}

SANDBOX_TEST(ChangedFilesTest, QueryRefusesDirectoryThatIsJustCreated) {
    KilledRun const run = Stress::RunProgramWithChange(
        QueryCommand({"--output", resultDirectory, "-d"}), ThirdCheckOf(resultDirectory),
        [] { fs::create_directory(resultDirectory); });
    ExpectRunExit(2,
                  "compliance-query: --output: '/opt/results/' is in no directory that exists; "
                  "accepted: a regular file, or a new name in a directory that exists\n",
                  run);
    EXPECT_EQ(0u, CountEntries(resultDirectory));
}

SANDBOX_TEST(ChangedFilesTest, QueryReportsThatTheDirectoryOfALinkIsGone) {
    fs::create_directory(resultDirectory);
    WriteBytes("/opt/results/target", "old");
    fs::create_symlink("target", resultFile);
    auto const examinesDirectory = [](Trace const& trace) {
        return trace.back().path == resultDirectory;
    };
    KilledRun const run = Stress::RunProgramWithChange(
        queryCommand, examinesDirectory, [] { fs::rename("/opt/results", "/opt/moved"); });
    ExpectRunExit(
        8, "compliance-query: --output: '/opt/results/file' is in no directory that exists\n", run);
    EXPECT_FALSE(fs::exists(ScriptedAgent::request));
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
