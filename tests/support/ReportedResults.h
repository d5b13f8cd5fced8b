// The GoogleTest results of a function, for tests of the test support.
#pragma once

#include <gtest/gtest-spi.h>

#include "tests/support/ForwardedFailures.h"

// Runs the body. Returns its failures and skips, which do not fail the test.
template <class Body>
std::vector<testing::TestPartResult> ReportedResults(Body const& body) {
    testing::TestPartResultArray results;
    {
        testing::ScopedFakeTestPartResultReporter const listening(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        body();
    }
    std::vector<testing::TestPartResult> all;
    for (int i = 0; i < results.size(); ++i)
        all.push_back(results.GetTestPartResult(i));
    return all;
}

// Returns the messages of these results, each followed by "|".
template <class Body>
std::string ReportedMessages(Body const& body) {
    std::string messages;
    for (auto const& result : ReportedResults(body))
        messages += std::string(WithoutLastNewline(result.message())) + '|';
    return messages;
}
