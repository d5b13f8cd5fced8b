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
        throw CommandLineError("--color: not accepted with --json");
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
    "Compares two results that compliance-query wrote as JSON. Writes the removed,\n"
    "added and changed rows to standard output, and notes to standard error.\n"
    "\n"
    "Rows match by their designator. A row is changed if its result, comment or\n"
    "description differs.\n"
    "\n"
    "Options:\n"
    "  --regressions LIST    write only rows whose result is in LIST in OLD, but not\n"
    "                        in NEW; exit with 1 only for these rows\n"
    "  --json                write one JSON document\n"
    "  --color WHEN          colour the rows: always, never or auto (default)\n"
    "  -h, --help            show this help\n"
    "  -V, --version         show the version\n"
    "\n"
    "A LIST is comma-separated.\n"
    "\n"
    "Output lines:\n"
    "  - removed             only OLD has the row\n"
    "  + added               only NEW has the row\n"
    "  ~ changed             both have the row; the fields that differ follow\n"
    "\n"
    "Exit statuses:\n"
    "    0  there is no difference; with --regressions, no regression\n"
    "    1  there is at least one difference; with --regressions, at least one\n"
    "       regression\n"
    "    2  the command line is invalid, a file is not the result of a finished\n"
    "       evaluation, or the output could not be written\n"
    "\n"
    "Manual page: compliance-diff(1)\n";
// clang-format on
