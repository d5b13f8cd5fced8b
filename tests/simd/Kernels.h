// Every kernel beside its scalar reference, in one table for the property test.
#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace Kernels {

// Two ranges of memory, guarded on both sides.
struct Memory {
    unsigned char* input;
    std::size_t length;
    // As long as the input, and guarded of its own. Holds the input as well, changed here and
    // there.
    unsigned char* second;
    // `outputRoom` bytes.
    unsigned char* output;
    std::size_t outputRoom;
};

struct Kernel {
    std::string name;
    // What its texts are made of: single units, and whole sequences of them.
    std::vector<std::string> pieces;
    // The size of a unit of the input.
    std::size_t unit = 1;
    // Runs the kernel at the level that is pinned, and its scalar reference. Returns whether
    // results and written bytes agree.
    std::function<bool(Memory const&, std::mt19937&)> agrees;
};

// What a failed test prints.
inline void PrintTo(Kernel const& kernel, std::ostream* out) { *out << kernel.name; }

std::vector<Kernel> const& All();

} // namespace Kernels
