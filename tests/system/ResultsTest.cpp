// What the tool prints of the agent's answers, byte for byte.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include "tests/support/PrivateMachine.h"
#include "tests/system/Documents.h"
#include "tests/system/Tool.h"

namespace {

using PrivateMachine::CreateAgentDirectories;

// An evaluation with these answers to its polls, of which the last one ends it. A close is sent
// whatever came of it, and the exit status is 0.
void ExpectOutput(std::string const& output, std::vector<std::string> const& answers) {
    PrivateMachine::Run([&] {
        AgentScript script;
        script.Answer(OpenAnswer());
        for (std::string const& answer : answers)
            script.Answer(answer);
        auto const evaluation = Evaluate(script.Answer(CloseAnswer()));
        EXPECT_EQ(output, evaluation.tool.output);
        EXPECT_EQ(ExitStatus::Exited(0), evaluation.tool.status);
        ASSERT_EQ(answers.size() + 2, evaluation.requests.size());
        EXPECT_EQ(closeRequest, evaluation.requests.back().bytes);
    });
}

void ExpectOutput(std::string const& output, std::string const& answer) {
    ExpectOutput(output, std::vector<std::string>{answer});
}

std::string Finished(std::string const& rows) { return ProgressAnswer("1", "0", "100", rows); }

constexpr char resultsOfEmptyRow[] = "    Designator: \n"
                                     "        Result: \n"
                                     "   Result Type: \n"
                                     "Eval Time (\xB5s): \n"
                                     "          Desc: \n"
                                     "       Comment: \n"
                                     "\n";

// The six lines of a row and the empty one, by a description alone.
std::string ResultsWithDescription(std::string const& description) {
    return "    Designator: d\n"
           "        Result: r\n"
           "   Result Type: t\n"
           "Eval Time (\xB5s): 1\n"
           "          Desc: " +
           description +
           "\n"
           "       Comment: c\n"
           "\n";
}

// For each document that is read, and not for how it looks: a row whose description is its point.
void ExpectDescription(std::string const& description, std::string const& between) {
    ExpectOutput("COMPLIANCE_ResultCount is 1.\n" + ResultsWithDescription(description),
                 Finished(Row("d", "r", "t", "1", between, "c")));
}

TEST(ResultsTest, RowsInTheirOrderByteForByte) {
    ExpectOutput("COMPLIANCE_ResultCount is 3.\n"
                 "    Designator: baseline-001\n"
                 "        Result: Compliant\n"
                 "   Result Type: pass/fail\n"
                 "Eval Time (\xB5s): 1523\n"
                 "          Desc: R&D <share>\n"
                 "       Comment: \xE9t\xC3\xA9 \xFF\n"
                 "\n"
                 "    Designator: \n"
                 "        Result: \n"
                 "   Result Type: \n"
                 "Eval Time (\xB5s): \n"
                 "          Desc: \n"
                 "       Comment: \n"
                 "\n"
                 "    Designator: z\n"
                 "        Result: %s%n\n"
                 "   Result Type: \"t\"\n"
                 "Eval Time (\xB5s): no number\n"
                 "          Desc:  blanks  \n"
                 "       Comment: \tlast\n"
                 "\n",
                 Finished(Row("baseline-001", "Compliant", "pass/fail", "1523",
                              "R&amp;D &lt;share&gt;", "&#xe9;t&#xc3;&#xa9; &#xff;") +
                          Row("", "", "", "", "", "") +
                          Row("z", "%s%n", "\"t\"", "no number", " blanks  ", "\tlast")));
}

// In the label, whatever the locale, and in what the agent wrote raw or escaped.
TEST(ResultsTest, MicroSignIsTheOneByteB5) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent(
            AgentScript()
                .Answer(OpenAnswer())
                .Answer(Finished(Row("d", "r", "t", "1", "\xB5 &#xb5; &#xB5;", "c")))
                .Answer(CloseAnswer()));
        ToolRun const run = RunTool(
            {"-d"}, {.environment = {{"LC_ALL=C.UTF-8", "LANG=de_DE.UTF-8", "LANGUAGE=de"}}});
        size_t const label = run.output.find("Eval Time (");
        ASSERT_NE(std::string::npos, label);
        EXPECT_EQ("Eval Time (\xB5s): 1\n", run.output.substr(label, 18));
        EXPECT_EQ("COMPLIANCE_ResultCount is 1.\n" + ResultsWithDescription("\xB5 \xB5 \xB5"),
                  run.output);
    });
}

