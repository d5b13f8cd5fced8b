// Each call that an evaluation makes fails with each number of its manual page, once and from then
// on: what the tool prints, what the interface returns, each further call, and what is left are
// those of the model, and the invariants hold.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <map>
#include <numeric>
#include <set>
#include <tuple>

#include <dirent.h>
#include <unistd.h>

#include "tests/support/PrivateMachine.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"
#include "tests/system/Tool.h"
#include "tests/torture/Cells.h"
#include "tests/torture/ErrorNumbers.h"
#include "tests/torture/EvaluationModel.h"
#include "tests/torture/PreloadedProgram.h"
#include "tests/torture/SharedCount.h"

namespace {

enum class Program { tool, interface };

std::vector<std::string> CommandOf(Program program) {
    if (program == Program::tool)
        return {CC_DYNAMIC_TOOL, "-c", "url", "doc", "3"};
    return {CC_INTERFACE_PROGRAM};
}

struct Scenario {
    std::string name;
    // How many of the usual answers the agent gives.
    size_t answers;
    // Behind the fault that is tried.
    std::vector<Fault> base = {};
};

Scenario const scenarios[] = {
    {"Answered", 4},
    {"SilentAfterTheOpening", 1},
    {"NobodyAnswers", 0},
    {"AcrossFileSystems", 4, {{"rename", EXDEV, 1, true}}},
};

std::vector<std::string> ProcessesInOrder() {
    std::vector<std::string> names;
    DIR* const directory = opendir("/proc");
    while (dirent const* const entry = readdir(directory))
        names.emplace_back(entry->d_name);
    closedir(directory);
    // The program itself will stand behind all that is there now.
    names.emplace_back(Surroundings::own);
    return names;
}

// The sizes of the writes of each request, in the order of the requests.
std::vector<std::vector<size_t>> WritesOf(std::vector<std::string> const& calls) {
    std::string const opening = "open requestTemp.xml";
    std::string const writing = "write requestTemp.xml ";
    std::vector<std::vector<size_t>> writes;
    for (std::string const& call : calls) {
        if (call == opening)
            writes.emplace_back();
        if (call.starts_with(writing))
            writes.back().push_back(std::stoul(call.substr(writing.size())));
    }
    return writes;
}

std::string JoinedLines(std::vector<std::string> const& lines) {
    std::string text;
    for (std::string const& line : lines)
        text += line + '\n';
    return text;
}

std::string ToolOutput(Codes const& codes) {
    if (codes.open != 0)
        return OpenError(codes.open);
    std::string text;
    for (auto const& progress : codes.progress) {
        if (progress.state == 3)
            text += "COMPLIANCE_Progress " + std::to_string(progress.percent) + "% completed.\n";
        if (progress.state == 2)
            text += "COMPLIANCE_Progress returned error " + std::to_string(progress.error) + ".\n";
        if (progress.state == 1)
            text += UsualRows();
    }
    return text;
}

std::string InterfaceOutput(Codes const& codes) {
    std::string text = "open " + std::to_string(codes.open) + '\n';
    if (codes.open == 0) {
        for (auto const& progress : codes.progress)
            text += "progress " + std::to_string(progress.state) + " percent " +
                    std::to_string(progress.percent) + " error " + std::to_string(progress.error) +
                    '\n';
        bool const finished = codes.progress.back().state == 1;
        text += std::string("count ") + (finished ? "1" : "-8") + '\n';
        text += "close " + std::to_string(codes.close) + '\n';
    }
    return text + "descriptors +0\n";
}

std::string OutputOf(Program program, Codes const& codes) {
    return program == Program::tool ? ToolOutput(codes) : InterfaceOutput(codes);
}

std::string NameOf(Fault const& fault) {
    return fault.call + ' ' + std::string(strerrorname_np(fault.error)) + ' ' +
           std::to_string(fault.number) + (fault.lasting ? " lasting" : " once");
}

// A machine with an agent, on which one evaluation after the other is run.
class Stage {
public:
    Stage(Scenario const& theScenario, Program theProgram)
        : scenario(theScenario), program(theProgram), agent(Answers(theScenario)) {
        world.processes = ProcessesInOrder();
        world.agent = agent.Process();
        world.answers = Answers(scenario);
        world.pausesBetweenPolls = program == Program::tool;
        world.open.bytes = OpenRequest("url", "doc", "3");
        world.progress.bytes = progressRequest;
        world.close.bytes = closeRequest;
        LearnWrites();
    }

