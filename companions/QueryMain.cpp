// compliance-query: asks the endpoint agent to evaluate a compliance document, for scripts and for
// eyes.
#include <exception>

#include <fcntl.h>
#include <unistd.h>

#include "companions/CommandLineError.h"
#include "companions/Output.h"
#include "companions/Query.h"
#include "companions/QueryCommandLine.h"
#include "companions/QueryExit.h"
#include "compliance/StandardDescriptors.h"

namespace {

constexpr char program[] = "compliance-query";

int Show(std::string_view text) {
    Output output(STDOUT_FILENO);
    output.Write(text);
    output.Flush();
    return static_cast<int>(output.Error() == 0 ? QueryExit::finished : QueryExit::outputFailed);
}

int Run(int count, char** arguments) {
    QueryCommandLine const commandLine = ParseQueryCommandLine(count, arguments);
    switch (commandLine.action) {
    case QueryCommandLine::showHelp:
        return Show(queryHelp);
    case QueryCommandLine::showVersion:
        return Show("compliance-query " CC_VERSION "\n");
    default:
        return RunQuery(commandLine);
    }
}

} // namespace

int main(int count, char** arguments) {
    OpenClosedStandardDescriptors(O_RDONLY);
    try {
        return Run(count, arguments);
    } catch (CommandLineError const& error) {
        WriteMessage(program, error.what());
        return static_cast<int>(QueryExit::usage);
    } catch (std::exception const& error) {
        WriteMessage(program, error.what());
        return static_cast<int>(QueryExit::exchangeFailed);
    }
}
