// Random callers and random agents on a simulated clock, compared with the reference model.
//
// SIMULATION_SEED=n makes a test run only that seed.
#include <cstdlib>
#include <set>

#include "compliance/Compliance.h"
#include "tests/stress/PreloadedProgram.h"
#include "tests/stress/Stage.h"
#include "tests/stress/TestCases.h"

namespace {

using Lines = std::vector<std::string>;

constexpr int untouched = 4711;

// The outcomes of all runs, as "Open = -5".
using Outcomes = std::set<std::string>;

// The results of a call, as text.
std::string Describe(int code, Lines const& given = {}) {
    std::string text = " = " + std::to_string(code);
    for (std::string const& value : given)
        text += " [" + value + ']';
    return text;
}

int LowestFreeDescriptor() {
    int const lowest = open("/", O_RDONLY | O_CLOEXEC);
    close(lowest);
    return lowest;
}

// The C API with the members of the model.
struct RealApi {
    static int Open(char const* url, char const* doc, unsigned int flags) {
        return COMPLIANCE_Open(url, doc, flags);
    }
    static int Progress(int& percent, int& error) { return COMPLIANCE_Progress(&percent, &error); }
    static int ResultCount() { return COMPLIANCE_ResultCount(); }
    static int Close() { return COMPLIANCE_Close(); }
    int IndexedValue(unsigned int index, RowTexts& row) {
        std::array<char const*, 6> texts;
        texts.fill("-");
        int const code = COMPLIANCE_IndexedValue(index, &texts[0], &texts[1], &texts[2], &texts[3],
                                                 &texts[4], &texts[5]);
        std::ranges::copy(texts, row.begin());
        if (code == 0)
            returnedTexts.emplace_back(texts, row);
        return code;
    }

    std::vector<std::pair<std::array<char const*, 6>, RowTexts>> returnedTexts;
};

// A caller of the C API and an agent, both random. Each call is made on the model, and then on the
// real library with real files.
class RandomCaller {
public:
    RandomCaller(unsigned long long number, bool foreignLocks, Outcomes& allOutcomes)
        : seed(number),
          hasForeignLocks(foreignLocks),
          random(number),
          stage(random, foreignLocks),
          outcomes(allOutcomes) {}

    void Run() {
        for (unsigned long long left = 4 + random.Below(20); left != 0 && !isOver; --left)
            NextCall();
        if (stage.model.IsOpen() && !isOver)
            Close();
        EXPECT_EQ(descriptors, LowestFreeDescriptor())
            << "seed " << seed << " leaked a file descriptor";
    }

private:
    // Mostly a valid call; sometimes any call.
    void NextCall() {
        if (random.Chance(80))
            return ValidCall();
        static constexpr void (RandomCaller::*calls[])() = {&RandomCaller::Open,
                                                            &RandomCaller::Progress,
                                                            &RandomCaller::ResultCount,
                                                            &RandomCaller::IndexedValue,
                                                            &RandomCaller::Close,
                                                            &RandomCaller::Pause,
                                                            &RandomCaller::ChangeForeignLock,
                                                            &RandomCaller::ChangeForeignLock};
        (this->*calls[random.Below(hasForeignLocks ? 8 : 6)])();
    }

    void ValidCall() {
        if (!stage.model.IsOpen())
            return random.Chance(70) ? Open() : Pause();
        if (stage.model.ResultCount() < 0)
            return random.Chance(90) ? Progress() : Pause();
        if (random.Chance(20))
            return Close();
        return random.Chance(30) ? ResultCount() : IndexedValue();
    }

    void Open() {
        char const* const url = random.Pick<char const*>({nullptr, "", "http://a?b&c", "\xe9<>"});
        char const* const doc = random.Pick<char const*>({nullptr, "", "doc.xml", "a\r\nb\x80"});
        unsigned int const flags =
            random.Chance(90) ? static_cast<unsigned int>(random.Below(16)) : 4294967295u;
        CompareCall("Open", [=](auto& api) { return Describe(api.Open(url, doc, flags)); });
    }

