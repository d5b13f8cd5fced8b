// What scripts/torture counts.
#pragma once

#include <cstddef>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "tests/support/PrivateMachine.h"

namespace Torture {

// Says how many cells (points, seeds, allocations ...) the test that runs has gone through; a test
// that does not call it counts as one. Once for each test, and not from the body of a sandbox,
// which is another process.
inline void CountCells(std::size_t cells) {
    testing::Test::RecordProperty("cells", std::to_string(cells));
}

// Runs a body in a sandbox with the agent's directories. The body returns the number of its cells.
template <class Body>
void CountCellsInSandbox(PrivateMachine::Options const& options, Body const& body) {
    std::size_t cells = 0;
    int const file = memfd_create("cells", MFD_CLOEXEC);
    auto const run = [&] {
        cells = body();
        EXPECT_EQ(static_cast<ssize_t>(sizeof cells), write(file, &cells, sizeof cells));
    };
    PrivateMachine::RunWithDirectories(run, options);
    if (!testing::Test::IsSkipped() && !testing::Test::HasFatalFailure()) {
        EXPECT_EQ(static_cast<ssize_t>(sizeof cells), pread(file, &cells, sizeof cells, 0));
    }
    close(file);
    CountCells(cells);
}

} // namespace Torture