TEST(ResultsTest, NoRows) { ExpectOutput("COMPLIANCE_ResultCount is 0.\n", Finished("")); }

// Long enough that the reading of the document is cut many times.
TEST(ResultsTest, ThousandRows) {
    std::string rows;
    std::string output = "COMPLIANCE_ResultCount is 1000.\n";
    for (int i = 0; i < 1000; ++i) {
        std::string const number = std::to_string(i);
        rows += Row(number, "Result &amp; " + number, "t" + number, number + "000",
                    std::string(static_cast<size_t>(i), 'x'), "&#xb5;" + number);
        output += "    Designator: " + number + "\n" + "        Result: Result & " + number + "\n" +
                  "   Result Type: t" + number + "\n" + "Eval Time (\xB5s): " + number + "000\n" +
                  "          Desc: " + std::string(static_cast<size_t>(i), 'x') + "\n" +
                  "       Comment: \xB5" + number + "\n\n";
    }
    ExpectOutput(output, Finished(rows));
}

TEST(ResultsTest, TextOfMegabytes) {
    std::string between;
    std::string description;
    for (int i = 0; i < 500'000; ++i) {
        between += i % 5 == 0 ? "&#xfe;" : "text";
        description += i % 5 == 0 ? "\xFE" : "text";
    }
    ExpectDescription(description, between);
}

TEST(ResultsTest, LineEndsInTextsStandAsTheyAre) {
    ExpectDescription("one\r\ntwo\nthree\rfour\n\n", "one\r\ntwo\nthree\rfour\n\n");
}

TEST(ResultsTest, TextEndsAtItsFirstZeroByte) {
    ExpectDescription("before", std::string("before&#x0;behind"));
}

TEST(ResultsTest, TextEndsAtItsFirstRawZeroByte) {
    ExpectDescription("before", std::string("before\0behind", 13));
}

// Deliberate: only these four names and hexadecimal bytes are known.
TEST(ResultsTest, UnknownEscapesStandAsTheyAre) {
    ExpectDescription("<>&\" &apos; &#65; &#x100; &#X41; A \xFF",
                      "&lt;&gt;&amp;&quot; &apos; &#65; &#x100; &#X41; &#x41; &#x0000ff;");
}

TEST(ResultsTest, CommentsAndCDataInTexts) {
    ExpectDescription("a<&amp;]b", "a<!-- dropped --><![CDATA[<&amp;]]]>b");
}

TEST(ResultsTest, RowWithoutChildrenIsKept) {
    ExpectOutput("COMPLIANCE_ResultCount is 2.\n" + std::string(resultsOfEmptyRow) +
                     resultsOfEmptyRow,
                 Finished("<ResponseItem></ResponseItem>"
                          "<ResponseItem><designator>x</designator></ResponseItem>"));
}

TEST(ResultsTest, ChildrenInAnyOrderUnknownOnesAndTheLastOfRepeatedOnes) {
    ExpectOutput("COMPLIANCE_ResultCount is 1.\n" + ResultsWithDescription("last"),
                 Response("<ResponseItem><Comment>c</Comment><Description>first</Description>"
                          "<EvaluationTime>1</EvaluationTime><Other>x</Other>"
                          "<Description>last</Description><ResultType>t</ResultType>"
                          "<Designator>d</Designator><Result>r</Result></ResponseItem>"
                          "<ResponseProgressState>3</ResponseProgressState>"
                          "<Unknown><ResponseProgressState>2</ResponseProgressState></Unknown>"
                          "<ResponseProgressState>1</ResponseProgressState>"
                          "<ResponseType>Progress</ResponseType>"));
}

