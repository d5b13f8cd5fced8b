// compliance-doctor: tells why an evaluation can't be had on this machine.
#include <exception>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "companions/CommandLineError.h"
#include "companions/Doctor.h"
#include "companions/DoctorCommandLine.h"
#include "companions/DoctorReport.h"
#include "companions/Output.h"
#include "compliance/StandardDescriptors.h"

namespace {

constexpr char program[] = "compliance-doctor";
constexpr int healthy = 0;
constexpr int notHealthy = 1;
constexpr int usage = 2;

int Finish(Output& output, int status) {
    output.Flush();
    return output.Error() == 0 ? status : notHealthy;
}

int Show(std::string_view text) {
    Output output(STDOUT_FILENO);
    output.Write(text);
    return Finish(output, healthy);
}

int Examine(bool json) {
    Findings const findings = ExamineExchange();
    Output output(STDOUT_FILENO);
    if (json)
        WriteJson(findings, output);
    else
        WriteText(findings, output);
    return Finish(output, HasProblem(findings) ? notHealthy : healthy);
}

int Run(int count, char** arguments) {
    DoctorCommandLine const commandLine = ParseDoctorCommandLine(count, arguments);
    switch (commandLine.action) {
    case DoctorCommandLine::showHelp:
        return Show(doctorHelp);
    case DoctorCommandLine::showVersion:
        return Show("compliance-doctor " CC_VERSION "\n");
    default:
        return Examine(commandLine.json);
    }
}

} // namespace

int main(int count, char** arguments) {
    OpenClosedStandardDescriptors(O_RDONLY);
    try {
        return Run(count, arguments);
    } catch (CommandLineError const& error) {
        WriteMessage(program, error.what());
        return usage;
    } catch (std::exception const& error) {
        WriteMessage(program, error.what());
        return notHealthy;
    }
}