    // All single faults of an evaluation, by the calls that the model makes without any.
    std::vector<Fault> AllFaults() const {
        EvaluationModel model(world, scenario.base);
        model.Run();
        std::map<std::string, size_t> counts;
        std::vector<Fault> faults;
        for (std::string const& text : model.calls) {
            std::string const call = text.substr(0, text.find(' '));
            size_t const number = ++counts[call];
            for (int const error : ErrorsOf(call))
                for (bool const lasting : {false, true})
                    faults.push_back({call, error, number, lasting});
        }
        return faults;
    }

    // Whether the tool would ask for ever; see EndlessPolling.
    bool IsEndless(Fault const& fault) const {
        std::vector<Fault> const faults = With(fault);
        EvaluationModel model(world, faults);
        model.Run();
        return model.isEndless;
    }

    void TryWithout() { TryAtOnce(scenario.base); }

    void Try(Fault const& fault) {
        SCOPED_TRACE(scenario.name + ", " + NameOf(fault));
        TryAtOnce(With(fault));
    }

    void TryNextRun() { triesNextRun = true; }

    std::vector<Fault> With(Fault const& fault) const {
        std::vector<Fault> faults = {fault};
        faults.insert(faults.end(), scenario.base.begin(), scenario.base.end());
        return faults;
    }

private:
    static std::vector<Answer> Answers(Scenario const& scenario) {
        std::vector<Answer> answers = UsualAnswers();
        answers.resize(scenario.answers);
        return answers;
    }

    // Only the first answers are needed for one request of each kind.
    void LearnWrites() {
        PlayedAgent::Reset();
        RunPreloaded(CommandOf(program), {});
        auto const writes = WritesOf(LoggedCalls());
        if (writes.empty())
            throw std::runtime_error("no request was written");
        world.open.writes = writes.front();
        if (writes.size() > 2) {
            world.progress.writes = writes[1];
            world.close.writes = writes.back();
        }
        for (auto const* const request : {&world.open, &world.progress, &world.close}) {
            size_t const size =
                std::accumulate(request->writes.begin(), request->writes.end(), size_t{0});
            if (size != request->bytes.size() && !request->writes.empty())
                throw std::runtime_error("the writes of a request are not its bytes");
        }
    }

    void TryAtOnce(std::vector<Fault> const& faults) {
        EvaluationModel model(world, faults);
        model.Run();
        PlayedAgent::Reset();
        ProgramResult const result = RunPreloaded(CommandOf(program), {.faults = faults});
        EXPECT_EQ(OutputOf(program, model.codes), result.output);
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        EXPECT_EQ("", result.errors);
        EXPECT_EQ(JoinedLines(model.calls), JoinedLines(LoggedCalls()));
        EXPECT_EQ(model.temporary, ContentOf(ScriptedAgent::requestTemp));
        EXPECT_EQ(model.request, ContentOf(ScriptedAgent::request));
        EXPECT_EQ(model.response, ContentOf(ScriptedAgent::response));
        EXPECT_EQ(model.requestsTaken, PlayedAgent::Taken());
        ExpectInvariants(model.writeFailed);
        if (triesNextRun)
            ExpectNextRun();
    }

    bool IsCanonical(std::string const& bytes) const {
        return bytes == world.open.bytes || bytes == world.progress.bytes ||
               bytes == world.close.bytes;
    }

    bool IsPart(std::string const& bytes) const {
        return world.open.bytes.starts_with(bytes) || world.progress.bytes.starts_with(bytes) ||
               world.close.bytes.starts_with(bytes);
    }

    // Whatever the model says.
    void ExpectInvariants(bool writeFailed) {
        if (auto const request = ContentOf(ScriptedAgent::request)) {
            EXPECT_TRUE(IsCanonical(*request) || (writeFailed && IsPart(*request))) << *request;
        }
        if (auto const response = ContentOf(ScriptedAgent::response)) {
            EXPECT_EQ(1, std::count_if(world.answers.begin(), world.answers.end(),
                                       [&](auto const& a) { return a.bytes == *response; }));
        }
        ExpectNamesAmong({"lockfile", "request.xml", "requestTemp.xml"},
                         ScriptedAgent::requestDirectory);
        ExpectNamesAmong({"response.xml"}, "/var/opt/VeskaClient/ResponseDir");
        EXPECT_FALSE(IsLocked());
    }

    static void ExpectNamesAmong(std::set<std::string> const& known, char const* directory) {
        for (auto const& entry : std::filesystem::directory_iterator(directory))
            EXPECT_TRUE(known.contains(entry.path().filename())) << entry.path();
    }

