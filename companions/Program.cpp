#include "companions/Program.h"

#include <cstring>
#include <exception>

#include <fcntl.h>
#include <unistd.h>

#include "companions/Arguments.h"
#include "companions/Output.h"
#include "compliance/StandardDescriptors.h"

int RunMain(Program const& program, std::function<int()> const& run) {
    OpenClosedStandardDescriptors(O_RDONLY);
    try {
        return run();
    } catch (CommandLineError const& error) {
        WriteMessage(program.name, error.what());
        return program.usageStatus;
    } catch (std::exception const& error) {
        WriteMessage(program.name, error.what());
        return program.failureStatus;
    }
}

bool FinishOutput(std::string_view program, Output& output, std::string const& content) {
    output.Flush();
    if (output.Error() == 0)
        return true;
    WriteMessage(program, content + " could not be written: " + std::strerror(output.Error()));
    return false;
}

int ShowText(std::string_view program, std::string_view text, int failureStatus) {
    Output output(STDOUT_FILENO);
    output.Write(text);
    return FinishOutput(program, output, "the text") ? 0 : failureStatus;
}
