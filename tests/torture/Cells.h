// What scripts/torture counts.
#pragma once

#include <cstddef>

#include <gtest/gtest.h>

namespace Torture {

// Says how many cells (points, seeds, allocations ...) the test that runs has gone through; a test
// that does not call it counts as one. Once for each test, and not from the body of a private
// machine, which is another process.
inline void CountCells(std::size_t cells) {
    testing::Test::RecordProperty("cells", std::to_string(cells));
}

} // namespace Torture
