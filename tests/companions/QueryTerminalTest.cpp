// compliance-query on a terminal: the bar, the table and messages.
#include "tests/companions/Query.h"
#include "tests/companions/Terminal.h"

namespace {

// Returns options for a program with these descriptors on the terminal.
ProgramOptions OnScreen(Terminal const& screen, std::vector<int> const& descriptors,
                        Texts const& environment) {
    return {.environment = environment, .prepare = [&screen, descriptors] {
                return std::ranges::all_of(descriptors, [&](int descriptor) {
                    return dup2(screen.otherEnd(), descriptor) == descriptor;
                });
            }};
}

// Rows and bar share a terminal, so the bar is cleared before the rows.
SANDBOX_TEST(QueryTerminalTest, DrawsBarAndClearsItBeforeRows) {
    Terminal const screen;
    EXPECT_EQ(ExitStatus::Exited(0),
              Query({"-d"}, QueryScript({ProgressResponse("3", "0", "50"), Finished()}),
                    OnScreen(screen, {1, 2}, {"TERM=xterm"}))
                  .status);
    std::string const clear = "\r\x1b[K";
    std::string const filled(15, '#');
    std::string const empty(15, '-');
    EXPECT_EQ(clear + "[" + empty + empty + "] asking the agent" +   //
                  clear + "[" + filled + empty + "] 50% completed" + //
                  clear + "No results.\n" +                          //
                  clear + "[" + filled + filled + "] closing the evaluation" + clear,
              screen.Read());
}

SANDBOX_TEST(QueryTerminalTest, TableFitsTheTerminal) {
    std::string const rows =
        Row({"caf&#xc3;&#xa9;", "Good", "", "7", "one two three four five six", ""}) +
        Row({"x", "Bad", "", "", "", ""}) + Row({"y", "None", "", "", "", ""});
    for (auto const& [locale, label, designator] :
         {std::tuple{"LC_ALL=C.UTF-8", "TIME (\xC2\xB5s)", "caf\xC3\xA9        "},
          {"LC_ALL=C", "TIME (us)", "caf\\u00e9   "}}) {
        Terminal const screen;
        winsize const size{24, 50, 0, 0};
        ASSERT_EQ(0, ioctl(screen.otherEnd(), TIOCSWINSZ, &size));
        Query({"-d", "--columns=designator,result,evaluationTime,description", "--only=Good,Bad",
               "--sort=result", "--strict=Good"},
              FinishingScript(rows), OnScreen(screen, {1}, {locale, "TERM=xterm"}));
        EXPECT_EQ(std::string("DESIGNATOR  RESULT  ") + label + "  DESCRIPTION\n" +
                      "x           \x1b[31mBad\x1b[0m\n" + designator +
                      "\x1b[32mGood\x1b[0m    7          one two three four\n" +
                      std::string(31, ' ') + "five six\n",
                  screen.Read());
    }
}

TEST(QueryTerminalTest, EscapesNonAsciiOptionUnlessTheLocaleIsUtf8) {
    for (auto const& [locale, shown] :
         {std::pair{"LC_ALL=C", "\\u00db"}, std::pair{"LC_ALL=C.UTF-8", "\xC3\x9B"}}) {
        Terminal const screen;
        EXPECT_EQ(ExitStatus::Exited(2),
                  RunQuery({"--\xC3\x9B"}, OnScreen(screen, {2}, {locale})).status);
        EXPECT_EQ(std::string("compliance-query: '--") + shown +
                      "' is not an option of this program; --help lists the options\n",
                  screen.Read());
    }
}

} // namespace
