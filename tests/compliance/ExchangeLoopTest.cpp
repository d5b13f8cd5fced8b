// The schedule and the verdicts of one exchange, with the documents and the clock replaced by what
// a test wants of them, so that nothing waits. tests/system goes the real way.
#include "compliance/ExchangeLoop.h"

#include <functional>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "compliance/ClientCompliance.h"
#include "compliance/Compliance.h"
#include "compliance/RequestDocument.h"
#include "compliance/ResponseDocument.h"
#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/MilliSecondSleep.h"

namespace {

// The world as the exchange meets it. `look` counts from 1.
struct World {
    std::function<void()> write = [] {
    };
    std::function<bool(int look)> requestIsThere = [](int) {
        return false;
    };
    std::function<ClientComplianceResponse(int look)> read = [](int) {
        return ClientComplianceResponse(ClientComplianceProgress);
    };
    std::function<void()> sleep = [] {
    };
    int looks = 0;
    std::vector<std::string> calls;
    ClientComplianceRequest written{ClientComplianceClose, "", "", 0};
} world;

} // namespace

void ClientComplianceRequestIOWrite(ClientComplianceRequest const& request) {
    world.calls.push_back("write");
    world.written = request;
    world.write();
}

bool ClientComplianceRequestExists() {
    world.calls.push_back("look");
    return world.requestIsThere(++world.looks);
}

ClientComplianceResponse ClientComplianceResponseIORead() {
    world.calls.push_back("read");
    return world.read(world.looks);
}

void MilliSecondSleep(unsigned int milliseconds) {
    world.calls.push_back("sleep " + std::to_string(milliseconds));
    world.sleep();
}

namespace {

using Calls = std::vector<std::string>;

class ExchangeLoopTest : public testing::Test {
protected:
    ExchangeLoopTest() { world = World(); }

    int Exchange() { return ClientComplianceIO(request, response); }