TEST(ResultsTest, VersionAndDeclarationAreNotLookedAt) {
    ExpectOutput("COMPLIANCE_ResultCount is 0.\n",
                 "<VeskaClientComplianceResponse><ResponseType>Progress</ResponseType>"
                 "<ResponseProgressState>1</ResponseProgressState>"
                 "</VeskaClientComplianceResponse>\n\n");
}

// Deliberate: neither the type nor its place among the progress elements is compared.
TEST(ResultsTest, AnswerOfAnotherTypeIsTaken) {
    ExpectOutput("COMPLIANCE_ResultCount is 1.\n" + ResultsWithDescription("x"),
                 Response("<ResponseType>Close</ResponseType>"
                          "<ResponseProgressState>1</ResponseProgressState>" +
                          Row("d", "r", "t", "1", "x", "c")));
}

TEST(ResultsTest, UnknownTypeBesideAKnownOneIsPassedOver) {
    ExpectOutput("COMPLIANCE_ResultCount is 0.\n",
                 Response("<ResponseType>Open</ResponseType><ResponseType>open</ResponseType>"
                          "<ResponseProgressState>1</ResponseProgressState>"));
}

// The answer to the opening request says nothing to the tool, whatever stands in it.
TEST(ResultsTest, ContentOfTheFirstAnswerIsNotLookedAt) {
    PrivateMachine::Run([] {
        auto const evaluation = Evaluate(
            AgentScript()
                .Answer(ProgressAnswer("2", "-22", "50", Row("x", "x", "x", "x", "x", "x")))
                .Answer(Finished(""))
                .Answer(ProgressAnswer("2", "5")));
        EXPECT_EQ("COMPLIANCE_ResultCount is 0.\n", evaluation.tool.output);
        EXPECT_EQ(ExitStatus::Exited(0), evaluation.tool.status);
    });
}

TEST(ResultsTest, ErrorStatePrintsTheNumber) {
    ExpectOutput("COMPLIANCE_Progress returned error 5.\n", ProgressAnswer("2", "5"));
}

TEST(ResultsTest, ErrorStateWithNumberZero) {
    ExpectOutput("COMPLIANCE_Progress returned error 0.\n", ProgressAnswer("2", "0"));
}

TEST(ResultsTest, ErrorStateWithNegativeNumber) {
    ExpectOutput("COMPLIANCE_Progress returned error -2147483648.\n",
                 ProgressAnswer("2", "-2147483648"));
}

TEST(ResultsTest, ErrorStateWithTextThatIsNoNumber) {
    ExpectOutput("COMPLIANCE_Progress returned error 0.\n", ProgressAnswer("2", "none"));
}

TEST(ResultsTest, ErrorMinus22HasItsOwnText) {
    ExpectOutput("Client reports not available right now.\n", ProgressAnswer("2", "-22"));
}

TEST(ResultsTest, RowsOfAnErrorAreNotPrinted) {
    ExpectOutput("COMPLIANCE_Progress returned error 22.\n",
                 ProgressAnswer("2", "22", "100", Row("d", "r", "t", "1", "x", "c")));
}

TEST(ResultsTest, MissingStateCountsAsErrorZero) {
    ExpectOutput("COMPLIANCE_Progress returned error 0.\n",
                 Response("\t<ResponseType>Progress</ResponseType>\r\n"));
}

TEST(ResultsTest, MissingStateWithAnErrorPrintsIt) {
    ExpectOutput("Client reports not available right now.\n",
                 Response("<ResponseType>Progress</ResponseType>"
                          "<ResponseProgressError>-22</ResponseProgressError>"));
}

// Any other state is a bad response, and the tool has no word for that.
TEST(ResultsTest, StateZeroIsSilent) { ExpectOutput("", ProgressAnswer("0")); }

TEST(ResultsTest, StateFourIsSilent) {
    ExpectOutput("", ProgressAnswer("4", "5", "50", Row("d", "r", "t", "1", "x", "c")));
}

TEST(ResultsTest, NegativeStateIsSilent) { ExpectOutput("", ProgressAnswer("-1")); }

TEST(ResultsTest, StateThatIsNoNumberIsSilent) { ExpectOutput("", ProgressAnswer("finished")); }

