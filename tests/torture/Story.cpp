#include "tests/torture/Story.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "compliance/Compliance.h"
#include "tests/support/OtherProcess.h"
#include "tests/system/RecordLock.h"
#include "tests/torture/Stage.h"

namespace {

using Lines = std::vector<std::string>;

constexpr int untouched = 4711;

// What a call has given, as text.
std::string Told(int code, Lines const& given) {
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

class Story {
public:
    Story(unsigned long long number, bool foreignLocks, Outcomes& told)
        : seed(number),
          hasForeignLocks(foreignLocks),
          random(number),
          stage(random, foreignLocks),
          outcomes(told) {}

    void Tell() {
        for (unsigned long long left = 4 + random.Below(20); left != 0 && !isOver; --left)
            NextCall();
        if (stage.model.IsOpen() && !isOver)
            Close();
        EXPECT_EQ(descriptors, LowestFreeDescriptor()) << "seed " << seed << " lost a descriptor";
    }

private:
    // Mostly what a caller should do, and anything at any time.
    void NextCall() {
        if (random.Chance(80))
            return SensibleCall();
        switch (random.Below(hasForeignLocks ? 8 : 6)) {
        case 0:
            return Open();
        case 1:
            return Progress();
        case 2:
            return ResultCount();
        case 3:
            return IndexedValue();
        case 4:
            return Close();
        case 5:
            return Pause();
        default:
            return ChangeForeignLock();
        }
    }

    void SensibleCall() {
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
        Compare(
            "Open", [&] { return Told(stage.model.Open(url, doc, flags), {}); },
            [&] { return Told(COMPLIANCE_Open(url, doc, flags), {}); });
    }

    void Progress() {
        auto const progress = [](auto const& call) {
            int percent = untouched;
            int error = untouched;
            int const code = call(percent, error);
            return Told(code, {std::to_string(percent), std::to_string(error)});
        };
        Compare(
            "Progress",
            [&] {
                return progress(
                    [&](int& percent, int& error) { return stage.model.Progress(percent, error); });
            },
            [&] {
                return progress(
                    [](int& percent, int& error) { return COMPLIANCE_Progress(&percent, &error); });
            });
    }

    void ResultCount() {
        Compare(
            "ResultCount", [&] { return Told(stage.model.ResultCount(), {}); },
            [] { return Told(COMPLIANCE_ResultCount(), {}); });
    }

    void IndexedValue() {
        unsigned int const index =
            random.Chance(90) ? static_cast<unsigned int>(random.Below(6)) : 4294967295u;
        Compare(
            "IndexedValue",
            [&] {
                RowTexts row;
                row.fill("-");
                int const code = stage.model.IndexedValue(index, row);
                return Told(code, {row.begin(), row.end()});
            },
            [&] {
                std::array<char const*, 6> row;
                row.fill("-");
                int const code = COMPLIANCE_IndexedValue(index, &row[0], &row[1], &row[2], &row[3],
                                                         &row[4], &row[5]);
                Lines const texts(row.begin(), row.end());
                if (code == 0)
                    handedOut.emplace_back(row, texts);
                return Told(code, texts);
            });
    }

    void Close() {
        // Until now, all texts have been good.
        for (auto const& [pointers, texts] : handedOut)
            EXPECT_EQ(texts, Lines(pointers.begin(), pointers.end())) << "seed " << seed;
        handedOut.clear();
        Compare(
            "Close", [&] { return Told(stage.model.Close(), {}); },
            [] { return Told(COMPLIANCE_Close(), {}); });
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

    // Somebody else begins or ends an evaluation.
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
    std::vector<std::pair<std::array<char const*, 6>, Lines>> handedOut;
    std::string transcript;
    bool isOver = false;
};

} // namespace

// A process that was refused the lock is refused for good, so it has but one story.
void TellStory(unsigned long long seed, Outcomes& outcomes) {
    if (seed % 50 != 49)
        return Story(seed, false, outcomes).Tell();
    OtherProcess process([&] { Story(seed, true, outcomes).Tell(); });
    process.Wait();
}
