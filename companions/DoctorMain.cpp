// compliance-doctor: diagnoses why evaluations fail on this machine.
#include <unistd.h>

#include "companions/Doctor.h"
#include "companions/DoctorCommandLine.h"
#include "companions/DoctorReport.h"
#include "companions/Output.h"
#include "companions/Program.h"

namespace {

constexpr char program[] = "compliance-doctor";

constexpr int healthy = 0;
constexpr int notHealthy = 1;
constexpr int usage = 2;

int Examine(bool json) {
    Findings const findings = ExamineExchange();
    Output output(STDOUT_FILENO);
    if (json)
        WriteJson(findings, output);
    else
        WriteText(findings, output);
    bool const isComplete = FinishOutput(program, output, "the findings");
    return HasProblem(findings) || !isComplete ? notHealthy : healthy;
}

int Run(int count, char const* const* arguments) {
    DoctorCommandLine const commandLine = ParseDoctorCommandLine(count, arguments);
    switch (commandLine.action) {
    case DoctorCommandLine::showHelp:
        return ShowText(program, doctorHelp, notHealthy);
    case DoctorCommandLine::showVersion:
        return ShowText(program, "compliance-doctor " CC_VERSION "\n", notHealthy);
    default:
        return Examine(commandLine.json);
    }
}

} // namespace

int main(int count, char** arguments) {
    return RunMain({program, usage, notHealthy}, [&] { return Run(count, arguments); });
}
