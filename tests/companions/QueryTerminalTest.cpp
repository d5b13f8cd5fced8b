// compliance-query on a terminal: the bar, the table and messages.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <sys/ioctl.h>
#include <unistd.h>

#include "tests/companions/Query.h"
#include "tests/companions/Terminal.h"

namespace {

using Texts = std::vector<std::string>;

// Rows and bar share a terminal, so the bar is cleared before the rows.
TEST(QueryTerminalTest, DrawsBarAndClearsItBeforeRows) {
    Sandbox::Run([] {
        Sandbox::CreateAgentDirectories();
        ScriptedAgent agent(QueryScript({ProgressAnswer("3", "0", "50"), Finished()}));
        Terminal screen;
        ProgramResult const result = RunQuery({"-d"}, {.prepare = [&] {
                                                  return setenv("TERM", "xterm", 1) == 0 &&
                                                         dup2(screen.otherEnd(), 1) == 1 &&
                                                         dup2(screen.otherEnd(), 2) == 2;
                                              }});
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        std::string const clear = "\r\x1b[K";
        std::string const filled(15, '#');
        std::string const empty(15, '-');
        EXPECT_EQ(clear + "[" + empty + empty + "] asking the agent" +   //
                      clear + "[" + filled + empty + "] 50% completed" + //
                      clear + "No results.\n" +                          //
                      clear + "[" + filled + filled + "] closing the evaluation" + clear,
                  screen.Read());
    });
}

void ExpectTableOnTerminal(std::string const& locale, std::string const& label,
                           std::string const& designator) {
    Sandbox::RunWithDirectories([&] {
        std::string const longWords = "one two three four five six";
        ScriptedAgent const agent(FinishingScript(
            Row({"caf&#xc3;&#xa9;", "Good", "", "7", longWords, ""}) +
            Row({"x", "Bad", "", "", "", ""}) + Row({"y", "None", "", "", "", ""})));
        Terminal const screen;
        winsize const size{24, 50, 0, 0};
        ASSERT_EQ(0, ioctl(screen.otherEnd(), TIOCSWINSZ, &size));
        RunQuery({"-d", "--columns=designator,result,evaluationTime,description", "--only=Good,Bad",
                  "--sort=result", "--strict=Good"},
                 {.environment = Texts{"LC_ALL=" + locale, "TERM=xterm"}, .prepare = [&] {
                      return dup2(screen.otherEnd(), STDOUT_FILENO) == STDOUT_FILENO;
                  }});
        EXPECT_EQ("DESIGNATOR  RESULT  " + label + "  DESCRIPTION\n" +                        //
                      "x           \x1b[31mBad\x1b[0m\n" +                                    //
                      designator + "\x1b[32mGood\x1b[0m    7          one two three four\n" + //
                      std::string(31, ' ') + "five six\n",
                  screen.Read());
    });
}

TEST(QueryTerminalTest, TableFitsTheTerminal) {
    ExpectTableOnTerminal("C.UTF-8", "TIME (\xC2\xB5s)", "caf\xC3\xA9        ");
    ExpectTableOnTerminal("C", "TIME (us)", "caf\\u00e9   ");
}

TEST(QueryTerminalTest, EscapesUnknownOptionUnlessTerminalIsUtf8) {
    for (auto const& [locale, shown] :
         {std::pair{"LC_ALL=C", "\\u00db"}, std::pair{"LC_ALL=C.UTF-8", "\xC3\x9B"}}) {
        Terminal const screen;
        ProgramResult const result = RunQuery(
            {"--\xC3\x9B"}, {.environment = Texts{locale}, .prepare = [&] {
                                 return dup2(screen.otherEnd(), STDERR_FILENO) == STDERR_FILENO;
                             }});
        EXPECT_EQ(ExitStatus::Exited(2), result.status);
        EXPECT_EQ(std::string("compliance-query: '--") + shown +
                      "' is not an option of this program; --help lists the options\n",
                  screen.Read());
    }
}

} // namespace