    ClientComplianceRequest request = CreateComplianceRequestProgress();
    ClientComplianceResponse response{ClientComplianceOpen};
};

TEST_F(ExchangeLoopTest, AnswerAtTheFirstLookTakesOneSecond) {
    world.read = [](int) {
        ClientComplianceResponse answer(ClientComplianceClose);
        answer.Add("d", "r", "t", "e", "i", "c");
        answer.error = 1;
        answer.percent = 2;
        answer.state = 3;
        return answer;
    };
    EXPECT_EQ(0, Exchange());
    EXPECT_EQ((Calls{"write", "sleep 1000", "look", "read"}), world.calls);
    EXPECT_EQ(ClientComplianceProgress, world.written.type);
    // All of it is the agent's, its type too, which nobody compares with the request's.
    EXPECT_EQ(ClientComplianceClose, response.type);
    ASSERT_EQ(1U, response.GetComplianceCount());
    EXPECT_EQ("d", response[0].designator);
    EXPECT_EQ(1, response.error);
    EXPECT_EQ(2, response.percent);
    EXPECT_EQ(3, response.state);
}

TEST_F(ExchangeLoopTest, RequestThatStaysGivesNoPickupAfterFourLooks) {
    world.requestIsThere = [](int) {
        return true;
    };
    EXPECT_EQ(COMPLIANCE_ERROR_NO_PICKUP, Exchange());
    EXPECT_EQ((Calls{"write", "sleep 1000", "look", "sleep 2000", "look", "sleep 4000", "look",
                     "sleep 3000", "look"}),
              world.calls);
}

TEST_F(ExchangeLoopTest, ResponseIsOverwrittenBeforeAnythingElse) {
    response.Add("old", "", "", "", "", "");
    response.error = 7;
    response.percent = 8;
    response.state = 1;
    request.type = ClientComplianceClose;
    world.write = [] {
        throw 1;
    };
    EXPECT_EQ(COMPLIANCE_ERROR_REQUEST_WRITE, Exchange());
    EXPECT_EQ(ClientComplianceClose, response.type);
    EXPECT_EQ(0U, response.GetComplianceCount());
    EXPECT_EQ(0, response.error);
    EXPECT_EQ(0, response.percent);
    EXPECT_EQ(2, response.state);
}

TEST_F(ExchangeLoopTest, AnyFailureToWriteEndsAtOnceWithoutAWait) {
    std::function<void()> const failures[] = {
        [] { throw ClientComplianceRequestIOWriteFailure(); },
        [] { throw std::bad_alloc(); },
        [] { throw FileNotFoundError(FileLocation(), 0); },
        [] { throw 1; },
    };
    for (auto const& failure : failures) {
        world = World();
        world.write = failure;
        EXPECT_EQ(COMPLIANCE_ERROR_REQUEST_WRITE, Exchange());
        EXPECT_EQ(Calls{"write"}, world.calls);
    }
}

TEST_F(ExchangeLoopTest, AgentThatTakesTheRequestAtTheEighthSecondIsReadAtTheTenth) {
    world.requestIsThere = [](int look) {
        return look < 4;
    };
    EXPECT_EQ(0, Exchange());
    EXPECT_EQ((Calls{"write", "sleep 1000", "look", "sleep 2000", "look", "sleep 4000", "look",
                     "sleep 3000", "look", "read"}),
              world.calls);
}

TEST_F(ExchangeLoopTest, EveryFailureToReadIsTriedAgainAtTheNextLook) {
    std::function<void()> const failures[] = {
        [] { throw FileNotFoundError(FileLocation(), 2); },
        [] { throw ClientComplianceResponseBadDocumentType(); },
        [] { throw ClientComplianceResponseReadFailure(); },
        [] { throw ClientComplianceResponseTypeFailure(); },
        [] { throw std::bad_alloc(); },
        [] { throw 1; },
    };
    for (auto const& failure : failures) {
        world = World();
        world.read = [&](int) -> ClientComplianceResponse {
            failure();
            return ClientComplianceResponse(ClientComplianceOpen);
        };
        EXPECT_EQ(COMPLIANCE_ERROR_BAD_RESPONSE, Exchange());
        EXPECT_EQ((Calls{"write", "sleep 1000", "look", "read", "sleep 2000", "look", "read",
                         "sleep 4000", "look", "read", "sleep 3000", "look", "read"}),
                  world.calls);
    }
}

TEST_F(ExchangeLoopTest, OneGoodReadMakesUpForEarlierFailures) {
    for (int good = 2; good <= 4; ++good) {
        world = World();
        world.read = [&](int look) {
            if (look < good)
                throw ClientComplianceResponseReadFailure();
            return ClientComplianceResponse(ClientComplianceProgress);
        };
        EXPECT_EQ(0, Exchange());
        EXPECT_EQ(good, world.looks);
    }
}

TEST_F(ExchangeLoopTest, OneFailedReadAtAnyPollGivesBadResponse) {
    for (int failing = 1; failing <= 4; ++failing) {
        world = World();
        world.requestIsThere = [&](int look) {
            return look != failing;
        };
        world.read = [](int) -> ClientComplianceResponse {
            throw ClientComplianceResponseReadFailure();
        };
        EXPECT_EQ(COMPLIANCE_ERROR_BAD_RESPONSE, Exchange()) << failing;
        EXPECT_EQ(4, world.looks);
    }
}

TEST_F(ExchangeLoopTest, NothingIsReadWhileTheRequestHasReappeared) {
    world.requestIsThere = [](int look) {
        return look != 2;
    };
    world.read = [](int) -> ClientComplianceResponse {
        throw 1;
    };
    EXPECT_EQ(COMPLIANCE_ERROR_BAD_RESPONSE, Exchange());
    EXPECT_EQ((Calls{"write", "sleep 1000", "look", "sleep 2000", "look", "read", "sleep 4000",
                     "look", "sleep 3000", "look"}),
              world.calls);
}

TEST_F(ExchangeLoopTest, FailureOfALookOrOfTheSleepEndsTheExchange) {
    world.requestIsThere = [](int look) -> bool {
        if (look == 2)
            throw std::bad_alloc();
        return true;
    };
    EXPECT_EQ(COMPLIANCE_ERROR_EXCHANGE, Exchange());
    EXPECT_EQ((Calls{"write", "sleep 1000", "look", "sleep 2000", "look"}), world.calls);

    world = World();
    world.sleep = [] {
        throw 1;
    };
    EXPECT_EQ(COMPLIANCE_ERROR_EXCHANGE, Exchange());
    EXPECT_EQ((Calls{"write", "sleep 1000"}), world.calls);
}

} // namespace
