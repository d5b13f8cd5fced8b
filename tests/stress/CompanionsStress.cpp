// The companions and the stand-in agent: killed at each system call, with each call failing, and
// with each allocation failing. Invariants: a result file is the complete old or new file. A
// response is complete or absent. The lock is free. No other file changes.
#include <set>

#include "tests/stress/CompanionSubjects.h"
#include "tests/stress/ErrorNumbers.h"
#include "tests/stress/ParallelCases.h"
#include "tests/stress/TestCases.h"

namespace {

using namespace Stress;

std::vector<int> ErrorsOfCall(std::string const& name) {
    static std::map<std::string, std::string> const others = {
        {"openat", "open"},        {"newfstatat", "lstat"},     {"fstat", "stat"},
        {"statx", "lstat"},        {"fcntl", "setlk"},          {"lseek", "seek"},
        {"writev", "write"},       {"fchmod", "chmod"},         {"unlinkat", "unlink"},
        {"getdents64", "readdir"}, {"clock_nanosleep", "sleep"}};
    if (name == "mmap" || name == "brk")
        return {ENOMEM};
    auto const other = others.find(name);
    return ErrorsOf(other == others.end() ? name : other->second);
}

// A call by its number from 1, and its injected error number.
using Fault = std::pair<std::size_t, int>;

// Returns the names of the calls of a run without fault injection.
std::vector<std::string> RecordCalls(Subject const& subject) {
    std::string const names = RunInParallel(subject.name, {0}, [&](std::size_t) {
        KilledRun const run = subject.tryOnce(
            [&] { return RunProgramAndKill(subject.command, [](Trace const&) { return false; }); });
        EXPECT_TRUE(run.status == ExitStatus::Exited(0) || subject.name != std::string("Query"));
        std::string text;
        for (SystemCall const& call : run.trace)
            text += call.name + '\n';
        return text;
    })[0];
    std::istringstream words(names);
    return {std::istream_iterator<std::string>(words), {}};
}

// Omits the first calls, and brk until the relocated data is protected: the C library ends or
// crashes a program that has no memory before main.
std::vector<Fault> FaultsOf(std::vector<std::string> const& calls) {
    std::vector<Fault> faults;
    auto const first = std::ranges::find_if_not(calls, [](std::string const& call) {
        return call == "brk" || call == "mmap" || call.starts_with("call");
    });
    auto const isProtected = std::ranges::find(calls, "mprotect");
    for (auto call = first; call != calls.end(); ++call)
        if (*call != "brk" || call > isProtected)
            for (int const error : ErrorsOfCall(*call))
                faults.emplace_back(call - calls.begin() + 1, error);
    return faults;
}

constexpr std::size_t maxParallel = 64;

// Calls `tryOne(number)` for each of the numbers.
void TryEach(char const* what, std::vector<std::size_t> const& numbers, TestCase const& tryOne) {
    for (std::size_t done = 0; done < numbers.size() && !testing::Test::HasFailure();
         done += maxParallel) {
        auto const first = numbers.begin() + static_cast<long>(done);
        auto const last = first + static_cast<long>(std::min(maxParallel, numbers.size() - done));
        RunInParallel(what, {first, last}, tryOne);
    }
    CountTestCases(numbers.size());
}

// `minCases` of Full tests.
constexpr std::size_t allCases = std::numeric_limits<std::size_t>::max();

// Returns the distance between selected candidates: `minCases` to twice as many are selected, or
// all if there are fewer.
std::size_t StepBetween(std::size_t candidates, std::size_t minCases) {
    return std::max<std::size_t>(1, candidates / minCases);
}

// At least `minCases` calls, and all calls that can change the state on disk.
void KillAtCalls(Subject const& subject, std::size_t minCases) {
    std::set<std::string> const changes = {"exit_group", "fsync", "rename"};
    auto const calls = RecordCalls(subject);
    std::size_t const step = StepBetween(calls.size(), minCases);
    std::vector<std::size_t> numbers;
    for (std::size_t number = 0; number < calls.size(); ++number)
        if (number % step == 0 || changes.contains(calls[number]))
            numbers.push_back(number);
    TryEach("killed at call", numbers, [&](std::size_t number) {
        KilledRun const result =
            subject.tryOnce([&] { return RunProgramAndKill(subject.command, AtCall(number + 1)); });
        return NamesOf(result.trace).back();
    });
}

void FailCalls(Subject const& subject, std::size_t minCases) {
#ifdef CC_ADDRESS_SANITIZER
    GTEST_SKIP() << "the runtime of the sanitizer exits when one of its calls fails";
#endif
    auto const calls = RecordCalls(subject);
    auto const faults = FaultsOf(calls);
    EXPECT_LT(100u, faults.size());
    std::size_t const step = StepBetween(faults.size(), minCases);
    std::vector<std::size_t> numbers;
    for (std::size_t number = 0; number < faults.size(); number += step)
        numbers.push_back(number);
    TryEach("fault", numbers, [&](std::size_t number) {
        // No structured binding: a lambda cannot capture its names in clang 14.
        std::size_t const call = faults[number].first;
        int const error = faults[number].second;
        std::string const& name = calls[call - 1];
        SCOPED_TRACE(name + ' ' + strerrorname_np(error) + ' ' + std::to_string(call));
        bool isInjected = false;
        KilledRun const result = subject.tryOnce([&] {
            return RunProgramWithFaults(subject.command, [&](Trace const& trace) {
                // The number of polls differs between runs, so another call may have the number.
                bool const isDue = trace.size() >= call && trace.back().name == name;
                return isDue && !std::exchange(isInjected, true) ? error : 0;
            });
        });
        EXPECT_FALSE(result.status == ExitStatus::Killed(SIGSEGV)) << result.status;
        // readdir(3) reports this error as the end of the directory.
        bool const isEnd = name == "getdents64" && error == ENOENT;
        EXPECT_TRUE(isEnd || result.status == ExitStatus::Exited(0) ||
                    result.output + result.errors != "");
        return subject.name;
    });
}

// The mode of the metrics file is part of its contract: node_exporter must be able to read it.
TEST(QuickCompanionFaults, KeepsOldMetricsIfTheModeCannotBeSet) {
#ifdef CC_ADDRESS_SANITIZER
    GTEST_SKIP() << "the runtime of the sanitizer exits when one of its calls fails";
#endif
    Sandbox::RunWithDirectories([] {
        fs::path const results = "/opt/results";
        fs::create_directory(results);
        std::string const metrics = results / "compliance.prom";
        WriteBytes(metrics, "old\n");
        ScriptedAgent agent(FinishingScript(Row(shortRow)));
        KilledRun const run = RunProgramWithFaults(
            QueryCommand({"--quiet", "--tsv", "--prometheus", metrics, "url", "doc"}),
            [](Trace const& trace) { return trace.back().name == "fchmod" ? EPERM : 0; });
        EXPECT_EQ(ExitStatus::Exited(8), run.status);
        EXPECT_EQ("compliance-query: --prometheus: '" + metrics +
                      "' could not be set to its mode: Operation not permitted\n",
                  run.errors);
        EXPECT_EQ("old\n", ReadBytes(metrics));
        EXPECT_EQ(1, std::distance(fs::directory_iterator(results), fs::directory_iterator()));
    });
}

class QuickCompanions : public testing::TestWithParam<Subject> {};
class FullCompanions : public testing::TestWithParam<Subject> {};

TEST_P(QuickCompanions, InvariantsHoldAfterKillAtSomeCalls) { KillAtCalls(GetParam(), 35); }
TEST_P(FullCompanions, InvariantsHoldAfterKillAtEachCall) { KillAtCalls(GetParam(), allCases); }
TEST_P(QuickCompanions, InvariantsHoldAfterSomeFailingCalls) { FailCalls(GetParam(), 40); }
TEST_P(FullCompanions, InvariantsHoldAfterEachFailingCall) { FailCalls(GetParam(), allCases); }
INSTANTIATE_TEST_SUITE_P(Quick, QuickCompanions, testing::ValuesIn(CompanionSubjects()), NameOfRow);
INSTANTIATE_TEST_SUITE_P(Full, FullCompanions, testing::ValuesIn(CompanionSubjects()), NameOfRow);

#ifdef CC_FAILING_MALLOC_LIBRARY

constexpr char allocationFailed[] = "failed";

// Returns `allocationFailed` if the program made that many allocations, or "none failed".
std::string FailAllocation(Subject const& subject, std::string const& which) {
    constexpr char failureMark[] = "/opt/failed";
    SCOPED_TRACE("allocation " + which);
    std::vector<std::string> command = subject.command;
    command[0] = subject.dynamicProgram;
    KilledRun const result = subject.tryOnce([&] {
        ProgramResult const run = RunProgram(
            command, {.environment = {{"LD_PRELOAD=" + AccessibleCopy(CC_FAILING_MALLOC_LIBRARY),
                                       "CC_FAILING_MALLOC=" + which}}});
        return KilledRun{{}, false, run.status, run.output, run.errors};
    });
    EXPECT_EQ(0, result.status.signal) << result.errors;
    EXPECT_TRUE(result.status == ExitStatus::Exited(0) || result.output + result.errors != "");
    return fs::exists(failureMark) ? allocationFailed : "none failed";
}

// Each step-th allocation fails, alone or together with all later ones.
void FailAllocations(Subject const& subject, std::size_t step, std::string const& suffix) {
    std::size_t testCases = 0;
    for (bool isLast = false; !isLast && !testing::Test::HasFailure();) {
        std::vector<std::size_t> numbers;
        for (std::size_t i = 0; i < maxParallel; ++i)
            numbers.push_back(1 + (testCases + i) * step);
        auto const words = RunInParallel("allocation", numbers, [&](std::size_t number) {
            return FailAllocation(subject, std::to_string(number) + suffix);
        });
        auto const failed = std::ranges::count(words, allocationFailed);
        isLast = failed < static_cast<long>(maxParallel);
        testCases += static_cast<std::size_t>(failed);
    }
    EXPECT_LT(0u, testCases);
    CountTestCases(testCases);
}

class QuickCompanionAllocations : public testing::TestWithParam<Subject> {};
class FullCompanionAllocations : public testing::TestWithParam<Subject> {};

TEST_P(QuickCompanionAllocations, InvariantsHoldIfSomeFailOnce) {
    FailAllocations(GetParam(), 11, "");
}
TEST_P(QuickCompanionAllocations, InvariantsHoldIfSomeFailFromThenOn) {
    FailAllocations(GetParam(), 11, "+");
}
TEST_P(FullCompanionAllocations, InvariantsHoldIfEachFailsOnce) {
    FailAllocations(GetParam(), 1, "");
}
TEST_P(FullCompanionAllocations, InvariantsHoldIfEachFailsFromThenOn) {
    FailAllocations(GetParam(), 1, "+");
}

INSTANTIATE_TEST_SUITE_P(Quick, QuickCompanionAllocations, testing::ValuesIn(CompanionSubjects()),
                         NameOfRow);
INSTANTIATE_TEST_SUITE_P(Full, FullCompanionAllocations, testing::ValuesIn(CompanionSubjects()),
                         NameOfRow);

#endif

} // namespace
