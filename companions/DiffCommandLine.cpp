#include "companions/DiffCommandLine.h"

#include <array>

#include "companions/Arguments.h"
#include "companions/OptionValues.h"

namespace {

constexpr std::array diffOptionRules = {
    OptionRule{"--help", nullptr, 'h'},
    OptionRule{"--version", nullptr, 'V'},
    OptionRule{"--json"},
    OptionRule{"--regressions", acceptedResults},
    OptionRule{"--color", acceptedColor},
};
constexpr std::array<char const*, 2> diffOperandNames = {"OLD", "NEW"};

} // namespace

DiffCommandLine ParseDiffCommandLine(int count, char const* const* argumentTexts) {
    Arguments const arguments(diffOptionRules, diffOperandNames, count, argumentTexts);
    if (arguments.Has("--help"))
        return {.action = DiffCommandLine::showHelp};
    if (arguments.Has("--version"))
        return {.action = DiffCommandLine::showVersion};
    DiffCommandLine result;
    result.json = arguments.Has("--json");
    ReadLast(diffOptionRules, arguments, "--color", ParseColor, result.color);
    result.goodResults = ReadResults(diffOptionRules, arguments, "--regressions");
    if (result.json && arguments.Has("--color"))
        throw CommandLineError("--color: accepted without --json only");
    std::vector<std::string> const& operands = arguments.Operands();
    if (operands.size() < diffOperandNames.size())
        throw CommandLineError(std::string(diffOperandNames[operands.size()]) +
                               " is missing; accepted: OLD and NEW");
    result.oldFile = operands[0];
    result.newFile = operands[1];
    return result;
}

// clang-format off
char const diffHelp[] =
    "Usage: compliance-diff [OPTION]... OLD NEW\n"
    "\n"
    "Compares two results that compliance-query wrote as JSON. Writes the rows that were removed, added\n"
    "and changed to standard output, and notes to standard error.\n"
    "\n"
    "Rows match by their designator. Rows with equal designators match in their order, and a note\n"
    "reports them. A row is changed if its result, comment or description is another one.\n"
    "\n"
    "Options:\n"
    "  --regressions LIST  only rows whose result is in LIST (with commas between) in OLD, but not in\n"
    "                      NEW; exit with 1 only for these. The results of several --regressions are\n"
    "                      combined\n"
    "  --json              one JSON document; it follows compliance-diff.schema.json\n"
    "  --color WHEN        colour the rows: always, never, or auto (the default): on a terminal, unless\n"
    "                      NO_COLOR is set\n"
    "  -h, --help          show this help\n"
    "  -V, --version       show the version\n"
    "\n"
    "The text has a line or more for each row. Nothing is written if there is no difference:\n"
    "  - removed           only OLD has the row\n"
    "  + added             only NEW has the row\n"
    "  ~ changed           both have the row, followed by the fields that differ\n"
    "Control and invisible characters are shown as escapes.\n"
    "\n"
    "Exit status:\n"
    "    0  no difference\n"
    "    1  at least one difference; with --regressions, at least one regression\n"
    "    2  trouble: the command line is invalid, a file is no result of a finished evaluation, or the\n"
    "       output could not be written\n";
// clang-format on
