// A table of every kernel and its scalar reference for the property test.
#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace Kernels {

// Two memory ranges with guard pages on both sides.
struct Memory {
    unsigned char* input;
    std::size_t length;
    // As long as the input, with guard pages of its own. Initially a copy of the input with a few
    // changes.
    unsigned char* second;
    // A range of `outputRoom` bytes.
    unsigned char* output;
    std::size_t outputRoom;
};

struct Kernel {
    std::string name;
    // The pieces of its texts: single code units and whole sequences.
    std::vector<std::string> pieces;
    // The size of a code unit of the input.
    std::size_t unit = 1;
    // Runs the kernel at the pinned level, and its scalar reference. Returns whether results and
    // written bytes are equal.
    std::function<bool(Memory const&, std::mt19937&)> agrees;
};

// The output of a failed test.
inline void PrintTo(Kernel const& kernel, std::ostream* out) { *out << kernel.name; }

std::vector<Kernel> const& All();

} // namespace Kernels
