// Cells on private machines of their own, many of them at once.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/OtherProcess.h"
#include "tests/support/PrivateMachine.h"

namespace Torture {

// Runs one cell in the body of a private machine that has the agent's directories, and returns a
// few words on it for the caller.
using Cell = std::function<std::string(std::size_t)>;

// What RunAtOnce gives for a cell that broke off, of which it has told already.
constexpr char brokenOff[] = "broken off";

// Runs the cells of these numbers, all at once, and waits for their ends. What fails in one fails
// the test and names `what` and the number. Returns their words, in order.
inline std::vector<std::string>
RunAtOnce(std::string const& what, std::vector<std::size_t> const& numbers, Cell const& cell) {
    constexpr auto limit = std::chrono::seconds(120);
    std::vector<std::unique_ptr<OtherProcess>> machines;
    for (std::size_t const number : numbers)
        machines.push_back(std::make_unique<OtherProcess>([&, number](Handshake& line) {
            SCOPED_TRACE(what + ' ' + std::to_string(number));
            PrivateMachine::Run({.limit = limit}, [&] {
                PrivateMachine::CreateAgentDirectories();
                line.Tell(cell(number));
            });
        }));
    std::vector<std::string> words;
    for (auto const& machine : machines) {
        machine->Wait(limit + std::chrono::seconds(20));
        try {
            words.push_back(machine->Await());
        } catch (std::exception const&) {
            words.push_back(brokenOff);
        }
    }
    return words;
}

// Whether the environment variable TORTURE_CELL names a cell to have it again.
inline bool IsOneCellWanted() { return std::getenv("TORTURE_CELL") != nullptr; }

// Numbers from `first` on, so many; or only the one that is wanted, if it is one of them.
inline std::vector<std::size_t> Cells(std::size_t first, std::size_t number) {
    char const* const wanted = std::getenv("TORTURE_CELL");
    std::vector<std::size_t> cells;
    for (std::size_t cell = first; cell < first + number; ++cell)
        if (!wanted || std::to_string(cell) == wanted)
            cells.push_back(cell);
    return cells;
}

} // namespace Torture
