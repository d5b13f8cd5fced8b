// An evaluation through the C API in which each allocation fails, once and together with all later
// ones. AllocationsOf*.cpp do the same for single operations.
#include <cstdio>
#include <new>

#include "compliance/Compliance.h"
#include "compliance/ComplianceState.h"
#include "tests/stress/AgentWhileSleeping.h"
#include "tests/stress/LongEvaluation.h"
#include "tests/stress/Operations.h"
#include "tests/stress/TestCases.h"
#include "tests/support/FailingAllocation.h"

namespace {

// Created before any allocation fails.
RowTexts const expectedRow = LongRowRead();

// The value for a std::bad_alloc that propagated instead of an error code.
constexpr int outOfMemory = -100;
constexpr int notCalled = -101;

struct TimedCode {
    int code = notCalled;
    std::size_t sleeps = 0;
};

// The results of the calls of one evaluation.
struct Evaluated {
    TimedCode open;
    TimedCode progress[2];
    int percent = 0;
    int count = notCalled;
    TimedCode close;
    bool rowsAreRight = true;
    bool failed = false;
};

template <class Call>
TimedCode Timed(Call call) {
    std::size_t const before = AgentWhileSleeping::SleepCount();
    int code = outOfMemory;
    try {
        code = call();
    } catch (std::bad_alloc const&) {
    }
    return {code, AgentWhileSleeping::SleepCount() - before};
}

bool RowIsRight(unsigned int index) {
    std::array<char const*, 6> texts = {};
    return COMPLIANCE_IndexedValue(index, &texts[0], &texts[1], &texts[2], &texts[3], &texts[4],
                                   &texts[5]) == 0 &&
           std::equal(texts.begin(), texts.end(), expectedRow.begin());
}

void Poll(Evaluated& result) {
    int error = 0;
    for (TimedCode& progress : result.progress)
        progress = Timed([&] { return COMPLIANCE_Progress(&result.percent, &error); });
    result.count = COMPLIANCE_ResultCount();
    for (int row = 0; row < result.count; ++row)
        result.rowsAreRight &= RowIsRight(static_cast<unsigned int>(row));
}

Evaluated Evaluate(std::size_t n, FailingAllocation::Extent extent) {
    Evaluated result;
    FailingAllocation const failing(n, extent);
    result.open = Timed([] { return COMPLIANCE_Open(url, doc, 7); });
    if (result.open.code == 0) {
        Poll(result);
        result.close = Timed([] { return COMPLIANCE_Close(); });
    }
    result.failed = failing.HasFailed();
    return result;
}

// Releases the rows and their array, which the C API keeps for the next rows.
void ForgetRows() { iResponse = ClientComplianceResponse(ClientComplianceProgress); }

void ExpectUsualResult(Evaluated const& result) {
    EXPECT_EQ(0, result.open.code);
    EXPECT_EQ(3, result.progress[0].code);
    EXPECT_EQ(40, result.percent);
    EXPECT_EQ(1, result.progress[1].code);
    EXPECT_EQ(2, result.count);
    EXPECT_EQ(0, result.close.code);
    EXPECT_TRUE(result.rowsAreRight);
}

// Either the exchange polls four times without a readable response, or the request is not written
// and the exchange does not sleep.
void ExpectCodeOfExchange(TimedCode const& timed) {
    if (timed.code == COMPLIANCE_ERROR_BAD_RESPONSE)
        EXPECT_EQ(4u, timed.sleeps);
    else if (timed.code == COMPLIANCE_ERROR_REQUEST_WRITE)
        EXPECT_EQ(0u, timed.sleeps);
    else
        ADD_FAILURE() << "code " << timed.code << " after " << timed.sleeps << " sleeps";
}

// Without memory for the list of processes, no agent is found.
void ExpectStatedOpen(TimedCode const& open) {
    if (open.code == 0)
        return;
    EXPECT_EQ(open.code == outOfMemory, iOwnLock) << "the reached state";
    if (open.code == outOfMemory || open.code == COMPLIANCE_ERROR_LOCK ||
        open.code == COMPLIANCE_ERROR_NOT_RUNNING)
        EXPECT_EQ(0u, open.sleeps);
    else
        ExpectCodeOfExchange(open);
}

void ExpectStatedPolls(Evaluated const& result) {
    for (TimedCode const& progress : result.progress)
        if (progress.code < 0 && progress.code != notCalled)
            ExpectCodeOfExchange(progress);
    bool const finished = result.progress[0].code == 1 || result.progress[1].code == 1;
    if (result.open.code == 0) {
        EXPECT_EQ(finished ? 2 : COMPLIANCE_ERROR_NO_RESULTS, result.count);
    }
    EXPECT_TRUE(result.rowsAreRight);
    if (result.close.code != notCalled && result.close.code != 0)
        ExpectCodeOfExchange(result.close);
}

// A request that was written in part is published in part.
void ExpectOwnFilesOnly(bool writeFailed) {
    std::string const names = Requests();
    if (names == "lockfile request.xml " || names == "request.xml ") {
        ExpectPartOfRequest(ReadBytes(ScriptedAgent::request));
        EXPECT_TRUE(writeFailed);
    } else {
        EXPECT_TRUE(names == "lockfile " || names.empty()) << names;
    }
}

bool HasWriteFailed(Evaluated const& result) {
    auto const timed = {result.open, result.progress[0], result.progress[1], result.close};
    return std::ranges::count(timed, COMPLIANCE_ERROR_REQUEST_WRITE, &TimedCode::code) != 0;
}

void ExpectNextEvaluationSucceeds() {
    if (iOwnLock) {
        EXPECT_EQ(0, COMPLIANCE_Close());
    }
    EXPECT_FALSE(iOwnLock);
    EXPECT_EQ(COMPLIANCE_ERROR_LOCK, COMPLIANCE_Close());
    std::remove(ScriptedAgent::request);
    ExpectUsualResult(Evaluate(~std::size_t{0}, FailingAllocation::Once));
}

bool Fail(AgentWhileSleeping& agent, std::size_t n, FailingAllocation::Extent extent) {
    agent.Restart();
    Evaluated const result = Evaluate(n, extent);
    if (!result.failed) {
        ExpectUsualResult(result);
    } else {
        ExpectStatedOpen(result.open);
        ExpectStatedPolls(result);
        ExpectOwnFilesOnly(HasWriteFailed(result));
        agent.Restart();
        ExpectNextEvaluationSucceeds();
    }
    ForgetRows();
    return result.failed;
}

TEST(QuickAllocations, FailuresInAnExchangeHaveDocumentedResults) {
    TestInSandbox([] {
        AgentWhileSleeping agent(ServingAgent());
        ExpectUsualResult(Evaluate(~std::size_t{0}, FailingAllocation::Once));
        ForgetRows();
        std::size_t const failures = FailEachAllocation(
            "a whole exchange", [&](auto n, auto extent) { return Fail(agent, n, extent); });
        std::cout << "a whole exchange: " << failures << " allocations failed\n";
        return failures;
    });
}

} // namespace
