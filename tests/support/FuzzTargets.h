// Fuzz targets as functions of a test program: use_fuzz_targets of tests/CMakeLists.txt renames
// them. Each target describes its inputs.
#pragma once

#include <cstddef>
#include <string>

#include "fuzz/RandomInputs.h"

using FuzzTarget = int(unsigned char const* data, std::size_t size);

extern "C" {
FuzzTarget CheckLocations, CheckNames, CheckProcesses, CheckRequest, CheckResponse;
}

inline void ExpectHolds(FuzzTarget* target, std::string const& input) {
    ExpectHolds(
        input, [&] { target(reinterpret_cast<unsigned char const*>(input.data()), input.size()); });
}

// Returns the form of a text that Fuzz::Input::Text takes.
inline std::string Counted(std::string const& text) {
    return static_cast<char>(text.size()) + text;
}
