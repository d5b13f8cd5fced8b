// The program around a subject.
#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "bench/Bench.h"

namespace {

// The first place where two answers differ, with a little of what stands around it.
std::string Excerpt(std::string const& answer, std::size_t place) {
    std::size_t const from = place < 20 ? 0 : place - 20;
    return answer.substr(std::min(from, answer.size()), 80);
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

int main(int argumentCount, char** arguments) {
    RegisterOperations();
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