TEST(ResultsTest, EmptyStateIsSilent) { ExpectOutput("", ProgressAnswer("")); }

TEST(ResultsTest, StateIsReadByTheRulesOfAtoi) {
    ExpectOutput("COMPLIANCE_Progress 7% completed.\n"
                 "COMPLIANCE_ResultCount is 0.\n",
                 {ProgressAnswer("3abc", "0", "7%"), ProgressAnswer(" \r\n\t+1.9")});
}

TEST(ResultsTest, ProgressLinesRepeatAsLongAsTheAgentSaysSo) {
    ExpectOutput("COMPLIANCE_Progress 0% completed.\n"
                 "COMPLIANCE_Progress 50% completed.\n"
                 "COMPLIANCE_Progress 50% completed.\n"
                 "COMPLIANCE_ResultCount is 1.\n" +
                     ResultsWithDescription("x"),
                 {ProgressAnswer("3", "0", "0"), ProgressAnswer("3", "0", "50"),
                  ProgressAnswer("3", "0", "50"), Finished(Row("d", "r", "t", "1", "x", "c"))});
}

// Handed through as it stands; and nothing of an answer is left in the next one.
TEST(ResultsTest, PercentHasNoRangeAndEachAnswerStandsAlone) {
    ExpectOutput("COMPLIANCE_Progress -5% completed.\n"
                 "COMPLIANCE_Progress 2147483647% completed.\n"
                 "COMPLIANCE_Progress 0% completed.\n"
                 "COMPLIANCE_Progress returned error 0.\n",
                 {ProgressAnswer("3", "-22", "-5", Row("d", "r", "t", "1", "x", "c")),
                  ProgressAnswer("3", "0", "2147483647"),
                  Response("<ResponseType>Progress</ResponseType>"
                           "<ResponseProgressState>3</ResponseProgressState>"),
                  Response("<ResponseType>Progress</ResponseType>")});
}

// With a reader that is no terminal the text comes when the library's buffer is full or at the end.
TEST(ResultsTest, OutputIsNotFlushedLineByLine) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent(AgentScript()
                                .Answer(OpenAnswer())
                                .Answer(ProgressAnswer("3", "0", "10"))
                                .Answer(Finished(""))
                                .Answer(CloseAnswer()));
        Tool tool({"-d"});
        agent.AwaitRequests(4);
        EXPECT_EQ("", tool.Output());
        EXPECT_EQ("COMPLIANCE_Progress 10% completed.\n"
                  "COMPLIANCE_ResultCount is 0.\n",
                  tool.Wait().output);
    });
}

// On a terminal each line comes when it is said.
TEST(ResultsTest, OutputToATerminalComesLineByLine) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        int const terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_LE(0, terminal);
        ASSERT_EQ(0, grantpt(terminal));
        ASSERT_EQ(0, unlockpt(terminal));
        std::string const name = ptsname(terminal);
        ScriptedAgent agent(
            AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("3", "0", "10")));
        Tool tool({"-d"}, {.prepare = [&] {
                      int const file = open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
                      return file >= 0 && dup2(file, STDOUT_FILENO) == STDOUT_FILENO;
                  }});
        agent.AwaitEnd();
        char text[100];
        ssize_t const length = read(terminal, text, sizeof text);
        ASSERT_LT(0, length);
        EXPECT_EQ("COMPLIANCE_Progress 10% completed.\r\n",
                  std::string(text, static_cast<size_t>(length)));
    });
}

TEST(ResultsTest, UserWithoutRightsGetsTheSame) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ScriptedAgent agent(AgentScript()
                                .Answer(OpenAnswer())
                                .Answer(Finished(Row("d", "r", "t", "1", "x", "c")))
                                .Answer(CloseAnswer()));
        ToolRun const run = RunToolWithoutRights({"-d"});
        EXPECT_EQ("COMPLIANCE_ResultCount is 1.\n" + ResultsWithDescription("x"), run.output);
        EXPECT_EQ(ExitStatus::Exited(0), run.status);
    });
}

} // namespace
