#include "companions/Program.h"

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

int ShowText(std::string_view text, int failureStatus) {
    Output output(STDOUT_FILENO);
    output.Write(text);
    output.Flush();
    return output.Error() == 0 ? 0 : failureStatus;
}
