// Tests the schedule and the results of one exchange with replaced documents and a simulated clock.
// tests/system tests the real exchange.
#include "compliance/ExchangeLoop.h"

#include <algorithm>
#include <array>
#include <functional>
#include <new>

#include <gtest/gtest.h>

#include "compliance/Compliance.h"
#include "compliance/RequestDocument.h"
#include "compliance/ResponseDocument.h"
#include "files/FileErrors.h"
#include "files/MilliSecondSleep.h"
#include "tests/compliance/Records.h"

namespace {

struct World {
    std::function<void()> write = [] {
    };
    std::function<bool()> requestExists = [] {
        return true;
    };
    std::function<ClientComplianceResponse()> read;
    std::function<void()> sleep = [] {
    };
    // The sum of the sleeps in milliseconds.
    unsigned int slept = 0;
    ClientComplianceRequest written{};
} world;

} // namespace

void ClientComplianceRequestIOWrite(ClientComplianceRequest const& request) {
    world.written = request;
    world.write();
}

bool ClientComplianceRequestExists() { return world.requestExists(); }

ClientComplianceResponse ClientComplianceResponseIORead() { return world.read(); }

void MilliSecondSleep(unsigned int milliseconds) {
    world.slept += milliseconds;
    world.sleep();
}

namespace {

// The times of the polls, in milliseconds.
constexpr std::array<unsigned int, 4> pollTimes{1000, 3000, 7000, 10000};

class ExchangeLoopTest : public testing::Test {
protected:
    ExchangeLoopTest() { world = World(); }

    int Exchange() { return ClientComplianceIO(request, response); }

    ClientComplianceRequest request = CreateComplianceRequestClose();
    ClientComplianceResponse response =
        MakeResponse({ClientComplianceOpen, 1, 7, 8, {{"old", "", "", "", "", ""}}});
    ResponseFields const empty = EmptyResponse(ClientComplianceClose);
};

std::size_t CurrentPoll() {
    auto const found = std::ranges::find(pollTimes, world.slept);
    if (found == pollTimes.end())
        throw std::logic_error("a poll at " + std::to_string(world.slept));
    return static_cast<std::size_t>(found - pollTimes.begin());
}

// The type of the exception of the write or the read function.
template <typename Exception>
class ExchangeFailureTest : public ExchangeLoopTest {};

using Failures =
    testing::Types<FileNotFoundError, ClientComplianceRequestIOWriteFailure,
                   ClientComplianceResponseBadDocumentType, ClientComplianceResponseReadFailure,
                   ClientComplianceResponseTypeFailure, std::bad_alloc, int>;
TYPED_TEST_SUITE(ExchangeFailureTest, Failures);

// The low four bits decide whether the request exists at each poll, the next four whether the
// response is readable. The fields of the response are those that the agent wrote. Its type is not
// compared with that of the request.
TYPED_TEST(ExchangeFailureTest, EndsWithTheFirstReadableResponse) {
    ResponseFields const published{
        ClientComplianceProgress, 3, 1, 2, {{"d", "r", "t", "e", "i", "c"}}};
    for (unsigned int bits = 0; bits < 256; ++bits) {
        SCOPED_TRACE(bits);
        auto const requestExists = [&](std::size_t poll) {
            return (bits >> poll & 1) != 0;
        };
        auto const isReadable = [&](std::size_t poll) {
            return (bits >> (4 + poll) & 1) != 0;
        };
        int result = COMPLIANCE_ERROR_NO_PICKUP;
        std::size_t last = 0;
        for (; last < 4 && result != 0; ++last)
            if (!requestExists(last))
                result = isReadable(last) ? 0 : COMPLIANCE_ERROR_BAD_RESPONSE;
        world.slept = 0;
        world.requestExists = [&] {
            return requestExists(CurrentPoll());
        };
        world.read = [&] {
            EXPECT_FALSE(requestExists(CurrentPoll()));
            if (!isReadable(CurrentPoll()))
                throw TypeParam();
            return MakeResponse(published);
        };
        EXPECT_EQ(result, this->Exchange());
        EXPECT_EQ(pollTimes[last - 1], world.slept);
        EXPECT_EQ(result == 0 ? published : this->empty, FieldsOf(this->response));
    }
    EXPECT_EQ(FieldsOf(this->request), FieldsOf(world.written));
}

TYPED_TEST(ExchangeFailureTest, EndsWithoutASleepIfTheWriteFails) {
    world.write = [] {
        throw TypeParam();
    };
    EXPECT_EQ(COMPLIANCE_ERROR_REQUEST_WRITE, this->Exchange());
    EXPECT_EQ(0U, world.slept);
    EXPECT_EQ(this->empty, FieldsOf(this->response));
}

TEST_F(ExchangeLoopTest, ExceptionInPollOrSleepIsAnExchangeError) {
    for (unsigned int const time : pollTimes) {
        auto const fail = [=] {
            if (world.slept == time)
                throw std::bad_alloc();
            return true;
        };
        world = World();
        world.requestExists = fail;
        EXPECT_EQ(COMPLIANCE_ERROR_EXCHANGE, Exchange());
        EXPECT_EQ(time, world.slept);
        world = World();
        world.sleep = fail;
        EXPECT_EQ(COMPLIANCE_ERROR_EXCHANGE, Exchange());
        EXPECT_EQ(time, world.slept);
    }
}

} // namespace