    // With everything as it was left, and nothing that fails.
    void ExpectNextRun() {
        bool const isWaiting = ContentOf(ScriptedAgent::request).has_value();
        ProgramResult const next = RunPreloaded(CommandOf(Program::tool), {});
        Surroundings then = world;
        then.pausesBetweenPolls = true;
        std::vector<Fault> const none;
        EvaluationModel model(then, none);
        if (isWaiting)
            model.codes.open = -5;
        else
            model.Run();
        EXPECT_EQ(ToolOutput(model.codes), next.output);
        EXPECT_EQ(ExitStatus::Exited(0), next.status);
        EXPECT_FALSE(IsLocked());
    }

    Scenario const& scenario;
    Program const program;
    PlayedAgent agent;
    Surroundings world;
    bool triesNextRun = false;
};

size_t TryAll(Stage& stage, std::vector<Fault> const& faults, size_t step, size_t first = 0) {
    size_t tried = 0;
    for (size_t i = first; i < faults.size() && !testing::Test::HasFailure(); i += step)
        if (!stage.IsEndless(faults[i])) {
            stage.Try(faults[i]);
            ++tried;
        } else {
            // See QuickEndlessPolling.
            EXPECT_TRUE(faults[i].lasting && faults[i].call == "rename") << faults[i].call;
        }
    return tried;
}

// A body on a machine that yields how many cells it has tried.
void CountOnMachine(std::function<size_t()> const& body) {
    Torture::SharedCount cells;
    PrivateMachine::Run({.limit = std::chrono::minutes(20)}, [&] { cells.Add(body()); });
    Torture::CountCells(cells.Value());
}

// Deliberate: a rename that is refused counts as done, and the request, which is not there, as
// taken. So the old answer, which says "in progress", is read for as long as every rename is
// refused.
TEST(QuickEndlessPolling, RenamesThatAreRefusedForEverWhileTheLastAnswerSaysInProgress) {
    PrivateMachine::Run([] {
        PlayedAgent const agent(UsualAnswers());
        // The one of the second poll and all behind it.
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
        for (size_t at = 0; at + line.size() <= output.size(); at += line.size())
            ASSERT_EQ(line, output.substr(at, line.size()));
        EXPECT_EQ(2u, PlayedAgent::Taken().size());
        EXPECT_TRUE(std::string(progressRequest)
                        .starts_with(ContentOf(ScriptedAgent::requestTemp).value_or("none")));
        EXPECT_EQ(std::nullopt, ContentOf(ScriptedAgent::request));
        EXPECT_EQ(UsualAnswers()[1].bytes, ContentOf(ScriptedAgent::response));
        EXPECT_FALSE(IsLocked());
    });
}

class QuickExchangeFaults : public testing::TestWithParam<size_t> {};

TEST_P(QuickExchangeFaults, WithoutAnyTheModelMakesTheSameCalls) {
    CountOnMachine([&] {
        size_t cells = 0;
        for (Program const program : {Program::tool, Program::interface}) {
            Stage(scenarios[GetParam()], program).TryWithout();
            ++cells;
        }
        return cells;
    });
}

// A few of all, with steps that are prime to the lengths of the lists of numbers.
TEST_P(QuickExchangeFaults, SomeGiveTheStatedCodes) {
    CountOnMachine([&] {
        Stage stage(scenarios[GetParam()], Program::interface);
        stage.TryNextRun();
        auto const faults = stage.AllFaults();
        return TryAll(stage, faults, faults.size() / 10 | 1);
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

TEST_P(FullExchangeFaults, GiveTheStatedCodes) {
    CountOnMachine([&] {
        auto const [scenario, program, name] = GetParam();
        Stage stage(scenarios[scenario], program);
        if (program == Program::tool)
            stage.TryNextRun();
        std::vector<Fault> faults = stage.AllFaults();
        for (Fault const& fault : faults)
            EXPECT_NE(std::end(calls), std::find(std::begin(calls), std::end(calls), fault.call))
                << fault.call;
        std::string const& call = name;
        std::erase_if(faults, [&](Fault const& fault) { return fault.call != call; });
        return TryAll(stage, faults, 1);
    });
}

INSTANTIATE_TEST_SUITE_P(FullCalls, FullExchangeFaults,
                         testing::Combine(testing::Range<size_t>(0, std::size(scenarios)),
                                          testing::Values(Program::tool, Program::interface),
                                          testing::ValuesIn(calls)),
                         [](auto const& test) {
                             return scenarios[std::get<0>(test.param)].name +
                                    (std::get<1>(test.param) == Program::tool ? "Tool_"
                                                                              : "Interface_") +
                                    std::get<2>(test.param);
                         });

} // namespace
