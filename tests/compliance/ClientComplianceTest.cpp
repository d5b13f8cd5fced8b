#include "compliance/ClientCompliance.h"

#include <exception>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "compliance/InterProcessLock.h"
#include "data/DebuggableException.h"

namespace {

TEST(ClientComplianceTest, TypesHaveTheirNumbersAndTexts) {
    EXPECT_EQ(0, ClientComplianceOpen);
    EXPECT_EQ(1, ClientComplianceClose);
    EXPECT_EQ(2, ClientComplianceProgress);
    EXPECT_EQ(4U, sizeof(ClientComplianceType));
    EXPECT_STREQ("Open", xDatClientComplianceTypeOpen);
    EXPECT_STREQ("Close", xDatClientComplianceTypeClose);
    EXPECT_STREQ("Progress", xDatClientComplianceTypeProgress);
}

TEST(ClientComplianceTest, StatesHaveTheirNumbers) {
    EXPECT_EQ(1, ClientComplianceStateFinished);
    EXPECT_EQ(2, ClientComplianceStateError);
    EXPECT_EQ(3, ClientComplianceStateInProgress);
}

TEST(ClientComplianceTest, OpenRequestCarriesAllThatWasGiven) {
    ClientComplianceRequest const request = CreateComplianceRequestOpen("u", "d", 0xFFFFFFFFU);
    EXPECT_EQ(ClientComplianceOpen, request.type);
    EXPECT_EQ("u", request.url);
    EXPECT_EQ("d", request.doc);
    EXPECT_EQ(0xFFFFFFFFU, request.flags);
}

TEST(ClientComplianceTest, OpenRequestTakesNullAsEmptyText) {
    ClientComplianceRequest const request = CreateComplianceRequestOpen(nullptr, nullptr, 0);
    EXPECT_EQ("", request.url);
    EXPECT_EQ("", request.doc);
}

TEST(ClientComplianceTest, CloseAndProgressRequestsAreEmptyButForTheirType) {
    for (ClientComplianceRequest const& request :
         {CreateComplianceRequestClose(), CreateComplianceRequestProgress()}) {
        EXPECT_EQ("", request.url);
        EXPECT_EQ("", request.doc);
        EXPECT_EQ(0U, request.flags);
    }
    EXPECT_EQ(ClientComplianceClose, CreateComplianceRequestClose().type);
    EXPECT_EQ(ClientComplianceProgress, CreateComplianceRequestProgress().type);
}

TEST(ClientComplianceTest, RowOfSixNullsHasSixEmptyPrintableTexts) {
    ClientComplianceResponseItem const row(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_STREQ("", row.designator.c_str());
    EXPECT_STREQ("", row.result.c_str());
    EXPECT_STREQ("", row.resultType.c_str());
    EXPECT_STREQ("", row.evaluationTime.c_str());
    EXPECT_STREQ("", row.description.c_str());
    EXPECT_STREQ("", row.comment.c_str());
}

TEST(ClientComplianceTest, RowTakesItsTextsInOrder) {
    ClientComplianceResponseItem const row("a", "b", "c", "d", "e", "f");
    EXPECT_EQ("a", row.designator);
    EXPECT_EQ("b", row.result);
    EXPECT_EQ("c", row.resultType);
    EXPECT_EQ("d", row.evaluationTime);
    EXPECT_EQ("e", row.description);
    EXPECT_EQ("f", row.comment);
}

TEST(ClientComplianceTest, NewResponseCountsAsErrorZero) {
    ClientComplianceResponse const response(ClientComplianceClose);
    EXPECT_EQ(ClientComplianceClose, response.type);
    EXPECT_EQ(0U, response.GetComplianceCount());
    EXPECT_EQ(0, response.error);
    EXPECT_EQ(0, response.percent);
    EXPECT_EQ(2, response.state);
}

TEST(ClientComplianceTest, ResetMakesAnyTypeProgressAndKeepsTheStorage) {
    ClientComplianceResponse response(ClientComplianceClose);
    for (int row = 0; row < 9; ++row)
        response.Add("a", "b", "c", "d", "e", "f");
    response.error = 5;
    response.percent = 6;
    response.state = 1;
    auto const capacity = response.items.capacity();

    response.Reset();

    EXPECT_EQ(ClientComplianceProgress, response.type);
    EXPECT_EQ(0U, response.GetComplianceCount());
    EXPECT_EQ(capacity, response.items.capacity());
    EXPECT_EQ(0, response.error);
    EXPECT_EQ(0, response.percent);
    EXPECT_EQ(2, response.state);
}

TEST(ClientComplianceTest, BothFormsOfAddAppendAtTheEnd) {
    ClientComplianceResponse response(ClientComplianceProgress);
    ClientComplianceResponseItem const row("1", "2", "3", "4", "5", "6");
    response.Add(row);
    response.Add("a", nullptr, "c", "d", "e", "f");
    ASSERT_EQ(2U, response.GetComplianceCount());
    EXPECT_EQ("1", response[0].designator);
    EXPECT_EQ("6", response[0].comment);
    EXPECT_EQ("a", response[1].designator);
    EXPECT_EQ("", response[1].result);
    EXPECT_EQ("f", response[1].comment);
}

TEST(ClientComplianceTest, AddOfAnOwnRowSurvivesTheGrowthOfTheArray) {
    ClientComplianceResponse response(ClientComplianceProgress);
    response.Add("a text that is too long to be held inside a string object", "", "", "", "", "");
    for (int round = 0; round < 20; ++round)
        response.Add(response[0]);
    EXPECT_EQ(response[0].designator, response[20].designator);
}

// Only a handler for all exceptions, or for the very class, is to stop these.
TEST(ClientComplianceTest, ExceptionsOfTheExchangeAreEmptyAndHaveNoBase) {
    EXPECT_TRUE(std::is_empty_v<ClientComplianceRequestIOWriteFailure>);
    EXPECT_TRUE(std::is_empty_v<ClientComplianceResponseIOWriteFailure>);
    EXPECT_TRUE(std::is_empty_v<ClientComplianceResponseReadFailure>);
    EXPECT_TRUE(std::is_empty_v<ClientComplianceResponseBadDocumentType>);
    EXPECT_TRUE(std::is_empty_v<ClientComplianceResponseTypeFailure>);
    EXPECT_FALSE((std::is_base_of_v<std::exception, ClientComplianceRequestIOWriteFailure>));
    EXPECT_FALSE((std::is_base_of_v<std::exception, ClientComplianceResponseIOWriteFailure>));
    EXPECT_FALSE((std::is_base_of_v<std::exception, ClientComplianceResponseReadFailure>));
    EXPECT_FALSE((std::is_base_of_v<std::exception, ClientComplianceResponseBadDocumentType>));
    EXPECT_FALSE((std::is_base_of_v<std::exception, ClientComplianceResponseTypeFailure>));
}

template <class Exception>
std::string HandlerThatStops() {
    try {
        throw Exception();
    } catch (DebuggableException const&) {
        return "DebuggableException";
    } catch (std::exception const&) {
        return "std::exception";
    } catch (...) {
        return "all";
    }
}

TEST(ClientComplianceTest, HandlersOfBothRootsLetTheExceptionsOfTheExchangePass) {
    EXPECT_EQ("all", HandlerThatStops<InterProcessLockCreateError>());
    EXPECT_EQ("all", HandlerThatStops<ClientComplianceRequestIOWriteFailure>());
    EXPECT_EQ("all", HandlerThatStops<ClientComplianceResponseIOWriteFailure>());
    EXPECT_EQ("all", HandlerThatStops<ClientComplianceResponseReadFailure>());
    EXPECT_EQ("all", HandlerThatStops<ClientComplianceResponseTypeFailure>());
    EXPECT_EQ("all", HandlerThatStops<ClientComplianceResponseBadDocumentType>());
}

} // namespace
