// Each system call of an evaluation fails with each error number of its manual page, once and
// together with all later ones. The model predicts the output of the tool, the results of the C
// API, the calls and the remaining files. The invariants hold.
#include "tests/stress/ErrorNumbers.h"
#include "tests/stress/ExchangeModel.h"
#include "tests/stress/Invariants.h"
#include "tests/stress/PreloadedProgram.h"
#include "tests/stress/TestCases.h"

namespace {

enum class Program { tool, interface };

std::vector<std::string> CommandOf(Program program) {
    if (program == Program::tool)
        return {CC_DYNAMIC_TOOL, "-c", "url", "doc", "3"};
    return {CC_C_API_PROGRAM};
}

struct Scenario {
    std::string name;
    // The number of usual responses that the agent publishes.
    size_t responses;
    // In addition to the tested failure.
    std::vector<Fault> base = {};
};

Scenario const scenarios[] = {
    {"Answered", 4},
    {"SilentAfterTheOpening", 1},
    {"NobodyAnswers", 0},
    {"AcrossFileSystems", 4, {{"rename", EXDEV, 1, true}}},
};

std::string NameOf(Fault const& fault) {
    return fault.call + ' ' + std::string(strerrorname_np(fault.error)) + ' ' +
           std::to_string(fault.number) + (fault.lasting ? " lasting" : " once");
}

// The model of an evaluation with an agent that answers.
class Expected {
public:
    Expected(std::vector<std::string> const& allResponses, std::string const& agentProcess)
        : responses(allResponses) {
        exchange.agentProcess = agentProcess;
        exchange.contents = {{OpenResponse(), {}},
                             {ProgressResponse("3", "0", "50"), {3, 0, 50}},
                             {OneRowResponse(), {1, 0, 100, {shortRow}}},
                             {CloseResponse(), {}}};
        files.entries = {{ScriptedAgent::requestDirectory, {Entry::directory}},
                         {Sandbox::agentProgram, Entry::File("")},
                         {agentLink, Entry::Link(Sandbox::agentProgram)}};
        files.act = [this] {
            PlayAgent();
        };
    }

    std::string Run(Program program, CallTrace const& trace) {
        files.trace = trace;
        return program == Program::tool ? exchange.RunTool("url", "doc", 3)
                                        : exchange.RunCApi("url", "doc", 3);
    }

    std::optional<std::string> Content(char const* path) const {
        auto const found = files.entries.find(path);
        return found == files.entries.end() ? std::nullopt : std::optional(found->second.bytes);
    }

    FileModel files;
    ExchangeModel exchange{files};
    std::vector<std::string> seen;

private:
    // As in the script: it acts in sleeps of whole seconds, and sees each request once.
    void PlayAgent() {
        auto const request = files.entries.find(ScriptedAgent::request);
        bool const isNew = request != files.entries.end() && files.published != lastSeen;
        if (!files.calls.back().starts_with("sleep") || !isNew)
            return;
        lastSeen = files.published;
        seen.push_back(request->second.bytes);
        if (seen.size() > responses.size())
            return;
        files.entries[ScriptedAgent::response] = Entry::File(responses[seen.size() - 1]);
        files.entries.erase(request);
    }

    std::vector<std::string> const responses;
    unsigned int lastSeen = 0;
};

// A sandbox with an agent, for one evaluation after the other.
class FaultyRuns {
public:
    FaultyRuns(Scenario const& theScenario, Program theProgram)
        : scenario(theScenario), program(theProgram), agent(ResponsesOf(theScenario)) {}

    // All single failures of an evaluation, by its calls without failures.
    std::vector<Fault> AllFaults() const {
        Run(scenario.base);
        std::map<std::string, size_t> counts;
        std::vector<Fault> faults;
        for (LoggedCall const& call : LoggedCalls()) {
            size_t const number = ++counts[call.name];
            for (int const error : ErrorsOf(call.name))
                for (bool const lasting : {false, true})
                    faults.push_back({call.name, error, number, lasting});
        }
        return faults;
    }

    void TryWithout() { Try(scenario.base); }

