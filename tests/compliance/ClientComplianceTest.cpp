#include "compliance/ClientCompliance.h"

#include <exception>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "compliance/InterProcessLock.h"
#include "data/DebuggableException.h"
#include "tests/compliance/Records.h"

namespace {

TEST(ClientComplianceTest, TypesAndStatesHaveFixedNumbersAndTexts) {
    EXPECT_EQ(0, ClientComplianceOpen);
    EXPECT_EQ(1, ClientComplianceClose);
    EXPECT_EQ(2, ClientComplianceProgress);
    EXPECT_EQ(4U, sizeof(ClientComplianceType));
    EXPECT_STREQ("Open", xDatClientComplianceTypeOpen);
    EXPECT_STREQ("Close", xDatClientComplianceTypeClose);
    EXPECT_STREQ("Progress", xDatClientComplianceTypeProgress);
    EXPECT_EQ(1, ClientComplianceStateFinished);
    EXPECT_EQ(2, ClientComplianceStateError);
    EXPECT_EQ(3, ClientComplianceStateInProgress);
}

TEST(ClientComplianceTest, OnlyOpenRequestsHaveTextsAndFlags) {
    EXPECT_EQ(RequestFields(ClientComplianceOpen, "u", "d", 0xFFFFFFFFU),
              FieldsOf(CreateComplianceRequestOpen("u", "d", 0xFFFFFFFFU)));
    EXPECT_EQ(RequestFields(ClientComplianceOpen, "", "", 0),
              FieldsOf(CreateComplianceRequestOpen(nullptr, nullptr, 0)));
    EXPECT_EQ(RequestFields(ClientComplianceClose, "", "", 0),
              FieldsOf(CreateComplianceRequestClose()));
    EXPECT_EQ(RequestFields(ClientComplianceProgress, "", "", 0),
              FieldsOf(CreateComplianceRequestProgress()));
}

TEST(ClientComplianceTest, RowStoresItsTextsInOrderAndNullAsEmpty) {
    EXPECT_EQ((RowTexts{"a", "b", "c", "d", "e", "f"}),
              TextsOf(ClientComplianceResponseItem("a", "b", "c", "d", "e", "f")));
    EXPECT_EQ(RowTexts(), TextsOf(ClientComplianceResponseItem(nullptr, nullptr, nullptr, nullptr,
                                                               nullptr, nullptr)));
}

TEST(ClientComplianceTest, NewResponseIsAnErrorWithNumberZero) {
    EXPECT_EQ(EmptyResponse(ClientComplianceClose),
              FieldsOf(ClientComplianceResponse(ClientComplianceClose)));
}

TEST(ClientComplianceTest, ResetLeavesAnEmptyProgressResponseAndTheCapacity) {
    ClientComplianceResponse response =
        MakeResponse({ClientComplianceClose, 1, 5, 6, std::vector<RowTexts>(9)});
    auto const capacity = response.items.capacity();
    response.Reset();
    EXPECT_EQ(EmptyResponse(ClientComplianceProgress), FieldsOf(response));
    EXPECT_EQ(capacity, response.items.capacity());
}

TEST(ClientComplianceTest, BothOverloadsOfAddAppendARow) {
    ClientComplianceResponse response(ClientComplianceProgress);
    response.Add(ClientComplianceResponseItem("1", "2", "3", "4", "5", "6"));
    response.Add("a", nullptr, "c", "d", "e", "f");
    EXPECT_EQ(ResponseFields(ClientComplianceProgress, 2, 0, 0,
                             {{"1", "2", "3", "4", "5", "6"}, {"a", "", "c", "d", "e", "f"}}),
              FieldsOf(response));
}

TEST(ClientComplianceTest, AddOfItsOwnRowIsSafeWhenTheArrayGrows) {
    ClientComplianceResponse response(ClientComplianceProgress);
    response.Add("a text that is too long to be held inside a string object", "", "", "", "", "");
    for (int round = 0; round < 20; ++round)
        response.Add(response[0]);
    EXPECT_EQ(response[0].designator, response[20].designator);
}

template <typename Exception>
class ExchangeExceptionTest : public testing::Test {};

using ExchangeExceptions =
    testing::Types<InterProcessLockCreateError, ClientComplianceRequestIOWriteFailure,
                   ClientComplianceResponseIOWriteFailure, ClientComplianceResponseReadFailure,
                   ClientComplianceResponseBadDocumentType, ClientComplianceResponseTypeFailure>;
TYPED_TEST_SUITE(ExchangeExceptionTest, ExchangeExceptions);

// Handlers for std::exception and DebuggableException do not catch it.
TYPED_TEST(ExchangeExceptionTest, IsEmptyAndDerivesFromNoExceptionClass) {
    EXPECT_TRUE(std::is_empty_v<TypeParam>);
    EXPECT_FALSE((std::is_base_of_v<std::exception, TypeParam>));
    EXPECT_FALSE((std::is_base_of_v<DebuggableException, TypeParam>));
}

} // namespace
