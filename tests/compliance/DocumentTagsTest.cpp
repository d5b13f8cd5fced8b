#include "compliance/DocumentTags.h"

#include <gtest/gtest.h>

namespace {

TEST(DocumentTagsTest, WordsOfTheRequestAreFixed) {
    EXPECT_STREQ("VeskaClientComplianceRequest", xTagClientComplianceRequestDocRoot);
    EXPECT_STREQ("Version", xTagClientComplianceRequestDocVersion);
    EXPECT_STREQ("1.0", xDatClientComplianceRequestDocVersion);
    EXPECT_STREQ("RequestType", xTagClientComplianceRequestType);
    EXPECT_STREQ("RequestURL", xTagClientComplianceRequestURL);
    EXPECT_STREQ("RequestDOC", xTagClientComplianceRequestDOC);
    EXPECT_STREQ("RequestFlags", xTagClientComplianceRequestFlags);
}

TEST(DocumentTagsTest, WordsOfTheResponseAreFixed) {
    EXPECT_STREQ("VeskaClientComplianceResponse", xTagClientComplianceResponseDocRoot);
    EXPECT_STREQ("Version", xTagClientComplianceResponseDocVersion);
    EXPECT_STREQ("1.0", xDatClientComplianceResponseDocVersion);
    EXPECT_STREQ("ResponseType", xTagClientComplianceResponseType);
    EXPECT_STREQ("ResponseProgressState", xTagClientComplianceResponseProgressState);
    EXPECT_STREQ("ResponseProgressError", xTagClientComplianceResponseProgressError);
    EXPECT_STREQ("ResponseProgressPercent", xTagClientComplianceResponseProgressPercent);
    EXPECT_STREQ("ResponseItem", xTagClientComplianceResponseItem);
    EXPECT_STREQ("Designator", xTagResponseDesignator);
    EXPECT_STREQ("Result", xTagResponseResult);
    EXPECT_STREQ("ResultType", xTagResponseResultType);
    EXPECT_STREQ("EvaluationTime", xTagResponseEvaluationTime);
    EXPECT_STREQ("Description", xTagResponseDescription);
    EXPECT_STREQ("Comment", xTagResponseComment);
}

} // namespace
