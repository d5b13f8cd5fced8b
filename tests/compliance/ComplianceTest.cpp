// Tests the five functions with replaced callees. tests/system tests them as a whole.
#include "compliance/Compliance.h"

#include <bit>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "compliance/AgentPresence.h"
#include "compliance/ClientComplianceLock.h"
#include "compliance/ComplianceState.h"
#include "compliance/ExchangeLoop.h"
#include "compliance/RequestDocument.h"
#include "tests/compliance/Records.h"

namespace {

// The results of the replaced functions, and the arguments of their calls.
struct World {
    bool lockIsFree = true;
    int installed = 0;
    bool running = true;
    bool configured = true;
    bool pending = false;
    bool presenceThrows = false;
    int exchange = 0;
    bool exchangeThrows = false;
    ClientComplianceResponse response{ClientComplianceProgress};

    bool isLocked = false;
    int exchanges = 0;
    RequestFields request;
    ResponseFields before; // the response before the exchange
} world;

} // namespace

ClientComplianceLock& ClientComplianceLock::The() {
    static ClientComplianceLock lock;
    return lock;
}
bool ClientComplianceLock::Lock() noexcept { return world.isLocked = world.lockIsFree; }
void ClientComplianceLock::Unlock() noexcept { world.isLocked = false; }
ClientComplianceLock::~ClientComplianceLock() = default;

int UnixPlatform::IsInstalled() {
    EXPECT_TRUE(world.isLocked);
    if (world.presenceThrows)
        throw std::bad_alloc();
    return world.installed;
}
bool UnixPlatform::IsRunning() { return world.running; }
bool UnixPlatform::IsConfigured() { return world.configured; }
bool ClientComplianceRequestExists() {
    EXPECT_TRUE(world.isLocked);
    return world.pending;
}
int ClientComplianceIO(ClientComplianceRequest& request, ClientComplianceResponse& response) {
    EXPECT_TRUE(world.isLocked);
    ++world.exchanges;
    world.request = FieldsOf(request);
    world.before = FieldsOf(response);
    if (world.exchangeThrows)
        throw 1;
    if (world.exchange == 0)
        response = world.response;
    return world.exchange;
}

namespace {

enum class State { closed, open, finished };

class ComplianceTest : public testing::Test {
protected:
    ComplianceTest() { world = World(); }

    // The state belongs to the process.
    ~ComplianceTest() override {
        iOwnLock = false;
        iHaveResponse = false;
        iResponse.Reset();
    }

    static void ExpectState(State state) {
        EXPECT_EQ(state != State::closed, iOwnLock);
        EXPECT_EQ(state != State::closed, world.isLocked);
        EXPECT_EQ(state == State::finished, iHaveResponse);
        EXPECT_EQ(state == State::finished, COMPLIANCE_ResultCount() >= 0);
        if (state == State::closed) {
            EXPECT_EQ(COMPLIANCE_ERROR_LOCK, COMPLIANCE_Close());
            EXPECT_EQ(0U, iResponse.GetComplianceCount());
        }
    }

    // Expects the result, and that only the given variables change.
    static void ExpectProgress(int code, int newPercent = 1234, int newError = 5678) {
        int percent = 1234;
        int error = 5678;
        EXPECT_EQ(code, COMPLIANCE_Progress(&percent, &error));
        EXPECT_EQ(newPercent, percent);
        EXPECT_EQ(newError, error);
    }

    // Expects an error, and that no text is stored.
    static void ExpectNoRow(int code, unsigned int index) {
        char const* text = "untouched";
        EXPECT_EQ(code, COMPLIANCE_IndexedValue(index, &text, &text, &text, &text, &text, &text));
        EXPECT_STREQ("untouched", text);
    }

    static void Open() { ASSERT_EQ(0, COMPLIANCE_Open("url", "doc", 7)); }

