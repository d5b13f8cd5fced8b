// The rules of the five functions, with everything below them replaced by what a test wants it to
// answer. The real road is taken by the tests in tests/system.
#include "compliance/Compliance.h"

#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "compliance/AgentPresence.h"
#include "compliance/ClientComplianceLock.h"
#include "compliance/ComplianceState.h"
#include "compliance/ExchangeLoop.h"
#include "compliance/RequestDocument.h"

namespace {

// What the parts below answer, and the calls that reached them.
struct Below {
    bool lockIsFree = true;
    int installed = 0;
    bool running = true;
    bool configured = true;
    bool pending = false;
    bool presenceThrows = false;
    int exchange = 0;
    bool exchangeThrows = false;
    ClientComplianceResponse answer{ClientComplianceProgress};
    std::vector<std::string> calls;
    ClientComplianceRequest request{ClientComplianceClose, "-", "-", 99};
    ClientComplianceResponse given{ClientComplianceClose}; // as the exchange found it
} below;

} // namespace

ClientComplianceLock& ClientComplianceLock::The() {
    static ClientComplianceLock lock;
    return lock;
}
bool ClientComplianceLock::Lock() noexcept {
    below.calls.push_back("lock");
    return below.lockIsFree;
}
void ClientComplianceLock::Unlock() noexcept { below.calls.push_back("unlock"); }
ClientComplianceLock::~ClientComplianceLock() = default;

int UnixPlatform::IsInstalled() {
    below.calls.push_back("installed");
    if (below.presenceThrows)
        throw std::bad_alloc();
    return below.installed;
}
bool UnixPlatform::IsRunning() {
    below.calls.push_back("running");
    return below.running;
}
bool UnixPlatform::IsConfigured() {
    below.calls.push_back("configured");
    return below.configured;
}
bool ClientComplianceRequestExists() {
    below.calls.push_back("pending");
    return below.pending;
}
int ClientComplianceIO(ClientComplianceRequest& request, ClientComplianceResponse& response) {
    below.calls.push_back("exchange");
    below.request = request;
    below.given = response;
    if (below.exchangeThrows)
        throw 1;
    if (below.exchange == 0)
        response = below.answer;
    return below.exchange;
}

namespace {

using Calls = std::vector<std::string>;

class ComplianceTest : public testing::Test {
protected:
    void SetUp() override { below = Below(); }

    // The state is the process's, so a case leaves it as it was at the start.
    void TearDown() override {
        iOwnLock = false;
        iHaveResponse = false;
        iResponse.Reset();
    }

    // What has been called since the last look.
    static Calls TakeCalls() {
        Calls calls;
        calls.swap(below.calls);
        return calls;
    }

    static void Open() {
        ASSERT_EQ(0, COMPLIANCE_Open("url", "doc", 7));
        TakeCalls();
    }

    static void OpenAndFinish(std::size_t rows) {
        Open();
        below.answer.state = 1;
        for (std::size_t row = 0; row < rows; ++row) {
            std::string const n = std::to_string(row);
            below.answer.Add(("d" + n).c_str(), ("r" + n).c_str(), ("t" + n).c_str(),
                             ("e" + n).c_str(), ("i" + n).c_str(), ("c" + n).c_str());
        }
        ASSERT_EQ(1, COMPLIANCE_Progress(&percent, &error));
        TakeCalls();
    }