    void Progress() {
        CompareCall("Progress", [](auto& api) {
            int percent = untouched;
            int error = untouched;
            int const code = api.Progress(percent, error);
            return Describe(code, {std::to_string(percent), std::to_string(error)});
        });
    }

    void ResultCount() {
        CompareCall("ResultCount", [](auto& api) { return Describe(api.ResultCount()); });
    }

    void IndexedValue() {
        unsigned int const index =
            random.Chance(90) ? static_cast<unsigned int>(random.Below(6)) : 4294967295u;
        CompareCall("IndexedValue", [=](auto& api) {
            RowTexts row;
            row.fill("-");
            int const code = api.IndexedValue(index, row);
            return Describe(code, {row.begin(), row.end()});
        });
    }

    void Close() {
        // All texts have been valid until now.
        for (auto const& [pointers, texts] : real.returnedTexts)
            EXPECT_TRUE(std::ranges::equal(texts, pointers)) << "seed " << seed;
        real.returnedTexts.clear();
        CompareCall("Close", [](auto& api) { return Describe(api.Close()); });
    }

    // `call` takes the model or the real C API.
    template <class Call>
    void CompareCall(std::string const& name, Call const& call) {
        Compare(
            name, [&] { return call(stage.model); }, [&] { return call(real); });
    }

    void Pause() {
        unsigned long long const length = random.Below(4'000'000);
        stage.agent.Notice();
        Compare(
            "pause", [&] { return stage.files.Pass("pause", length), std::string(); },
            [&] {
                return stage.Pass(length), SystemCalls::Active()->Record({"pause", {}, {}}), "";
            });
    }

    // Another process begins or ends an evaluation.
    void ChangeForeignLock() {
        if (foreign)
            foreign.reset();
        else if (!stage.model.IsOpen() &&
                 stage.files.entries.contains(ScriptedAgent::requestDirectory))
            foreign = std::make_unique<ForeignLock>();
        stage.model.isLockedElsewhere = foreign != nullptr;
        if (foreign)
            stage.files.entries[ScriptedAgent::lockFile] = Entry::File("");
    }

    template <class Model, class Real>
    void Compare(std::string const& name, Model const& ofModel, Real const& ofReal) {
        stage.files.calls.clear();
        std::string const expected = ofModel();
        stage.Repeat();
        SimulatedTime const time(stage);
        std::string const actual = ofReal();
        outcomes.insert(name + expected.substr(0, expected.find(" [")));
        transcript += "    " + name + expected + " at " + std::to_string(stage.files.now) + '\n';
        SystemCalls::Pause const pause;
        std::string const difference = Difference(stage, expected, actual, CallTrace(time.Calls()));
        isOver = !difference.empty();
        if (isOver)
            ADD_FAILURE() << "SIMULATION_SEED=" << seed << "\n  the calls:\n"
                          << transcript << difference;
    }

