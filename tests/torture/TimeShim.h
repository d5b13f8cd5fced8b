// Simulated time for a whole program: preloaded into it, the shim replays the acts of a file, and
// leaves another with the calls that were made.
#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace TimeShim {

// Paths of a private machine.
constexpr char const* acts = "/opt/simulation/acts";
constexpr char const* calls = "/opt/simulation/calls";

inline std::vector<std::string> ReadCalls() {
    std::ifstream file(calls);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line); lines.push_back(line)) {
    }
    return lines;
}

} // namespace TimeShim
