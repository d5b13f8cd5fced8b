// Each system call of the file layer, the lock and the agent search fails with each error number of
// its manual page. It fails alone, and together with all later calls. The test compares class,
// paths and error code of the exception, and detects lost descriptors. SystemCallsExchange.cpp has
// the calls of whole evaluations.
#include "tests/files/RecordedSleeps.h"
#include "tests/files/SystemCalls.h"
#include "tests/files/Thrown.h"
#include "tests/stress/ErrorNumbers.h"
#include "tests/stress/SystemCallsOperations.h"
#include "tests/stress/TestCases.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/support/TemporaryDirectory.h"

std::string ClassOf(Mapper mapper, int error) {
    static std::map<int, std::string> const common = {
        {EPERM, "FilePermissionError"},          {EACCES, "FilePermissionError"},
        {ENOENT, "FileNotFoundError"},           {EAGAIN, "FileLockError"},
        {ENOMEM, "FileResourceError"},           {ENFILE, "FileResourceError"},
        {EMFILE, "FileResourceError"},           {ENOTDIR, "DirectoryNotFoundError"},
        {ENAMETOOLONG, "DirectoryNotFoundError"}};
    bool const writes = mapper == Mapper::writingPath || mapper == Mapper::writer;
    bool const streams = mapper == Mapper::reader || mapper == Mapper::writer;
    if (writes && error == EEXIST)
        return "FileExistsError";
    if (writes && error == ENOSPC)
        return "FileDiskFullError";
    if (streams && error == EINVAL)
        return "FileSeekError";
    bool const isKnown = mapper == Mapper::reader  ? error == EPERM || error == EACCES
                         : mapper == Mapper::times ? error == EACCES || error == ENOENT
                                                   : common.contains(error);
    return isKnown ? common.at(error) : "FileIOError";
}

