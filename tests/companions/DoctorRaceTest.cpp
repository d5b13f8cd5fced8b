// The real compliance-doctor while files change: it is stopped before one of its system calls, the
// files are changed, and it continues.
#include "tests/companions/CompanionTest.h"
#include "tests/stress/KilledTool.h"
#include "tests/system/RecordLock.h"

namespace {

constexpr char const* request = ScriptedAgent::request;
constexpr char const* lockFile = ScriptedAgent::lockFile;

bool OpensLockFile(Stress::SystemCall const& call) {
    return call.name == "openat" && call.path == lockFile;
}

bool OpensLockFileNext(Stress::Trace const& trace) { return OpensLockFile(trace.back()); }

// The doctor has asked for the lock, and closes the file.
bool HasAskedForLock(Stress::Trace const& trace) {
    return trace.size() >= 3 && trace.back().name == "close" &&
           trace[trace.size() - 2].name == "fcntl" && OpensLockFile(trace[trace.size() - 3]);
}

// Runs the doctor and makes the change at the first system call for which `isDue` returns true.
Json RunWithChange(Stress::KillCondition const& isDue, std::function<void()> const& change) {
    return Json::parse(
        Stress::RunProgramWithChange({CC_DOCTOR_PROGRAM, "--json"}, isDue, change).output);
}

Json FindingOf(std::string const& check, Json const& document) {
    for (Json const& finding : document.at("checks"))
        if (finding.at("check") == check)
            return finding;
    throw std::runtime_error("no finding of " + check);
}

void LayOutExchange() {
    WriteBytes(lockFile, "");
    WriteBytes(request, "left over");
}

// The agent takes the request that was left over, and an evaluation publishes its own.
std::unique_ptr<ForeignLock> BeginEvaluation() {
    auto lock = std::make_unique<ForeignLock>();
    fs::remove(request);
    WriteBytes(request, "of the evaluation");
    return lock;
}

// Returns the document of the doctor if an evaluation begins when `isDue` returns true.
Json RunWithEvaluation(Stress::KillCondition const& isDue) {
    LayOutExchange();
    std::unique_ptr<ForeignLock> evaluation;
    return RunWithChange(isDue, [&] { evaluation = BeginEvaluation(); });
}

SANDBOX_TEST(DoctorRaceTest, DoesNotAdviseRemovingRequestOfNewEvaluation) {
    Json const finding = FindingOf("request", RunWithEvaluation(HasAskedForLock));
    EXPECT_EQ("request-changed", finding.value("cause", ""));
    EXPECT_EQ("problem", finding.at("verdict"));
    EXPECT_EQ("run compliance-doctor again", finding.value("remedy", ""));
}

SANDBOX_TEST(DoctorRaceTest, ReportsEvaluationThatBeganBeforeTheLockWasExamined) {
    Json const document = RunWithEvaluation(OpensLockFileNext);
    EXPECT_EQ("lock-held", FindingOf("lock", document).value("cause", ""));
    EXPECT_EQ("request-under-way", FindingOf("request", document).value("cause", ""));
}

// A FIFO would block a call of open that waits for a writer.
SANDBOX_TEST_WITH(DoctorRaceTest, DoesNotWaitForFifoThatReplacesLockFile,
                  Sandbox::Options{.limit = seconds(20)}) {
    LayOutExchange();
    Json const document = RunWithChange(OpensLockFileNext, [] {
        fs::remove(lockFile);
        ASSERT_EQ(0, mkfifo(lockFile, 0666));
    });
    EXPECT_EQ("lock-not-a-file", FindingOf("lock", document).value("cause", ""));
}

} // namespace
