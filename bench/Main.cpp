// The program around a subject.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "bench/Bench.h"

namespace {

// The first place where two answers differ, with a little of what stands around it.
std::string Excerpt(std::string const& answer, std::size_t place) {
    std::size_t const from = place < 20 ? 0 : place - 20;
    return answer.substr(std::min(from, answer.size()), 80);
}

// All rounds as one JSON document.
class RoundsReporter : public benchmark::JSONReporter {
public:
    bool ReportContext(Context const& context) override {
        hasBegun = hasBegun || JSONReporter::ReportContext(context);
        return hasBegun;
    }
    void Finalize() override {} // That only a round is at its end.
    void End() { JSONReporter::Finalize(); }

private:
    bool hasBegun = false;
};

// Each contender runs once a round, so that the runs of a round stand close together in time. (The
// library's own repetitions don't: it shuffles those of all contenders together.)
void RunRounds(int count) {
    RoundsReporter reporter;
    for (; count > 0; --count)
        benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.End();
}

} // namespace

void RefuseDifferentAnswers(std::string const& operation, std::string const& who,
                            std::string const& expected, std::string const& found) {
    auto const [left, right] =
        std::mismatch(expected.begin(), expected.end(), found.begin(), found.end());
    std::size_t const place = static_cast<std::size_t>(left - expected.begin());
    std::cerr << operation << ": the result of " << who << " differs at byte " << place << " of "
              << expected.size() << " and " << found.size()
              << "\nfirst: " << Excerpt(expected, place) << "\n"
              << who << ": " << Excerpt(found, place) << "\n";
    std::exit(1);
}

// With "--rounds=N" behind the library's own arguments, N rounds; otherwise what those say.
int main(int argumentCount, char** arguments) {
    constexpr char const* roundsOption = "--rounds=";
    RegisterOperations();
    benchmark::Initialize(&argumentCount, arguments);
    std::string const last = arguments[argumentCount - 1];
    if (argumentCount == 2 && last.starts_with(roundsOption)) {
        RunRounds(std::atoi(last.substr(std::strlen(roundsOption)).c_str()));
        return 0;
    }
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
