#include "companions/QueryExit.h"

#include "tests/companions/CompanionTest.h"
#include "tests/system/RecordLock.h"

namespace {

QueryExit StatusOf(int code) { return DescribeCode(code).status; }

TEST(QueryExitTest, EachCodeHasItsStatus) {
    for (auto const& [status, codes] :
         {std::pair{QueryExit::noAgent, std::vector{-1, -2, -4}},
          {QueryExit::timeOut, {-3}},
          {QueryExit::busy, {-5, -15}},
          {QueryExit::badAnswer, {-7}},
          // Including unknown codes.
          {QueryExit::exchangeFailed, {-16, -17, -19, -8, -9, -18, -20, -21, -22, -1000, 0, 7}}})
        for (int const code : codes)
            EXPECT_EQ(status, StatusOf(code)) << code;
}

SANDBOX_TEST(QueryExitTest, RefusedLockIsExamined) {
    EXPECT_EQ(QueryExit::noAgent, StatusOf(-6));
    Sandbox::InstallAgent();
    ForeignLock const lock;
    EXPECT_EQ(QueryExit::busy, StatusOf(-6));
    EXPECT_TRUE(DescribeCode(-6).message.ends_with(" (code -6)"));
}

TEST(QueryExitTest, CodesOfOpenAndProgressHaveOwnMessages) {
    std::set<std::string> seen;
    for (int const code : {-1, -2, -3, -4, -5, -7, -15, -16, -17, -19}) {
        std::string const message = DescribeCode(code).message;
        std::string const number = " (code " + std::to_string(code) + ")";
        ASSERT_TRUE(message.ends_with(number)) << message;
        EXPECT_TRUE(seen.insert(message.substr(0, message.size() - number.size())).second)
            << message;
        EXPECT_EQ(std::string::npos, message.find('\n'));
    }
    EXPECT_EQ("the evaluation failed (code -18)", DescribeCode(-18).message);
}

TEST(QueryExitTest, DescribesErrorsOfTheAgent) {
    EXPECT_EQ("the agent is not available right now (error -22)", DescribeAgentError(-22).message);
    EXPECT_EQ("the agent reports the error 0", DescribeAgentError(0).message);
    EXPECT_EQ("the agent reports the error 22", DescribeAgentError(22).message);
    EXPECT_EQ(QueryExit::agentError, DescribeAgentError(-22).status);
}

TEST(QueryExitTest, WaitingRequestAndUnavailableAgentAreTemporary) {
    EXPECT_TRUE(DescribeCode(-5).temporary);
    EXPECT_TRUE(DescribeAgentError(-22).temporary);
    for (int const code : {-1, -2, -3, -4, -7, -15, -16, -17, -19, -18})
        EXPECT_FALSE(DescribeCode(code).temporary) << code;
    EXPECT_FALSE(DescribeAgentError(22).temporary);
}

// Scripts depend on the numbers and the words.
TEST(QueryExitTest, NumbersAndWordsAreStable) {
    std::ostringstream table;
    for (QueryExitFacts const& facts : queryExitTable)
        table << static_cast<int>(facts.status) << ' ' << facts.word << '\n';
    EXPECT_EQ("0 finished\n1 agent-error\n2 usage\n3 no-agent\n4 busy\n5 time-out\n6 bad-answer\n"
              "7 exchange-failed\n8 output-failed\n9 stale\n10 other-result\n11 no-rows\n"
              "128 signal\n",
              table.str());
}

TEST(QueryExitTest, ListsStatusesInAlignedColumns) {
    std::istringstream lines(ListQueryExits());
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        EXPECT_THAT(line, testing::MatchesRegex("(    [0-9]|   1[0-9]|  128 [+] n)  [a-z].*"));
    EXPECT_EQ(queryExitTable.size(), count);
}

TEST(QueryExitTest, ExplainsEachStatus) {
    for (QueryExitFacts const& facts : queryExitTable) {
        bool const isSignal = facts.status == QueryExit::stopped;
        std::string const number =
            isSignal ? "143" : std::to_string(static_cast<int>(facts.status));
        EXPECT_EQ(number + " (" + std::string(facts.word) + "): " + std::string(facts.summary) +
                      "\nCause: " + std::string(facts.cause) +
                      "\nRemedy: " + std::string(facts.remedy) + "\n",
                  ExplainQueryExit(number));
    }
    EXPECT_TRUE(ExplainQueryExit("9").starts_with("9 (stale): the response existed before"));
}

TEST(QueryExitTest, AcceptsOnlyNumbersOfExitStatuses) {
    for (std::string const text : {"0", "11", "129", "130", "143"})
        EXPECT_TRUE(IsQueryExit(text)) << text;
    for (std::string const text : {"", "12", "128", "-1", "03", "x", "1 ", "137"})
        EXPECT_FALSE(IsQueryExit(text)) << text;
}

} // namespace
