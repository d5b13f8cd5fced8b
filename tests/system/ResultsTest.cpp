// The bytes that the tool prints for the agent's responses.
#include <stdlib.h>

#include "tests/system/ToolTest.h"

namespace {

using Responses = std::vector<std::string>;

std::string Finished(std::string const& rows) { return ProgressResponse("1", "0", "100", rows); }

std::string ProgressOfState(std::string const& state) {
    return Element("ResponseProgressState", state);
}

// An evaluation with these responses to its polls. Close is sent, and the exit status is 0.
void ExpectOutput(std::string const& output, Responses const& responses) {
    Sandbox::RunWithDirectories([&] {
        auto const evaluation = Evaluate(WholeEvaluation(responses));
        ExpectPrinted(output, evaluation.tool);
        ASSERT_EQ(responses.size() + 2, evaluation.requests.size());
        EXPECT_EQ(closeRequest, evaluation.requests.back().bytes);
    });
}

// The text of the three rows is in full, because no other test verifies PrintedRow.
TEST(ResultsTest, PrintsExactRowsInOrder) {
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
                 {Finished(Row({"baseline-001", "Compliant", "pass/fail", "1523",
                                "R&amp;D &lt;share&gt;", "&#xe9;t&#xc3;&#xa9; &#xff;"}) +
                           Row({"", "", "", "", "", ""}) +
                           Row({"z", "%s%n", "\"t\"", "no number", " blanks  ", "\tlast"}))});
}

// In the label, in any locale, and in raw or escaped bytes of the agent.
SANDBOX_TEST(ResultsTest, PrintsMicroSignAsByteB5) {
    ScriptedAgent agent(
        WholeEvaluation({Finished(Row({"d", "r", "t", "1", "\xB5 &#xb5; &#xB5;", "c"}))}));
    ToolRun const run =
        RunTool({"-d"}, {.environment = {{"LC_ALL=C.UTF-8", "LANG=de_DE.UTF-8", "LANGUAGE=de"}}});
    EXPECT_EQ(PrintedCount(1) + PrintedRow({"d", "r", "t", "1", "\xB5 \xB5 \xB5", "c"}),
              run.output);
}

struct OutputCase {
    char const* name;
    std::string output;
    Responses responses;
};

void PrintTo(OutputCase const& test, std::ostream* out) { *out << test.name; }

class OutputTest : public testing::TestWithParam<OutputCase> {};

TEST_P(OutputTest, IsPrinted) { ExpectOutput(GetParam().output, GetParam().responses); }

// The description of a row: as between the tags, and as printed.
OutputCase Description(char const* name, std::string const& written, std::string const& printed) {
    auto const with = [](std::string const& description) {
        RowTexts row = shortRow;
        row[4] = description;
        return row;
    };
    return {name, PrintedCount(1) + PrintedRow(with(printed)), {Finished(Row(with(written)))}};
}

std::string const row = Row(shortRow);

INSTANTIATE_TEST_SUITE_P(
    ResultsTest, OutputTest,
    testing::Values(
        Description("Megabytes", Repeated("&#xfe;texttexttexttext", 100'000),
                    Repeated("\xFEtexttexttexttext", 100'000)),
        Description("RawNul", std::string("before\0behind", 13), "before"),
        // Deliberate: only four names and hexadecimal bytes are valid escapes.
        Description("UnknownEscapes",
                    "&lt;&gt;&amp;&quot; &apos; &#65; &#x100; &#X41; &#x41; &#x0000ff;",
                    "<>&\" &apos; &#65; &#x100; &#X41; A \xFF"),
        OutputCase{"NoRows", PrintedCount(0), {Finished("")}},
        // Deliberate: the type is not checked, and progress elements may be missing.
        OutputCase{"AcceptsResponseOfAnotherType",
                   PrintedOneRow(),
                   {Response("<ResponseType>Close</ResponseType>" + ProgressOfState("1") + row)}},
        OutputCase{"Error", PrintedError("5"), {ProgressResponse("2", "5")}},
        OutputCase{"ErrorZero", PrintedError("0"), {ProgressResponse("2", "0")}},
        OutputCase{
            "NegativeError", PrintedError("-2147483648"), {ProgressResponse("2", "-2147483648")}},
        OutputCase{"ErrorMinus22HasItsOwnText",
                   "Client reports not available right now.\n",
                   {ProgressResponse("2", "-22")}},
        OutputCase{"RowsOfAnErrorAreNotPrinted",
                   PrintedError("22"),
                   {ProgressResponse("2", "22", "9", row)}},
        OutputCase{"MissingStateIsErrorZero", PrintedError("0"), {ResponseOfType("Progress")}},
        // Any other state is a bad response, for which the tool prints nothing.
        OutputCase{"ZeroStateIsSilent", "", {ProgressResponse("0")}},
        OutputCase{"FourStateIsSilent", "", {ProgressResponse("4", "5", "50", row)}},
        OutputCase{"NoNumberStateIsSilent", "", {ProgressResponse("finished")}},
        OutputCase{"ReadsNumbersLikeAtoi",
                   PrintedPercent("7") + PrintedCount(0),
                   {ProgressResponse("3abc", "0", "7%"), ProgressResponse(" \r\n\t+1.9")}},
        OutputCase{"ProgressLinesRepeat",
                   PrintedPercent("0") + PrintedPercent("50") + PrintedPercent("50") +
                       PrintedOneRow(),
                   {ProgressResponse("3", "0", "0"), ProgressResponse("3", "0", "50"),
                    ProgressResponse("3", "0", "50"), OneRowResponse()}},
        // Printed unchecked; the next response starts without values of this one.
        OutputCase{"PercentHasNoRangeAndResponsesAreIndependent",
                   PrintedPercent("-5") + PrintedPercent("2147483647") + PrintedPercent("0") +
                       PrintedError("0"),
                   {ProgressResponse("3", "-22", "-5", row),
                    ProgressResponse("3", "0", "2147483647"),
                    Response("<ResponseType>Progress</ResponseType>" + ProgressOfState("3")),
                    ResponseOfType("Progress")}}),
    NameOfRow);

// The output is written when the buffer of the C library is full, and at the end.
SANDBOX_TEST(ResultsTest, BuffersOutputThatIsNotToATerminal) {
    ScriptedAgent agent(WholeEvaluation({ProgressResponse("3", "0", "10"), Finished("")}));
    Tool tool({"-d"});
    agent.AwaitRequests(4);
    EXPECT_EQ("", tool.Output());
    EXPECT_EQ(PrintedPercent("10") + PrintedCount(0), tool.Wait().output);
}

SANDBOX_TEST(ResultsTest, FlushesEachLineToATerminal) {
    int const terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_LE(0, terminal);
    ASSERT_EQ(0, grantpt(terminal));
    ASSERT_EQ(0, unlockpt(terminal));
    std::string const name = ptsname(terminal);
    ScriptedAgent agent(
        AgentScript().Answer(OpenResponse()).Answer(ProgressResponse("3", "0", "10")));
    Tool tool({"-d"}, {.prepare = [&] {
                  int const file = open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
                  return file >= 0 && dup2(file, STDOUT_FILENO) == STDOUT_FILENO;
              }});
    agent.AwaitEnd();
    // The tool now waits for another response. A terminal may split a line.
    std::string line;
    while (!line.ends_with('\n')) {
        char text[100];
        ssize_t const length = read(terminal, text, sizeof text);
        ASSERT_LT(0, length);
        line.append(text, static_cast<size_t>(length));
    }
    EXPECT_EQ("COMPLIANCE_Progress 10% completed.\r\n", line);
}

} // namespace