    void TryWith(Fault const& fault) {
        SCOPED_TRACE(scenario.name + ", " + NameOf(fault));
        std::vector<Fault> faults = {fault};
        faults.insert(faults.end(), scenario.base.begin(), scenario.base.end());
        Try(faults);
    }

    void TryNextRun() { triesNextRun = true; }

private:
    static std::vector<std::string> ResponsesOf(Scenario const& scenario) {
        std::vector<std::string> responses = UsualResponses();
        responses.resize(scenario.responses);
        return responses;
    }

    ProgramResult Run(std::vector<Fault> const& faults) const {
        PlayedAgent::Reset();
        return RunPreloaded(CommandOf(program), {.faults = faults, .maxCalls = maxCalls});
    }

    void Try(std::vector<Fault> const& faults) {
        ProgramResult const result = Run(faults);
        auto const logged = LoggedCalls();
        CallTrace const trace(logged);
        Expected expected(ResponsesOf(scenario), agent.Process());
        std::string const output = expected.Run(program, trace);
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        EXPECT_EQ("", result.errors);
        ExpectInvariants(expected.exchange.HasWriteFailed());
        if (logged.size() == maxCalls)
            return ExpectEndless(faults, expected, trace);
        EXPECT_EQ(output, result.output);
        EXPECT_EQ(expected.files.calls, trace.Predicted());
        for (char const* const path :
             {ScriptedAgent::requestTemp, ScriptedAgent::request, ScriptedAgent::response})
            EXPECT_EQ(expected.Content(path), ContentOf(path)) << path;
        EXPECT_EQ(expected.seen, PlayedAgent::Seen());
        if (triesNextRun)
            ExpectNextRun();
    }

    // See RefusedRenamesAfterProgressNeverTerminate. The model gives up after some polls.
    static void ExpectEndless(std::vector<Fault> const& faults, Expected const& expected,
                              CallTrace const& trace) {
        EXPECT_TRUE(faults[0].lasting && faults[0].call == "rename") << NameOf(faults[0]);
        EXPECT_TRUE(expected.exchange.IsOpen());
        auto const& predicted = expected.files.calls;
        auto const [model, real] = std::ranges::mismatch(predicted, trace.Predicted());
        EXPECT_TRUE(model == predicted.end() || real == trace.Predicted().end());
    }

    // Independent of the model.
    static void ExpectInvariants(bool writeFailed) {
        std::string const whole[] = {OpenRequest("url", "doc", "3"), progressRequest, closeRequest};
        if (auto const request = ContentOf(ScriptedAgent::request)) {
            EXPECT_TRUE(std::ranges::any_of(whole, [&](std::string const& document) {
                return document == *request || (writeFailed && document.starts_with(*request));
            })) << *request;
        }
        if (auto const response = ContentOf(ScriptedAgent::response)) {
            EXPECT_THAT(UsualResponses(), testing::Contains(*response));
        }
        ExpectKnownNames();
        EXPECT_FALSE(IsLocked());
    }

    // With the remaining files, and without failures.
    void ExpectNextRun() {
        bool const isWaiting = ContentOf(ScriptedAgent::request).has_value();
        ProgramResult const next = RunPreloaded(CommandOf(Program::tool), {});
        Expected expected(ResponsesOf(scenario), agent.Process());
        std::string const output = expected.Run(Program::tool, {});
        ExpectPrinted(isWaiting ? OpenError(-5) : output, next);
        EXPECT_FALSE(IsLocked());
    }

    // Many more than any evaluation here that terminates.
    static constexpr size_t maxCalls = 5000;

