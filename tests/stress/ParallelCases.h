// Runs test cases in parallel, each in its own sandbox.
#pragma once

#include <cstdlib>

#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"

// A test case, for the body of a sandbox with the agent's directories. Returns a short text for the
// caller.
using TestCase = std::function<std::string(std::size_t)>;

// The result of a test case that did not complete, which is also reported as a failure.
constexpr char incomplete[] = "incomplete";

// Runs the test cases of these numbers in parallel and waits for all of them. A failure of one is a
// failure of the test, with `what` and the number. Returns their texts, in order.
inline std::vector<std::string> RunInParallel(std::string const& what,
                                              std::vector<std::size_t> const& numbers,
                                              TestCase const& testCase) {
    constexpr auto limit = std::chrono::seconds(120);
    std::vector<std::unique_ptr<OtherProcess>> machines;
    for (std::size_t const number : numbers)
        machines.push_back(std::make_unique<OtherProcess>([&, number](Handshake& line) {
            SCOPED_TRACE(what + ' ' + std::to_string(number));
            Sandbox::RunWithDirectories([&] { line.Tell(testCase(number)); }, {.limit = limit});
        }));
    std::vector<std::string> words;
    for (auto const& machine : machines) {
        machine->Wait(limit + std::chrono::seconds(20));
        try {
            words.push_back(machine->Await());
        } catch (std::exception const&) {
            words.push_back(incomplete);
        }
    }
    return words;
}

// Returns whether the environment variable STRESS_CASE selects a single test case.
inline bool IsOneCaseSelected() { return std::getenv("STRESS_CASE") != nullptr; }

// Returns `number` numbers from `first` on, or only the selected one if it is among them.
inline std::vector<std::size_t> TestCases(std::size_t first, std::size_t number) {
    char const* const wanted = std::getenv("STRESS_CASE");
    std::vector<std::size_t> testCases;
    for (std::size_t testCase = first; testCase < first + number; ++testCase)
        if (!wanted || std::to_string(testCase) == wanted)
            testCases.push_back(testCase);
    return testCases;
}
