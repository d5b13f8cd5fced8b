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

// The state of the documents at each poll.
struct Course {
    std::array<bool, 4> requestExists{};
    std::array<bool, 4> isReadable{};

    // The low four bits are requestExists, the next four isReadable.
    explicit Course(unsigned int bits) {
        for (std::size_t poll = 0; poll < 4; ++poll) {
            requestExists[poll] = (bits >> poll & 1) != 0;
            isReadable[poll] = (bits >> (4 + poll) & 1) != 0;
        }
    }

    int Result() const {
        int code = COMPLIANCE_ERROR_NO_PICKUP;
        for (std::size_t poll = 0; poll < 4; ++poll)
            if (!requestExists[poll])
                code = isReadable[poll] ? 0 : code == 0 ? 0 : COMPLIANCE_ERROR_BAD_RESPONSE;
        return code;
    }

    // The time of the first poll that finds a response, or of the last poll.
    unsigned int End() const {
        for (std::size_t poll = 0; poll < 4; ++poll)
            if (!requestExists[poll] && isReadable[poll])
                return pollTimes[poll];
        return pollTimes.back();
    }
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

// The fields of the response are those that the agent wrote. Its type is not compared with that of
// the request.
TYPED_TEST(ExchangeFailureTest, EndsWithTheFirstReadableResponse) {
    ResponseFields const answer{
        ClientComplianceProgress, 3, 1, 2, {{"d", "r", "t", "e", "i", "c"}}};
    for (unsigned int bits = 0; bits < 256; ++bits) {
        Course const course(bits);
        world.slept = 0;
        world.requestExists = [&] {
            return course.requestExists[CurrentPoll()];
        };
        world.read = [&] {
            EXPECT_FALSE(course.requestExists[CurrentPoll()]) << bits;
            if (!course.isReadable[CurrentPoll()])
                throw TypeParam();
            return MakeResponse(answer);
        };
        EXPECT_EQ(course.Result(), this->Exchange()) << bits;
        EXPECT_EQ(course.End(), world.slept) << bits;
        EXPECT_EQ(course.Result() == 0 ? answer : this->empty, FieldsOf(this->response)) << bits;
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

TEST_F(ExchangeLoopTest, FailedPollOrSleepEndsIt) {
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
