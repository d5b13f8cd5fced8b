#include "companions/Progress.h"

#include "tests/companions/Terminal.h"

namespace {

// Returns what a body writes to standard error, which is a file or a terminal.
template <typename Body>
std::string ErrorsOf(Body const& body, bool terminal, char const* type = "xterm",
                     unsigned short width = 0) {
    EnvironmentVariable const variable("TERM", type);
    Terminal screen;
    winsize const size{24, width, 0, 0};
    EXPECT_EQ(0, ioctl(screen.otherEnd(), TIOCSWINSZ, &size));
    OtherProcess other([&](Handshake& line) {
        dup2(terminal ? screen.otherEnd() : screen.file(), STDERR_FILENO);
        body();
        line.Tell();
        line.Await();
    });
    other.Await();
    std::string const text = terminal ? screen.Read() : screen.ReadFile();
    other.Tell();
    other.Wait();
    return text;
}

void ShowAll(ProgressStyle style) {
    Progress progress(style);
    progress.Opening();
    progress.Percent(0);
    progress.Percent(50);
    progress.Percent(100);
    progress.Closing();
}

std::string Bar(int filled, std::string const& text) {
    return "\r\x1b[K[" + std::string(static_cast<std::size_t>(filled), '#') +
           std::string(static_cast<std::size_t>(30 - filled), '-') + "] " + text;
}

std::string const gone = "\r\x1b[K";

TEST(ProgressTest, RedrawsBarAndClearsItAtTheEnd) {
    for (ProgressStyle const style : {ProgressStyle::bar, ProgressStyle::automatic})
        EXPECT_EQ(Bar(0, "asking the agent") + Bar(0, "0% completed") + Bar(15, "50% completed") +
                      Bar(30, "100% completed") + Bar(30, "closing the evaluation") + gone,
                  ErrorsOf([&] { ShowAll(style); }, true));
}

TEST(ProgressTest, AutomaticShowsNothingInAFileAndNoneNothingAtAll) {
    EXPECT_EQ("", ErrorsOf([] { ShowAll(ProgressStyle::automatic); }, false));
    EXPECT_EQ("", ErrorsOf([] { ShowAll(ProgressStyle::none); }, true));
}

TEST(ProgressTest, LinesStyleWritesLineForEachStep) {
    EXPECT_EQ("compliance-query: asking the agent\n"
              "compliance-query: 0% completed\n"
              "compliance-query: 50% completed\n"
              "compliance-query: 100% completed\n"
              "compliance-query: closing the evaluation\n",
              ErrorsOf([] { ShowAll(ProgressStyle::lines); }, false));
}

TEST(ProgressTest, LimitsBarButNotPercentage) {
    auto const percent = [](int number) {
        return ErrorsOf([&] { Progress(ProgressStyle::bar).Percent(number); }, false);
    };
    for (auto const& [filled, number] : {std::pair{0, -5},
                                         {30, 1000},
                                         {30, 2147483647},
                                         {0, -2147483647 - 1},
                                         {0, 3},
                                         {1, 4},
                                         {29, 99}})
        EXPECT_EQ(Bar(filled, std::to_string(number) + "% completed") + gone, percent(number));
}

TEST(ProgressTest, ClearsDrawnBarOnce) {
    auto const body = [] {
        Progress progress(ProgressStyle::bar);
        progress.Clear();
        progress.Opening();
        progress.Clear();
        progress.Clear();
    };
    EXPECT_EQ(Bar(0, "asking the agent") + gone, ErrorsOf(body, false));
}

// A longer line would wrap, and only its last part would be removed.
TEST(ProgressTest, BarFitsIntoNarrowTerminal) {
    auto const body = [] {
        Progress(ProgressStyle::bar).Percent(50);
    };
    std::string const bar = '[' + std::string(15, '#') + std::string(15, '-') + "] 50% completed";
    EXPECT_EQ(gone + bar.substr(0, 39) + gone, ErrorsOf(body, true, "xterm", 40));
    EXPECT_EQ(gone + gone, ErrorsOf(body, true, "xterm", 1));
    std::string const blank = '\r' + std::string(39, ' ') + '\r';
    EXPECT_EQ(blank + bar.substr(0, 39) + blank, ErrorsOf(body, true, "dumb", 40));
}

TEST(ProgressTest, DumbTerminalReceivesNoEscapeSequence) {
    std::string const blank = '\r' + std::string(79, ' ') + '\r';
    auto const body = [] {
        Progress progress(ProgressStyle::bar);
        progress.Opening();
        progress.Percent(100);
    };
    for (char const* const type : {"dumb", "", static_cast<char const*>(nullptr)})
        EXPECT_EQ(blank + '[' + std::string(30, '-') + "] asking the agent" + //
                      blank + '[' + std::string(30, '#') + "] 100% completed" + blank,
                  ErrorsOf(body, true, type));
}

} // namespace
