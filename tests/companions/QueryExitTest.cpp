#include "companions/QueryExit.h"

#include <gtest/gtest.h>

#include <set>

namespace {

TEST(QueryExitTest, EachCodeHasItsStatus) {
    EXPECT_EQ(QueryExit::noAgent, QueryExitOfCode(-1));
    EXPECT_EQ(QueryExit::noAgent, QueryExitOfCode(-2));
    EXPECT_EQ(QueryExit::timeOut, QueryExitOfCode(-3));
    EXPECT_EQ(QueryExit::noAgent, QueryExitOfCode(-4));
    EXPECT_EQ(QueryExit::busy, QueryExitOfCode(-5));
    EXPECT_EQ(QueryExit::busy, QueryExitOfCode(-6));
    EXPECT_EQ(QueryExit::badAnswer, QueryExitOfCode(-7));
    EXPECT_EQ(QueryExit::busy, QueryExitOfCode(-15));
    EXPECT_EQ(QueryExit::exchangeFailed, QueryExitOfCode(-16));
    EXPECT_EQ(QueryExit::exchangeFailed, QueryExitOfCode(-17));
    EXPECT_EQ(QueryExit::exchangeFailed, QueryExitOfCode(-19));
}

TEST(QueryExitTest, CodeThatNobodyReturnsIsAFailedExchange) {
    for (int const code : {-8, -9, -18, -20, -21, -22, -1000, 0, 7})
        EXPECT_EQ(QueryExit::exchangeFailed, QueryExitOfCode(code)) << code;
}

// The numbers that scripts know.
TEST(QueryExitTest, Numbers) {
    EXPECT_EQ(0, static_cast<int>(QueryExit::finished));
    EXPECT_EQ(1, static_cast<int>(QueryExit::agentError));
    EXPECT_EQ(2, static_cast<int>(QueryExit::usage));
    EXPECT_EQ(3, static_cast<int>(QueryExit::noAgent));
    EXPECT_EQ(4, static_cast<int>(QueryExit::busy));
    EXPECT_EQ(5, static_cast<int>(QueryExit::timeOut));
    EXPECT_EQ(6, static_cast<int>(QueryExit::badAnswer));
    EXPECT_EQ(7, static_cast<int>(QueryExit::exchangeFailed));
    EXPECT_EQ(8, static_cast<int>(QueryExit::outputFailed));
    EXPECT_EQ(10, static_cast<int>(QueryExit::otherResult));
}

TEST(QueryExitTest, EachCodeHasWordsOfItsOwnAndItsNumber) {
    std::set<std::string> seen;
    for (int const code : {-1, -2, -3, -4, -5, -6, -7, -15, -16, -17, -19}) {
        std::string const words = DescribeCode(code);
        std::string const number = " (code " + std::to_string(code) + ")";
        ASSERT_TRUE(words.ends_with(number)) << words;
        EXPECT_TRUE(seen.insert(words.substr(0, words.size() - number.size())).second) << words;
        EXPECT_EQ(std::string::npos, words.find('\n'));
    }
    EXPECT_EQ("the evaluation failed (code -18)", DescribeCode(-18));
}

// A machine without the agent gives the same code as a lock that is held.
TEST(QueryExitTest, RefusedLockPointsToTheDoctor) {
    EXPECT_NE(std::string::npos, DescribeCode(-6).find("compliance-doctor"));
    EXPECT_NE(std::string::npos, DescribeCode(-5).find("compliance-doctor"));
}

TEST(QueryExitTest, OneErrorOfTheAgentHasWords) {
    EXPECT_EQ("the agent is not available right now (error -22)", DescribeAgentError(-22));
    EXPECT_EQ("the agent reports the error 0", DescribeAgentError(0));
    EXPECT_EQ("the agent reports the error 22", DescribeAgentError(22));
}

} // namespace
