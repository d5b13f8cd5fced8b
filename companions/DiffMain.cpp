// compliance-diff: compares two results of compliance-query.
#include <unistd.h>

#include "companions/Color.h"
#include "companions/Diff.h"
#include "companions/DiffCommandLine.h"
#include "companions/Output.h"
#include "companions/Program.h"

namespace {

constexpr char program[] = "compliance-diff";

// The exit statuses of diff(1).
constexpr int equal = 0;
constexpr int different = 1;
constexpr int trouble = 2;

int Compare(DiffCommandLine const& commandLine) {
    DiffSide const oldSide = ReadDiffSide(commandLine.oldFile);
    DiffSide const newSide = ReadDiffSide(commandLine.newFile);
    Difference difference = CompareRows(oldSide.rows, newSide.rows);
    if (!commandLine.goodResults.empty())
        KeepRegressions(difference, oldSide, newSide, commandLine.goodResults);
    Output output(STDOUT_FILENO);
    if (commandLine.json) {
        WriteDiffJson(difference, oldSide, newSide, commandLine.goodResults, output);
    } else {
        for (std::string const& note : DescribeSides(difference, oldSide, newSide))
            WriteMessage(program, note);
        WriteDiffText(difference, oldSide, newSide, UsesColor(commandLine.color, output), output);
    }
    if (!FinishOutput(program, output, "the difference"))
        return trouble;
    return difference.IsEmpty() ? equal : different;
}

int Run(int count, char const* const* arguments) {
    DiffCommandLine const commandLine = ParseDiffCommandLine(count, arguments);
    switch (commandLine.action) {
    case DiffCommandLine::showHelp:
        return ShowText(program, diffHelp, trouble);
    case DiffCommandLine::showVersion:
        return ShowText(program, "compliance-diff " CC_VERSION "\n", trouble);
    default:
        return Compare(commandLine);
    }
}

} // namespace

int main(int count, char** arguments) {
    return RunMain({program, trouble, trouble}, [&] { return Run(count, arguments); });
}
