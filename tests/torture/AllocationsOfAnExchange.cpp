// The five functions, one after the other, each allocation of the whole failing.
#include "tests/torture/AllocationsOfFolders.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "compliance/Compliance.h"
#include "compliance/ComplianceState.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"
#include "tests/system/Tool.h"
#include "tests/torture/AgentWhileSleeping.h"
#include "tests/torture/LongEvaluation.h"
#include "tests/torture/Operations.h"

namespace {

using Torture::AgentWhileSleeping;
using Torture::doc;
using Torture::url;

// Made before any allocation fails.
RowTexts const expectedRow = LongRowRead();

// Instead of a code: std::bad_alloc came out.
constexpr int outOfMemory = -100;
constexpr int notCalled = -101;

// What the calls of one evaluation gave, and how often each has slept.
struct Evaluated {
    int open = notCalled;
    int progress[2] = {notCalled, notCalled};
    int percent = 0;
    int count = notCalled;
    int close = notCalled;
    std::size_t sleepsOfOpen = 0;
    std::size_t sleepsOfProgress[2] = {0, 0};
    std::size_t sleepsOfClose = 0;
    bool rowsAreRight = true;
    bool failed = false;
};

template <class Call>
int CodeOf(Call call, std::size_t& sleeps) {
    std::size_t const before = AgentWhileSleeping::SleepCount();
    int code = outOfMemory;
    try {
        code = call();
    } catch (std::bad_alloc const&) {
    }
    sleeps = AgentWhileSleeping::SleepCount() - before;
    return code;
}

bool RowIsRight(unsigned int index) {
    std::array<char const*, 6> texts = {};
    if (COMPLIANCE_IndexedValue(index, &texts[0], &texts[1], &texts[2], &texts[3], &texts[4],
                                &texts[5]) != 0)
        return false;
    return std::equal(texts.begin(), texts.end(), expectedRow.begin());
}

void Poll(Evaluated& result) {
    int error = 0;
    for (int i = 0; i < 2; ++i)
        result.progress[i] = CodeOf([&] { return COMPLIANCE_Progress(&result.percent, &error); },
                                    result.sleepsOfProgress[i]);
    result.count = COMPLIANCE_ResultCount();
    for (int row = 0; row < result.count; ++row)
        result.rowsAreRight &= RowIsRight(static_cast<unsigned int>(row));
}

Evaluated Evaluate(std::size_t n, FailingAllocation::Extent extent) {
    Evaluated result;
    FailingAllocation const failing(n, extent);
    result.open = CodeOf([] { return COMPLIANCE_Open(url, doc, 7); }, result.sleepsOfOpen);
    if (result.open == 0) {
        Poll(result);
        result.close = CodeOf([] { return COMPLIANCE_Close(); }, result.sleepsOfClose);
    }
    result.failed = failing.HasFailed();
    return result;
}

// The rows go, and their array with them, which the interface keeps for the next ones.
void ForgetRows() { iResponse = ClientComplianceResponse(ClientComplianceProgress); }

void ExpectCalm(Evaluated const& result) {
    EXPECT_EQ(0, result.open);
    EXPECT_EQ(3, result.progress[0]);
    EXPECT_EQ(40, result.percent);
    EXPECT_EQ(1, result.progress[1]);
    EXPECT_EQ(2, result.count);
    EXPECT_EQ(0, result.close);
    EXPECT_TRUE(result.rowsAreRight);
}

// Four looks are made, and none finds an answer that can be read; or the request is not written,
// and nobody waits.
void ExpectCodeOfExchange(int code, std::size_t sleeps) {
    if (code == COMPLIANCE_ERROR_BAD_RESPONSE)
        EXPECT_EQ(4u, sleeps);
    else if (code == COMPLIANCE_ERROR_REQUEST_WRITE)
        EXPECT_EQ(0u, sleeps);
    else
        ADD_FAILURE() << "code " << code << " after " << sleeps << " sleeps";
}

// Without memory for the list of the processes no agent is seen.
void ExpectStatedOpen(Evaluated const& result) {
    switch (result.open) {
    case 0:
        break;
    case outOfMemory:
        EXPECT_TRUE(iOwnLock) << "the state that it had reached";
        EXPECT_EQ(0u, result.sleepsOfOpen);
        break;
    case COMPLIANCE_ERROR_LOCK:
    case COMPLIANCE_ERROR_NOT_RUNNING:
        EXPECT_FALSE(iOwnLock);
        EXPECT_EQ(0u, result.sleepsOfOpen);
        break;
    default:
        EXPECT_FALSE(iOwnLock);
        ExpectCodeOfExchange(result.open, result.sleepsOfOpen);
    }
}

void ExpectStatedPolls(Evaluated const& result) {
    for (int i = 0; i < 2; ++i)
        if (result.progress[i] < 0 && result.progress[i] != notCalled)
            ExpectCodeOfExchange(result.progress[i], result.sleepsOfProgress[i]);
    bool const finished = result.progress[0] == 1 || result.progress[1] == 1;
    if (result.open == 0) {
        EXPECT_EQ(finished ? 2 : COMPLIANCE_ERROR_NO_RESULTS, result.count);
    }
    EXPECT_TRUE(result.rowsAreRight);
    if (result.close != notCalled && result.close != 0)
        ExpectCodeOfExchange(result.close, result.sleepsOfClose);
}

// A request that was not written whole is published as far as it goes.
void ExpectOwnFilesOnly(bool writeFailed) {
    std::string const names = ListDirectory(ScriptedAgent::requestDirectory);
    if (names == "lockfile request.xml " || names == "request.xml ") {
        std::string const bytes = ReadBytes(ScriptedAgent::request);
        bool isOurs = false;
        for (std::string const& whole :
             {OpenRequest(url, doc, "7"), std::string(progressRequest), std::string(closeRequest)})
            isOurs |= writeFailed ? whole.starts_with(bytes) : whole == bytes;
        EXPECT_TRUE(isOurs) << bytes;
        EXPECT_TRUE(writeFailed);
    } else {
        EXPECT_TRUE(names == "lockfile " || names.empty()) << names;
    }
}

bool HasWriteFailed(Evaluated const& result) {
    for (int const code : {result.open, result.progress[0], result.progress[1], result.close})
        if (code == COMPLIANCE_ERROR_REQUEST_WRITE)
            return true;
    return false;
}

void ExpectNextEvaluationSucceeds() {
    if (iOwnLock) {
        EXPECT_EQ(0, COMPLIANCE_Close());
    }
    EXPECT_FALSE(iOwnLock);
    EXPECT_EQ(COMPLIANCE_ERROR_LOCK, COMPLIANCE_Close());
    std::remove(ScriptedAgent::request);
    ExpectCalm(Evaluate(~std::size_t{0}, FailingAllocation::Once));
}

bool Fail(AgentWhileSleeping& agent, std::size_t n, FailingAllocation::Extent extent) {
    agent.Restart();
    Evaluated const result = Evaluate(n, extent);
    if (!result.failed) {
        ExpectCalm(result);
        return false;
    }
    ExpectStatedOpen(result);
    ExpectStatedPolls(result);
    ExpectOwnFilesOnly(HasWriteFailed(result));
    agent.Restart();
    ExpectNextEvaluationSucceeds();
    return true;
}

} // namespace

std::size_t Torture::FailAllocationsOfAnExchange() {
    AgentWhileSleeping agent(ServingAgent());
    ExpectCalm(Evaluate(~std::size_t{0}, FailingAllocation::Once));
    ForgetRows();
    std::size_t const failures =
        Torture::FailEachAllocation("a whole exchange", [&](std::size_t n, auto extent) {
            bool const failed = Fail(agent, n, extent);
            ForgetRows();
            return failed;
        });
    std::cout << "a whole exchange: " << failures << " allocations failed\n";
    return failures;
}
