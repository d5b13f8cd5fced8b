// Output of the companions on a terminal, for different locales.
#include "companions/DoctorReport.h"
#include "companions/Output.h"
#include "companions/Rows.h"
#include "companions/TableRows.h"
#include "tests/companions/RowList.h"
#include "tests/companions/Terminal.h"

namespace {

// In ISO 8859-1 the second byte is CSI, which begins a control sequence.
constexpr char capitalU[] = "\xC3\x9B";
constexpr char utf8Locale[] = "C.UTF-8";

std::string OnTerminal(char const* locale, std::function<void(Output&)> const& body) {
    EnvironmentVariable const variable("LC_ALL", locale);
    return TerminalOutputOf(body);
}

std::string MessageOnTerminal(char const* locale, std::string const& text) {
    EnvironmentVariable const variable("LC_ALL", locale);
    Terminal const screen;
    OtherProcess other([&] {
        dup2(screen.otherEnd(), STDERR_FILENO);
        WriteMessage("program", text);
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
    return screen.Read();
}

RowList const rowList = {{{capitalU, "r", "t", "1", "\xF3\xA0\x80\x81", "c"}}};

void WriteTableRow(Output& output) {
    WriteTable(RowsOf(rowList), {.color = ColorMode::never}, {}, output);
}
void WriteTsvRow(Output& output) { WriteTsv(RowsOf(rowList), output); }

TEST(TerminalCharactersTest, TableIsAsciiUnlessTheLocaleIsUtf8) {
    for (char const* const locale : {"C", "POSIX", "no_SUCH.UTF-8"})
        EXPECT_EQ("DESIGNATOR  RESULT  TYPE  TIME (us)  DESCRIPTION  COMMENT\n"
                  "\\u00db      r       t     1          \\U000e0001   c\n",
                  OnTerminal(locale, WriteTableRow));
    EXPECT_EQ("DESIGNATOR  RESULT  TYPE  TIME (\xC2\xB5s)  DESCRIPTION  COMMENT\n"
              "\xC3\x9B           r       t     1          \\U000e0001   c\n",
              OnTerminal(utf8Locale, WriteTableRow));
}

TEST(TerminalCharactersTest, TsvIsAsciiUnlessTheLocaleIsUtf8) {
    std::string const ascii = OnTerminal("C", WriteTsvRow);
    EXPECT_EQ("\\u00db\tr\tt\t1\t\\U000e0001\tc\n", ascii.substr(ascii.find('\n') + 1));
    std::string const utf8 = OnTerminal(utf8Locale, WriteTsvRow);
    EXPECT_EQ("\xC3\x9B\tr\tt\t1\t\\U000e0001\tc\n", utf8.substr(utf8.find('\n') + 1));
}

TEST(TerminalCharactersTest, MessageIsAsciiUnlessTheLocaleIsUtf8) {
    EXPECT_EQ("program: \\u00db \\u200b\n", MessageOnTerminal("C", "\xC3\x9B \xE2\x80\x8B"));
    EXPECT_EQ("program: \xC3\x9B \\u200b \\x1b[31m\\n\\u009b\n",
              MessageOnTerminal(utf8Locale, "\xC3\x9B \xE2\x80\x8B \x1b[31m\n\xC2\x9B"));
}

Findings const findings = {{.check = "lock", .verdict = Verdict::note, .message = capitalU}};

TEST(TerminalCharactersTest, FindingsAreAsciiUnlessTheLocaleIsUtf8) {
    auto const write = [](Output& output) {
        WriteText(findings, output);
    };
    EXPECT_EQ("note     lock: \\u00db.\n", OnTerminal("C", write));
    EXPECT_EQ("note     lock: \xC3\x9B.\n", OnTerminal(utf8Locale, write));
}

TEST(TerminalCharactersTest, JsonFindingsAreAscii) {
    auto const write = [](Output& output) {
        WriteJson(findings, output);
    };
    for (char const* const locale : {"C", utf8Locale}) {
        std::string const text = OnTerminal(locale, write);
        EXPECT_TRUE(std::ranges::all_of(text, [](char c) { return c > 0; })) << text;
        EXPECT_EQ(capitalU, Json::parse(text)["checks"][0]["message"]);
    }
}

// Except the label of the times.
TEST(TerminalCharactersTest, LocaleDoesNotChangeTextInFiles) {
    EnvironmentVariable const variable("LC_ALL", "C");
    std::string const table = OutputOf(WriteTableRow);
    EXPECT_NE(std::string::npos, table.find(capitalU)) << table;
    std::string const tsv = OutputOf(WriteTsvRow);
    EXPECT_EQ("\xC3\x9B\tr\tt\t1\t\xF3\xA0\x80\x81\tc\n", tsv.substr(tsv.find('\n') + 1));
    std::string const report = OutputOf([](Output& output) { WriteJson(findings, output); });
    EXPECT_NE(std::string::npos, report.find(capitalU)) << report;
}

} // namespace