    unsigned long long const seed;
    bool const hasForeignLocks;
    Random random;
    Stage stage;
    Outcomes& outcomes;
    int const descriptors = LowestFreeDescriptor();
    std::unique_ptr<ForeignLock> foreign;
    RealApi real;
    std::string transcript;
    bool isOver = false;
};

// A process that was refused the lock is always refused, so it makes only one run, and its outcomes
// are not collected.
void RunRandomly(unsigned long long seed, Outcomes& outcomes) {
    if (seed % 50 != 49)
        return RandomCaller(seed, false, outcomes).Run();
    OtherProcess process([&] { RandomCaller(seed, true, outcomes).Run(); });
    process.Wait();
}

using SeedTest = std::function<void(unsigned long long seed)>;

// Runs the seeds one after the other, up to the first failure.
void RunSeeds(unsigned long long first, unsigned long long number, SeedTest const& test) {
    if (char const* const wanted = std::getenv("SIMULATION_SEED")) {
        first = std::strtoull(wanted, nullptr, 10);
        number = 1;
    }
    Sandbox::Run({.limit = std::chrono::minutes(10)}, [&] {
        SmallFileSystem const proc("/proc");
        for (auto seed = first; seed != first + number && !testing::Test::HasFailure(); ++seed)
            test(seed);
    });
    CountTestCases(number);
}

constexpr unsigned long long seedsOfACase = 1000;
// A sanitizer makes each of them much slower.
#ifdef CC_ADDRESS_SANITIZER
constexpr unsigned long long quickSeeds = 50;
#else
constexpr unsigned long long quickSeeds = 350;
#endif

class FullSimulation : public testing::TestWithParam<unsigned long long> {};

// Also verifies the coverage of the runs: they reach these outcomes. No run exhausts the memory.
TEST(QuickSimulation, FirstSeedsReachTheListedOutcomes) {
    Outcomes outcomes;
    RunSeeds(0, 150, [&](unsigned long long seed) {
        RunRandomly(seed, outcomes);
        if (seed != 149)
            return;
        EXPECT_THAT(
            outcomes,
            testing::IsSupersetOf(
                {"Open = 0",          "Open = -1",          "Open = -2",        "Open = -3",
                 "Open = -5",         "Open = -6",          "Open = -7",        "Open = -15",
                 "Open = -17",        "Progress = 1",       "Progress = 2",     "Progress = 3",
                 "Progress = -3",     "Progress = -6",      "Progress = -7",    "Progress = -17",
                 "ResultCount = 0",   "ResultCount = 1",    "ResultCount = -8", "IndexedValue = 0",
                 "IndexedValue = -8", "IndexedValue = -20", "Close = 0",        "Close = -3",
                 "Close = -6",        "Close = -7",         "Close = -17"}));
    });
}

TEST(QuickSimulation, CApiMatchesTheModel) {
    Outcomes outcomes;
    RunSeeds(150, quickSeeds, [&](unsigned long long seed) { RunRandomly(seed, outcomes); });
}

TEST_P(FullSimulation, CApiMatchesTheModel) {
    Outcomes outcomes;
    RunSeeds(GetParam() * seedsOfACase, seedsOfACase,
             [&](unsigned long long seed) { RunRandomly(seed, outcomes); });
}

INSTANTIATE_TEST_SUITE_P(FullHundredThousandSeeds, FullSimulation, testing::Range(0ull, 100ull));

// The tool, dynamically linked, so the simulated clock can be preloaded. The runtime of a sanitizer
// needs the /proc that is replaced here.
#ifndef CC_ADDRESS_SANITIZER

void RunTool(unsigned long long seed) {
    Random random(seed);
    Stage stage(random, false);
    std::string const expected = stage.model.RunTool("url", "d&c", 7);
    PlayedAgent::WriteScript(stage.NextScript());
    ProgramResult const run =
        RunPreloaded({CC_DYNAMIC_TOOL, "-c", "url", "d&c", "7"}, {.actsAlways = true});
    EXPECT_EQ(ExitStatus::Exited(0), run.status) << "SIMULATION_SEED=" << seed;
    EXPECT_EQ("", run.errors) << "SIMULATION_SEED=" << seed;
    std::string const difference =
        Difference(stage, expected, run.output, CallTrace(LoggedCalls()));
    EXPECT_EQ("", difference) << "SIMULATION_SEED=" << seed << '\n' << difference;
}

class FullSimulatedTool : public testing::TestWithParam<unsigned long long> {};

TEST(QuickSimulation, ToolMatchesTheModel) { RunSeeds(0, 100, RunTool); }

TEST_P(FullSimulatedTool, MatchesTheModel) {
    RunSeeds(GetParam() * seedsOfACase, seedsOfACase, RunTool);
}

INSTANTIATE_TEST_SUITE_P(FullTenThousandSeeds, FullSimulatedTool, testing::Range(0ull, 10ull));

#endif

} // namespace