    Scenario const& scenario;
    Program const program;
    PlayedAgent const agent;
    bool triesNextRun = false;
};

Sandbox::Options const twentyMinutes = {.limit = std::chrono::minutes(20)};

size_t TryAll(FaultyRuns& runs, std::vector<Fault> const& faults, size_t step) {
    size_t tried = 0;
    for (size_t i = 0; i < faults.size() && !testing::Test::HasFailure(); i += step, ++tried)
        runs.TryWith(faults[i]);
    return tried;
}

// Deliberate: a refused rename counts as successful, and the missing request as taken. So the old
// response, which is "in progress", is read as long as every rename is refused.
SANDBOX_TEST(QuickEndlessPolling, RefusedRenamesAfterProgressNeverTerminate) {
    PlayedAgent const agent(UsualResponses());
    // The rename of the second poll and all later ones.
    OtherProgram tool(CommandOf(Program::tool),
                      PreloadedOptions({.faults = {{"rename", EACCES, 3, true}}}));
    std::string const line = "COMPLIANCE_Progress 50% completed.\n";
    std::string output;
    while (output.size() < 1000 * line.size() && tool.IsRunning()) {
        usleep(1000);
        output = tool.Output();
    }
    EXPECT_TRUE(tool.IsRunning());
    tool.Kill(SIGKILL);
    tool.Wait();
    ExpectBeginning(Repeated(line, static_cast<int>(output.size() / line.size() + 1)), output);
    EXPECT_EQ(2u, PlayedAgent::Seen().size());
    EXPECT_TRUE(std::string(progressRequest)
                    .starts_with(ContentOf(ScriptedAgent::requestTemp).value_or("none")));
    EXPECT_EQ(std::nullopt, ContentOf(ScriptedAgent::request));
    EXPECT_EQ(UsualResponses()[1], ContentOf(ScriptedAgent::response));
    EXPECT_FALSE(IsLocked());
}

class QuickExchangeFaults : public testing::TestWithParam<size_t> {};

TEST_P(QuickExchangeFaults, ModelPredictsTheCallsWithoutFaults) {
    CountTestCasesInSandbox(twentyMinutes, [&] {
        for (Program const program : {Program::tool, Program::interface})
            FaultyRuns(scenarios[GetParam()], program).TryWithout();
        return 2;
    });
}

// A sample of all, with steps that are coprime to the lengths of the lists of error numbers.
TEST_P(QuickExchangeFaults, SomeGiveTheDocumentedResults) {
    CountTestCasesInSandbox(twentyMinutes, [&] {
        FaultyRuns runs(scenarios[GetParam()], Program::interface);
        runs.TryNextRun();
        auto const faults = runs.AllFaults();
        return TryAll(runs, faults, faults.size() / 10 | 1);
    });
}

INSTANTIATE_TEST_SUITE_P(QuickScenarios, QuickExchangeFaults,
                         testing::Range<size_t>(0, std::size(scenarios)),
                         [](auto const& test) { return scenarios[test.param].name; });

// The calls of an evaluation.
std::string const calls[] = {"open",     "close",   "setfd",   "setlk",    "seek",   "read",
                             "write",    "fsync",   "lstat",   "stat",     "rename", "unlink",
                             "readlink", "opendir", "readdir", "closedir", "sleep",  "usleep"};

class FullExchangeFaults : public testing::TestWithParam<std::tuple<size_t, Program, std::string>> {
};

TEST_P(FullExchangeFaults, GiveTheDocumentedResults) {
    CountTestCasesInSandbox(twentyMinutes, [&] {
        auto const [scenario, program, name] = GetParam();
        FaultyRuns runs(scenarios[scenario], program);
        if (program == Program::tool)
            runs.TryNextRun();
        std::vector<Fault> faults = runs.AllFaults();
        std::erase_if(faults, [&call = name](Fault const& fault) {
            EXPECT_THAT(calls, testing::Contains(fault.call));
            return fault.call != call;
        });
        return TryAll(runs, faults, 1);
    });
}

INSTANTIATE_TEST_SUITE_P(FullCalls, FullExchangeFaults,
                         testing::Combine(testing::Range<size_t>(0, std::size(scenarios)),
                                          testing::Values(Program::tool, Program::interface),
                                          testing::ValuesIn(calls)),
                         [](auto const& test) {
                             return scenarios[std::get<0>(test.param)].name +
                                    (std::get<1>(test.param) == Program::tool ? "Tool_" : "CApi_") +
                                    std::get<2>(test.param);
                         });

} // namespace
