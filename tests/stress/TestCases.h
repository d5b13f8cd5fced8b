// The number of test cases, which scripts/stress counts.
#pragma once

#include <sys/mman.h>

#include "tests/system/ToolTest.h"

// Records the number of test cases (points, seeds, allocations ...) of the current test. A test
// that does not call it counts as one. REQUIRES: once for each test, and not in the body of a
// sandbox, which is another process.
inline void CountTestCases(std::size_t testCases) {
    testing::Test::RecordProperty("test_cases", std::to_string(testCases));
}

// Runs a body in a sandbox with the agent's directories. It returns the number of its test cases.
template <class Body>
void CountTestCasesInSandbox(Sandbox::Options const& options, Body const& body) {
    std::size_t testCases = 0;
    int const file = memfd_create("test_cases", MFD_CLOEXEC);
    auto const run = [&] {
        testCases = body();
        EXPECT_EQ(static_cast<ssize_t>(sizeof testCases),
                  write(file, &testCases, sizeof testCases));
    };
    Sandbox::RunWithDirectories(run, options);
    if (!testing::Test::IsSkipped() && !testing::Test::HasFatalFailure()) {
        EXPECT_EQ(static_cast<ssize_t>(sizeof testCases),
                  pread(file, &testCases, sizeof testCases, 0));
    }
    close(file);
    CountTestCases(testCases);
}
