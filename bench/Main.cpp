// The main program of each subject.
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "bench/Bench.h"
#include "simd/Cpu.h"

namespace {

// Returns a part of the answer around the position.
std::string Excerpt(std::string const& answer, std::size_t place) {
    std::size_t const from = place < 20 ? 0 : place - 20;
    return answer.substr(std::min(from, answer.size()), 80);
}

// Writes all rounds as one JSON document.
class RoundsReporter : public benchmark::JSONReporter {
public:
    bool ReportContext(Context const& context) override {
        hasBegun = hasBegun || JSONReporter::ReportContext(context);
        return hasBegun;
    }
    void Finalize() override {} // Called after each round, not only after the last one.
    void End() { JSONReporter::Finalize(); }

private:
    bool hasBegun = false;
};

// Runs each contender once per round, so the runs of a round are close together in time. The
// repetitions of Google Benchmark are not: it shuffles those of all contenders together.
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

namespace {

// Removes "--NAME=VALUE" from the arguments and returns VALUE, or null if there is none.
char const* TakeOption(std::vector<char*>& arguments, std::string const& name) {
    std::string const prefix = "--" + name + "=";
    auto const found = std::ranges::find_if(
        arguments, [&](char const* text) { return std::string_view(text).starts_with(prefix); });
    if (found == arguments.end())
        return nullptr;
    char const* const value = *found + prefix.size();
    arguments.erase(found);
    return value;
}

// Returns the level for "ssse3" or "avx2", limited to that of the processor. Returns the baseline
// for any other name.
Simd::Level LevelNamed(std::string_view name) {
    Simd::Level const level = name == "avx2"    ? Simd::Level::avx2
                              : name == "ssse3" ? Simd::Level::ssse3
                                                : Simd::baseline;
    return std::clamp(level, Simd::baseline, Simd::BestLevel());
}

} // namespace

// Options besides those of Google Benchmark: "--rounds=N" runs N rounds, "--level=NAME" sets the
// instruction set level of the kernels.
int main(int count, char** texts) {
    std::vector<char*> arguments(texts, texts + count);
    char const* const rounds = TakeOption(arguments, "rounds");
    char const* const level = TakeOption(arguments, "level");
    Simd::PinnedLevel const pinned(level == nullptr ? Simd::BestLevel() : LevelNamed(level));
    RegisterOperations();
    int left = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&left, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(left, arguments.data()))
        return 2;
    if (rounds != nullptr)
        RunRounds(std::atoi(rounds));
    else
        benchmark::RunSpecifiedBenchmarks();
    return 0;
}