    static void OpenAndFinish(std::vector<RowTexts> const& rows = {}) {
        Open();
        world.response = MakeResponse({ClientComplianceProgress, 1, 0, 0, rows});
        ExpectProgress(1);
    }
};

TEST_F(ComplianceTest, OpenSendsItsArgumentsAndForgetsAnEarlierResult) {
    iHaveResponse = true;
    EXPECT_EQ(0, COMPLIANCE_Open("u", "d", 15));
    ExpectState(State::open);
    EXPECT_EQ(RequestFields(ClientComplianceOpen, "u", "d", 15), world.request);
    EXPECT_EQ(EmptyResponse(ClientComplianceOpen), world.before);
    EXPECT_EQ(0, COMPLIANCE_Close());
    EXPECT_EQ(0, COMPLIANCE_Open(nullptr, nullptr, 0xFFFFFFFFU));
    EXPECT_EQ(RequestFields(ClientComplianceOpen, "", "", 0xFFFFFFFFU), world.request);
}

// Tests each nonempty subset of the failures.
TEST_F(ComplianceTest, OpenReturnsTheFirstFailureAndHoldsNoLock) {
    for (unsigned int subset = 1; subset < 64; ++subset) {
        auto const applies = [=](unsigned int reason) {
            return (subset >> reason & 1) != 0;
        };
        world = World();
        world.lockIsFree = !applies(0);
        world.installed = applies(1) ? -1 : 0;
        world.running = !applies(2);
        world.configured = !applies(3);
        world.pending = applies(4);
        world.exchange = applies(5) ? -17 : 0;
        int const codes[] = {-6, -1, -2, -4, -5, -17};
        int const first = codes[std::countr_zero(subset)];
        EXPECT_EQ(first, COMPLIANCE_Open("u", "d", 0)) << subset;
        EXPECT_EQ(first == -17 ? 1 : 0, world.exchanges) << subset;
        ExpectState(State::closed);
    }
}

// The real functions return no positive number. Only a negative number is an error.
TEST_F(ComplianceTest, OnlyANegativeResultReleasesTheLock) {
    world.running = world.configured = false;
    world.pending = true;
    world.installed = -77;
    EXPECT_EQ(-77, COMPLIANCE_Open("u", "d", 0));
    ExpectState(State::closed);
    world.installed = 1; // Skips the other checks.
    world.exchange = 5;
    EXPECT_EQ(5, COMPLIANCE_Open("u", "d", 0));
    EXPECT_EQ(1, world.exchanges);
    ExpectState(State::open);
}

TEST_F(ComplianceTest, SecondOpenFailsAndTheFirstStaysOpen) {
    Open();
    EXPECT_EQ(COMPLIANCE_ERROR_ALREADY_OPEN, COMPLIANCE_Open("u2", "d2", 0));
    EXPECT_EQ(1, world.exchanges);
    ExpectState(State::open);
}

// The only exception that a caller may receive.
TEST_F(ComplianceTest, ExhaustedMemoryInOpenLeavesTheEvaluationOpen) {
    world.presenceThrows = true;
    EXPECT_THROW(COMPLIANCE_Open("u", "d", 0), std::bad_alloc);
    EXPECT_EQ(0, world.exchanges);
    ExpectState(State::open);
    EXPECT_EQ(0, COMPLIANCE_Close());
    ExpectState(State::closed);
}

TEST_F(ComplianceTest, ProgressAndCloseNeedAnOpenEvaluation) {
    ExpectState(State::closed);
    EXPECT_EQ(EmptyResponse(ClientComplianceProgress), FieldsOf(iResponse));
    ExpectProgress(COMPLIANCE_ERROR_LOCK);
    EXPECT_EQ(0, world.exchanges);
}

TEST_F(ComplianceTest, OnlyOpenChecksTheAgentAndPendingRequests) {
    Open();
    world.installed = -1;
    world.running = world.configured = false;
    world.pending = world.presenceThrows = true;
    world.response.state = 3;
    ExpectProgress(3, 0);
    EXPECT_EQ(0, COMPLIANCE_Close());
    EXPECT_EQ(3, world.exchanges);
}

TEST_F(ComplianceTest, ProgressSendsItsRequestWithAnEmptyResponse) {
    Open();
    iResponse = MakeResponse({ClientComplianceClose, 1, 9, 9, {{"old", "", "", "", "", ""}}});
    world.response.state = 3;
    ExpectProgress(3, 0);
    EXPECT_EQ(RequestFields(ClientComplianceProgress, "", "", 0), world.request);
    EXPECT_EQ(EmptyResponse(ClientComplianceProgress), world.before);
}

TEST_F(ComplianceTest, ProgressWritesOnlyTheVariableOfItsState) {
    Open();
    for (int const value : {-2147483647 - 1, -22, 0, 50, 100, 101, 2147483647}) {
        world.response.error = world.response.percent = value;
        world.response.state = 2;
        ExpectProgress(2, 1234, value);
        world.response.state = 3;
        ExpectProgress(3, value);
    }
    world.response.state = 1;
    ExpectProgress(1);
}

TEST_F(ComplianceTest, UnfinishedEvaluationStaysOpenWithoutResults) {
    Open();
    world.response.Add("a", "b", "c", "d", "e", "f");
    for (int const state : {0, 2, 3, 4, -1, 2147483647}) {
        world.response.state = state;
        bool const isKnown = state == 2 || state == 3;
        ExpectProgress(isKnown ? state : COMPLIANCE_ERROR_BAD_RESPONSE, state == 3 ? 0 : 1234,
                       state == 2 ? 0 : 5678);
        EXPECT_EQ(COMPLIANCE_ERROR_NO_RESULTS, COMPLIANCE_ResultCount()) << state;
        ExpectNoRow(COMPLIANCE_ERROR_NO_RESULTS, 0);
        ExpectState(State::open);
    }
    for (int const code : {-3, -7, -16, -17, 5}) {
        world.exchange = code;
        ExpectProgress(code);
        ExpectState(State::open);
    }
    world.exchange = 0;
    world.response.state = 1;
    ExpectProgress(1);
    ExpectState(State::finished);
}

TEST_F(ComplianceTest, ExceptionInAnExchangeIsAnInternalError) {
    Open();
    world.exchangeThrows = true;
    ExpectProgress(COMPLIANCE_ERROR_INTERNAL);
    ExpectState(State::open);
    EXPECT_EQ(COMPLIANCE_ERROR_INTERNAL, COMPLIANCE_Close());
    ExpectState(State::closed);
}

TEST_F(ComplianceTest, ProgressOfAFinishedEvaluationMakesNoExchange) {
    OpenAndFinish({{}, {}});
    ExpectProgress(1);
    EXPECT_EQ(1, COMPLIANCE_Progress(nullptr, nullptr));
    EXPECT_EQ(2, world.exchanges);
    EXPECT_EQ(2, COMPLIANCE_ResultCount());
}

TEST_F(ComplianceTest, RowsAreReturnedWithoutACopy) {
    std::vector<RowTexts> const rows{{"1", "2", "3", "4", "5", "6"},
                                     {"a", "b", "c", "d", "e", "f"}};
    OpenAndFinish(rows);
    EXPECT_EQ(2, COMPLIANCE_ResultCount());
    for (unsigned int row = 0; row < 2; ++row) {
        char const* texts[6];
        ASSERT_EQ(0, COMPLIANCE_IndexedValue(row, &texts[0], &texts[1], &texts[2], &texts[3],
                                             &texts[4], &texts[5]));
        EXPECT_EQ(rows[row], TextsOf({texts[0], texts[1], texts[2], texts[3], texts[4], texts[5]}));
        EXPECT_EQ(iResponse[row].designator.c_str(), texts[0]);
        EXPECT_EQ(iResponse[row].comment.c_str(), texts[5]);
    }
}

TEST_F(ComplianceTest, IndexIsComparedAsUnsignedWithTheCount) {
    for (std::size_t const count : {0, 2}) {
        OpenAndFinish(std::vector<RowTexts>(count));
        EXPECT_EQ(static_cast<int>(count), COMPLIANCE_ResultCount());
        for (unsigned int const index : {2U, 3U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
            ExpectNoRow(COMPLIANCE_ERROR_BAD_INDEX, index);
        EXPECT_EQ(0, COMPLIANCE_Close());
    }
    OpenAndFinish();
    ExpectNoRow(COMPLIANCE_ERROR_BAD_INDEX, 0);
}

TEST_F(ComplianceTest, CloseSendsItsRequestAndClosesEvenIfItFails) {
    for (int const code : {0, -3, -7, -16, -17}) {
        OpenAndFinish({{}, {}});
        world.exchange = code;
        EXPECT_EQ(code, COMPLIANCE_Close());
        EXPECT_EQ(RequestFields(ClientComplianceClose, "", "", 0), world.request);
        EXPECT_EQ(EmptyResponse(ClientComplianceClose), world.before);
        EXPECT_EQ(COMPLIANCE_ERROR_NO_RESULTS, COMPLIANCE_ResultCount());
        ExpectState(State::closed);
        world.exchange = 0;
    }
}

} // namespace