namespace {

namespace fs = std::filesystem;

using Texts = std::set<std::string>;

std::vector<Operation> const& Operations() {
    static std::vector<Operation> const all = [] {
        std::vector<Operation> operations;
        for (auto const& some : {OpenFiles(), Streams(), Creations(), Deletions(), CopiesAndMoves(),
                                 Trees(), Items(), LockAndAgentSearch()})
            operations.insert(operations.end(), some.begin(), some.end());
        return operations;
    }();
    return all;
}

std::string TextOf(Outcome const& outcome, int error, Operation const& operation) {
    return outcome ? outcome(error) : "gives " + operation.result;
}

std::string Listing(std::string const& place) {
    Texts names;
    for (auto const& entry : fs::recursive_directory_iterator(place))
        names.insert(entry.path().string().substr(place.size() + 1));
    std::string text = ";";
    for (std::string const& name : names)
        text += ' ' + name;
    return text;
}

// The text with paths relative to the directory.
std::string Relative(std::string text, std::string const& place) {
    for (std::size_t at; (at = text.find(place)) != std::string::npos;) {
        bool const isBelow = text[at + place.size()] == '/';
        text.replace(at, place.size() + isBelow, isBelow ? "" : ".");
    }
    return text;
}

std::string NameOfCall(std::string const& text) { return text.substr(0, text.find(' ')); }

// The outcome of an operation, and its calls.
struct Run {
    std::string actual;
    std::vector<std::string> calls;
};

// If a source was removed, the target has its whole content. The exception, a directory that could
// not be listed, is in the table.
void ExpectNothingLost(std::string const& place, bool hadSource) {
    if (hadSource && !fs::exists(place + "/from") && fs::is_regular_file(place + "/to")) {
        EXPECT_EQ("content", ReadWholeFile(place + "/to"));
    }
}

// Runs the operation in a new directory, after `inject` has set up failures.
Run RunWithFaults(
    Operation const& operation,
    std::function<void(SystemCalls&)> const& inject = [](SystemCalls&) {}) {
    TemporaryDirectory const directory;
    std::string const& place = directory.path();
    operation.prepare(place);
    FileLocation const from = MakeFileLocation((place + "/from").c_str());
    FileLocation const to = MakeFileLocation((place + "/to").c_str());
    bool const hadSource = fs::exists(place + "/from");
    RecordedSleeps const noSleeps;
    long const before = CountOpenDescriptors();
    Run run;
    std::string result;
    {
        SystemCalls calls;
        if (operation.renameError != 0)
            calls.FailFromThenOn("rename", operation.renameError);
        inject(calls);
        run.actual = Thrown([&] { result = operation.run(from, to); });
        for (std::string const& call : calls.Log())
            run.calls.push_back(Relative(call, place));
    }
    if (run.actual == "nothing")
        run.actual = "gives " + result + Listing(place);
    run.actual = Relative(run.actual, place);
    EXPECT_EQ(before, CountOpenDescriptors()) << "a file descriptor leaked";
    ExpectNothingLost(place, hadSource);
    return run;
}

// The row of the table for a call and an error number; null if there is none.
CallFailure const* RowOf(Operation const& operation, std::string const& call, int error) {
    CallFailure const* found = nullptr;
    for (CallFailure const& row : operation.failures)
        if ((call == row.call || call.starts_with(row.call + ' ')) &&
            (row.error == error || (row.error == 0 && found == nullptr)))
            found = &row;
    return found;
}

// The texts of the outcomes; if `mandatory`, without those that need not occur.
Texts TextsOf(Outcomes const& outcomes, int error, Operation const& operation, bool mandatory) {
    Texts texts;
    for (Outcome const& outcome : outcomes)
        if (!mandatory || outcome)
            texts.insert(TextOf(outcome, error, operation));
    return texts;
}

// The outcomes of a call and all later ones of its name failing.
Texts LastingTextsOf(Operation const& operation, std::string const& name, int error) {
    Texts texts;
    for (CallFailure const& row : operation.failures)
        if (NameOfCall(row.call) == name && RowOf(operation, row.call, error) == &row) {
            texts.merge(TextsOf(row.once, error, operation, false));
            texts.merge(TextsOf(row.lasting, error, operation, false));
        }
    return texts;
}

// A failing call of an operation.
struct TestCase {
    std::size_t call;
    int error;
    bool lasting;
};

std::vector<TestCase> CasesOf(Operation const& operation, std::vector<std::string> const& calls) {
    std::vector<TestCase> testCases;
    for (std::size_t call = 0; call < calls.size(); ++call) {
        std::string const name = NameOfCall(calls[call]);
        if (operation.renameError != 0 && name == "rename")
            continue;
        for (int const error : ErrorsOf(name))
            for (bool const lasting : {false, true})
                testCases.push_back({call, error, lasting});
    }
    return testCases;
}

// The outcomes of the failures of one row, for each error number, once or lasting.
using Seen = std::map<std::tuple<CallFailure const*, int, bool>, Texts>;

void Try(Operation const& operation, std::vector<std::string> const& calls,
         TestCase const& testCase, Seen& seen) {
    std::string const& call = calls[testCase.call];
    std::string const name = NameOfCall(call);
    SCOPED_TRACE(operation.name + ", call " + std::to_string(testCase.call) + ", " + call + ' ' +
                 strerrorname_np(testCase.error) +
                 (testCase.lasting ? " and all later ones" : " once"));
    CallFailure const* const row = RowOf(operation, call, testCase.error);
    ASSERT_NE(nullptr, row) << "the table lacks this call";
    auto const skip =
        std::count_if(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(testCase.call),
                      [&](std::string const& other) { return NameOfCall(other) == name; });
    std::string const actual = RunWithFaults(operation, [&](SystemCalls& injected) {
                                   if (testCase.lasting)
                                       injected.FailFromThenOn(name, testCase.error, skip);
                                   else
                                       injected.Fail(name, testCase.error, skip);
                               }).actual;
    Texts const allowed = testCase.lasting ? LastingTextsOf(operation, name, testCase.error)
                                           : TextsOf(row->once, testCase.error, operation, false);
    EXPECT_THAT(allowed, testing::Contains(actual));
    seen[{row, testCase.error, testCase.lasting}].insert(actual);
}

// Expects that each outcome of the table has occurred for each error number, except outcomes that
// equal those without a failure: a failing call may have no effect.
void ExpectAllSeen(Operation const& operation, Seen const& seen) {
    for (CallFailure const& row : operation.failures)
        for (int const error : ErrorsOf(NameOfCall(row.call)))
            for (bool const lasting : {false, true}) {
                if (RowOf(operation, row.call, error) != &row)
                    continue;
                auto const found = seen.find({&row, error, lasting});
                Texts const actual = found == seen.end() ? Texts() : found->second;
                for (std::string const& text :
                     TextsOf(lasting ? row.lasting : row.once, error, operation, true))
                    EXPECT_THAT(actual, testing::Contains(text))
                        << operation.name << ", " << row.call << ' ' << strerrorname_np(error)
                        << (lasting ? " and all later ones" : " once");
            }
}

TEST(QuickOperations, HaveTheExpectedResult) {
    for (Operation const& operation : Operations())
        EXPECT_EQ("gives " + operation.result, RunWithFaults(operation).actual) << operation.name;
    CountTestCases(Operations().size());
}

TEST(QuickOperations, CoverAtLeast150PairsOfCallAndErrorNumber) {
    std::set<std::pair<std::string, int>> pairs;
    for (Operation const& operation : Operations())
        for (std::string const& call : RunWithFaults(operation).calls) {
            EXPECT_FALSE(ErrorsOf(NameOfCall(call)).empty()) << call;
            for (int const error : ErrorsOf(NameOfCall(call)))
                pairs.insert({NameOfCall(call), error});
        }
    EXPECT_LE(150u, pairs.size());
    RecordProperty("pairs", std::to_string(pairs.size()));
}

// Each call of each operation, once and lasting, with an error number that varies from call to
// call.
TEST(QuickOperations, HaveTheDocumentedOutcomeIfACallFails) {
    std::size_t tried = 0;
    for (Operation const& operation : Operations()) {
        auto const calls = RunWithFaults(operation).calls;
        auto const testCases = CasesOf(operation, calls);
        Seen seen;
        for (std::size_t i = 0; i < testCases.size() && !HasFailure(); ++i) {
            std::size_t const errors = ErrorsOf(NameOfCall(calls[testCases[i].call])).size();
            if (i / 2 % errors != testCases[i].call * 7 % errors)
                continue;
            Try(operation, calls, testCases[i], seen);
            ++tried;
        }
    }
    CountTestCases(tried);
}

class FullOperations : public testing::TestWithParam<std::size_t> {};

TEST_P(FullOperations, HaveTheDocumentedOutcomeIfACallFails) {
    Operation const& operation = Operations()[GetParam()];
    auto const calls = RunWithFaults(operation).calls;
    auto const testCases = CasesOf(operation, calls);
    Seen seen;
    for (TestCase const& testCase : testCases)
        Try(operation, calls, testCase, seen);
    ExpectAllSeen(operation, seen);
    CountTestCases(testCases.size());
}

INSTANTIATE_TEST_SUITE_P(FullTable, FullOperations,
                         testing::Range<std::size_t>(0, Operations().size()),
                         [](auto const& test) { return Operations()[test.param].name; });

} // namespace