    static inline int percent = 1234;
    static inline int error = 5678;
};

TEST_F(ComplianceTest, StateStartsClosed) {
    EXPECT_FALSE(iOwnLock);
    EXPECT_FALSE(iHaveResponse);
    EXPECT_EQ(ClientComplianceProgress, iResponse.type);
    EXPECT_EQ(2, iResponse.state);
}

TEST_F(ComplianceTest, OpenAsksInOrderAndKeepsTheLock) {
    EXPECT_EQ(0, COMPLIANCE_Open("u", "d", 15));
    EXPECT_EQ((Calls{"lock", "installed", "running", "configured", "pending", "exchange"}),
              below.calls);
    EXPECT_TRUE(iOwnLock);
    EXPECT_FALSE(iHaveResponse);
    EXPECT_EQ(ClientComplianceOpen, below.request.type);
    EXPECT_EQ("u", below.request.url);
    EXPECT_EQ("d", below.request.doc);
    EXPECT_EQ(15U, below.request.flags);
    EXPECT_EQ(ClientComplianceOpen, below.given.type);
}

TEST_F(ComplianceTest, OpenTakesNullAsEmptyTextAndAnyFlags) {
    EXPECT_EQ(0, COMPLIANCE_Open(nullptr, nullptr, 0xFFFFFFFFU));
    EXPECT_EQ("", below.request.url);
    EXPECT_EQ("", below.request.doc);
    EXPECT_EQ(0xFFFFFFFFU, below.request.flags);
}

TEST_F(ComplianceTest, RefusedLockChangesNothingElse) {
    below.lockIsFree = false;
    EXPECT_EQ(COMPLIANCE_ERROR_LOCK, COMPLIANCE_Open("u", "d", 0));
    EXPECT_EQ(Calls{"lock"}, below.calls);
    EXPECT_FALSE(iOwnLock);
}

TEST_F(ComplianceTest, EachRefusalReleasesTheLock) {
    struct Case {
        int code;
        void (*refuse)();
        Calls calls;
    };
    Case const cases[] = {
        {-1, [] { below.installed = -1; }, {"lock", "installed", "unlock"}},
        {-2, [] { below.running = false; }, {"lock", "installed", "running", "unlock"}},
        {-4,
         [] { below.configured = false; },
         {"lock", "installed", "running", "configured", "unlock"}},
        {-5,
         [] { below.pending = true; },
         {"lock", "installed", "running", "configured", "pending", "unlock"}},
        {-17,
         [] { below.exchange = -17; },
         {"lock", "installed", "running", "configured", "pending", "exchange", "unlock"}},
    };
    for (Case const& refusal : cases) {
        below = Below();
        refusal.refuse();
        EXPECT_EQ(refusal.code, COMPLIANCE_Open("u", "d", 0));
        EXPECT_EQ(refusal.calls, below.calls) << refusal.code;
        EXPECT_FALSE(iOwnLock) << refusal.code;
        EXPECT_EQ(COMPLIANCE_ERROR_LOCK, COMPLIANCE_Close()) << refusal.code;
    }
}

TEST_F(ComplianceTest, NegativeAnswerOfTheFirstCheckIsHandedThrough) {
    below.installed = -77;
    EXPECT_EQ(-77, COMPLIANCE_Open("u", "d", 0));
    EXPECT_FALSE(iOwnLock);
}

TEST_F(ComplianceTest, PositiveAnswerOfTheFirstCheckSkipsTheOthers) {
    below.installed = 1;
    below.running = false;
    below.pending = true;
    EXPECT_EQ(0, COMPLIANCE_Open("u", "d", 0));
    EXPECT_EQ((Calls{"lock", "installed", "exchange"}), below.calls);
    EXPECT_TRUE(iOwnLock);
}

// None of the exchange's codes is positive; the lock goes only with a negative one.
TEST_F(ComplianceTest, PositiveCodeOfTheExchangeIsHandedThroughWithTheLockHeld) {
    below.exchange = 5;
    EXPECT_EQ(5, COMPLIANCE_Open("u", "d", 0));
    EXPECT_TRUE(iOwnLock);
    EXPECT_EQ("exchange", below.calls.back());
}

TEST_F(ComplianceTest, OpenForgetsAnEarlierResult) {
    iHaveResponse = true;
    EXPECT_EQ(0, COMPLIANCE_Open("u", "d", 0));
    EXPECT_FALSE(iHaveResponse);
}

TEST_F(ComplianceTest, SecondOpenIsRefusedAndTheFirstStaysOpen) {
    Open();
    EXPECT_EQ(COMPLIANCE_ERROR_ALREADY_OPEN, COMPLIANCE_Open("u2", "d2", 0));
    EXPECT_EQ(Calls{}, below.calls);
    EXPECT_TRUE(iOwnLock);
    EXPECT_EQ(0, COMPLIANCE_Close());
}

// The one exception that a caller can meet; the header tells of it.
TEST_F(ComplianceTest, ExhaustedMemoryBeforeTheExchangeLeavesOpenWithTheLockHeld) {
    below.presenceThrows = true;
    EXPECT_THROW(COMPLIANCE_Open("u", "d", 0), std::bad_alloc);
    EXPECT_TRUE(iOwnLock);
    EXPECT_EQ((Calls{"lock", "installed"}), TakeCalls());
    EXPECT_EQ(0, COMPLIANCE_Close());
    EXPECT_EQ((Calls{"exchange", "unlock"}), below.calls);
    EXPECT_FALSE(iOwnLock);
}

TEST_F(ComplianceTest, ProgressAndCloseWithoutOpenGiveTheLockCode) {
    EXPECT_EQ(COMPLIANCE_ERROR_LOCK, COMPLIANCE_Progress(&percent, &error));
    EXPECT_EQ(COMPLIANCE_ERROR_LOCK, COMPLIANCE_Close());
    EXPECT_EQ(Calls{}, below.calls);
}

TEST_F(ComplianceTest, ProgressSendsAProgressRequestWithAWipedResponse) {
    Open();
    iResponse.Add("old", "", "", "", "", "");
    iResponse.error = 9;
    iResponse.type = ClientComplianceClose;
    below.answer.state = 3;
    EXPECT_EQ(3, COMPLIANCE_Progress(&percent, &error));
    EXPECT_EQ(ClientComplianceProgress, below.request.type);
    EXPECT_EQ("", below.request.url);
    EXPECT_EQ(0U, below.request.flags);
    EXPECT_EQ(ClientComplianceProgress, below.given.type);
    EXPECT_EQ(0U, below.given.GetComplianceCount());
    EXPECT_EQ(0, below.given.error);
}

TEST_F(ComplianceTest, ProgressWritesOnlyTheVariableOfItsState) {
    Open();
    for (int value : {-2147483647 - 1, -22, 0, 50, 100, 101, 2147483647}) {
        below.answer.error = value;
        below.answer.percent = value;

        percent = error = 4321;
        below.answer.state = 2;
        EXPECT_EQ(2, COMPLIANCE_Progress(&percent, &error));
        EXPECT_EQ(value, error);
        EXPECT_EQ(4321, percent);

        percent = error = 4321;
        below.answer.state = 3;
        EXPECT_EQ(3, COMPLIANCE_Progress(&percent, &error));
        EXPECT_EQ(value, percent);
        EXPECT_EQ(4321, error);
    }
    percent = error = 4321;
    below.answer.state = 1;
    EXPECT_EQ(1, COMPLIANCE_Progress(&percent, &error));
    EXPECT_EQ(4321, percent);
    EXPECT_EQ(4321, error);
}

TEST_F(ComplianceTest, UnknownStateIsABadResponseAndTheEvaluationStaysOpen) {
    Open();
    for (int state : {0, 4, -1, 2147483647}) {
        below.answer.state = state;
        percent = error = 4321;
        EXPECT_EQ(COMPLIANCE_ERROR_BAD_RESPONSE, COMPLIANCE_Progress(&percent, &error)) << state;
        EXPECT_EQ(4321, percent);
        EXPECT_EQ(4321, error);
        EXPECT_TRUE(iOwnLock);
        EXPECT_FALSE(iHaveResponse);
    }
    below.answer.state = 1;
    EXPECT_EQ(1, COMPLIANCE_Progress(&percent, &error));
}

TEST_F(ComplianceTest, CodeOfTheExchangeIsReturnedAndTheEvaluationStaysOpen) {
    Open();
    for (int code : {-3, -7, -16, -17, 5}) {
        below.exchange = code;
        EXPECT_EQ(code, COMPLIANCE_Progress(&percent, &error));
        EXPECT_TRUE(iOwnLock);
        EXPECT_EQ(Calls{"exchange"}, TakeCalls());
    }
}

TEST_F(ComplianceTest, ExceptionWhileAskingIsAnInternalError) {
    Open();
    below.exchangeThrows = true;
    EXPECT_EQ(COMPLIANCE_ERROR_INTERNAL, COMPLIANCE_Progress(&percent, &error));
    EXPECT_TRUE(iOwnLock);
    EXPECT_EQ(COMPLIANCE_ERROR_INTERNAL, COMPLIANCE_Close());
    EXPECT_FALSE(iOwnLock);
}

TEST_F(ComplianceTest, ProgressAfterTheEndIsFreeAndKeepsTheResults) {
    OpenAndFinish(2);
    percent = error = 4321;
    EXPECT_EQ(1, COMPLIANCE_Progress(&percent, &error));
    EXPECT_EQ(1, COMPLIANCE_Progress(nullptr, nullptr));
    EXPECT_EQ(Calls{}, below.calls);
    EXPECT_EQ(4321, percent);
    EXPECT_EQ(4321, error);
    EXPECT_EQ(2, COMPLIANCE_ResultCount());
}

TEST_F(ComplianceTest, NoResultsBeforeTheFinalState) {
    char const* text = "untouched";
    EXPECT_EQ(COMPLIANCE_ERROR_NO_RESULTS, COMPLIANCE_ResultCount());
    Open();
    EXPECT_EQ(COMPLIANCE_ERROR_NO_RESULTS, COMPLIANCE_ResultCount());
    below.answer.state = 3;
    below.answer.Add("a", "b", "c", "d", "e", "f");
    EXPECT_EQ(3, COMPLIANCE_Progress(&percent, &error));
    EXPECT_EQ(COMPLIANCE_ERROR_NO_RESULTS, COMPLIANCE_ResultCount());
    EXPECT_EQ(COMPLIANCE_ERROR_NO_RESULTS,
              COMPLIANCE_IndexedValue(0, &text, &text, &text, &text, &text, &text));
    EXPECT_STREQ("untouched", text);
}

TEST_F(ComplianceTest, RowsAreHandedOutWithoutACopy) {
    OpenAndFinish(3);
    EXPECT_EQ(3, COMPLIANCE_ResultCount());
    char const* d;
    char const* r;
    char const* t;
    char const* e;
    char const* i;
    char const* c;
    ASSERT_EQ(0, COMPLIANCE_IndexedValue(2, &d, &r, &t, &e, &i, &c));
    EXPECT_STREQ("d2", d);
    EXPECT_STREQ("r2", r);
    EXPECT_STREQ("t2", t);
    EXPECT_STREQ("e2", e);
    EXPECT_STREQ("i2", i);
    EXPECT_STREQ("c2", c);
    EXPECT_EQ(iResponse[2].designator.c_str(), d);
    EXPECT_EQ(iResponse[2].comment.c_str(), c);
}

TEST_F(ComplianceTest, IndexIsComparedUnsignedWithTheCount) {
    OpenAndFinish(2);
    char const* text = "untouched";
    for (unsigned int index : {2U, 3U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
        EXPECT_EQ(COMPLIANCE_ERROR_BAD_INDEX,
                  COMPLIANCE_IndexedValue(index, &text, &text, &text, &text, &text, &text));
    EXPECT_STREQ("untouched", text);
}

TEST_F(ComplianceTest, CountOfNoRowsIsZero) {
    OpenAndFinish(0);
    EXPECT_EQ(0, COMPLIANCE_ResultCount());
    char const* text = nullptr;
    EXPECT_EQ(COMPLIANCE_ERROR_BAD_INDEX,
              COMPLIANCE_IndexedValue(0, &text, &text, &text, &text, &text, &text));
}

TEST_F(ComplianceTest, CloseSendsACloseRequestThenReleasesEverything) {
    OpenAndFinish(2);
    EXPECT_EQ(0, COMPLIANCE_Close());
    EXPECT_EQ((Calls{"exchange", "unlock"}), below.calls);
    EXPECT_EQ(ClientComplianceClose, below.request.type);
    EXPECT_EQ("", below.request.url);
    EXPECT_EQ(ClientComplianceClose, below.given.type);
    EXPECT_FALSE(iOwnLock);
    EXPECT_FALSE(iHaveResponse);
    EXPECT_EQ(0U, iResponse.GetComplianceCount());
    EXPECT_EQ(COMPLIANCE_ERROR_NO_RESULTS, COMPLIANCE_ResultCount());
    EXPECT_EQ(COMPLIANCE_ERROR_LOCK, COMPLIANCE_Close());
}

TEST_F(ComplianceTest, FailedCloseReleasesEverythingAndTellsItsCode) {
    OpenAndFinish(1);
    below.exchange = -3;
    EXPECT_EQ(-3, COMPLIANCE_Close());
    EXPECT_FALSE(iOwnLock);
    EXPECT_FALSE(iHaveResponse);
    EXPECT_EQ(0U, iResponse.GetComplianceCount());
}

TEST_F(ComplianceTest, NewOpenSucceedsAfterClose) {
    OpenAndFinish(1);
    EXPECT_EQ(0, COMPLIANCE_Close());
    TakeCalls();
    EXPECT_EQ(0, COMPLIANCE_Open("u", "d", 0));
    EXPECT_EQ(COMPLIANCE_ERROR_NO_RESULTS, COMPLIANCE_ResultCount());
}

} // namespace
