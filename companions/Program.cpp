#include "companions/Program.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include "companions/Arguments.h"
#include "companions/Output.h"
#include "compliance/StandardDescriptors.h"

namespace {

iovec Part(std::string_view text) { return {const_cast<char*>(text.data()), text.size()}; }

// Not WriteMessage, which allocates memory.
void ReportExhaustedMemory(std::string_view program) {
    std::array const parts = {Part(program), Part(": out of memory\n")};
    [[maybe_unused]] ssize_t const written =
        writev(STDERR_FILENO, parts.data(), static_cast<int>(parts.size()));
}

constinit Program running = {};

// The terminate handler. Reports a std::bad_alloc that left a destructor: the destructor of a JSON
// value allocates memory. After any other cause, the process aborts, as without this handler.
void EndAfterException() {
    std::exception_ptr const exception = std::current_exception();
    if (exception == nullptr) // GCOVR_EXCL_BR_LINE: an aborted process records no coverage
        std::abort();         // GCOVR_EXCL_LINE: the same
    try {
        std::rethrow_exception(exception);
    } catch (std::bad_alloc const&) { // GCOVR_EXCL_BR_LINE: after any other, it aborts
        ReportExhaustedMemory(running.name);
        std::exit(running.failureStatus);
    }
}

int RunAndReport(Program const& program, std::function<int()> const& run) {
    try {
        return run();
    } catch (std::bad_alloc const&) { // GCOVR_EXCL_BR_LINE: every exception has a handler
        throw;
    } catch (CommandLineError const& error) {
        WriteMessage(program.name, error.what());
        return program.usageStatus;
    } catch (std::exception const& error) {
        WriteMessage(program.name, error.what());
        return program.failureStatus;
    }
}

} // namespace

int RunMain(Program const& program, std::function<int()> const& run) {
    OpenClosedStandardDescriptors(O_RDONLY);
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
    running = program;
    std::set_terminate(EndAfterException);
    try {
        return RunAndReport(program, run);
    } catch (std::bad_alloc const&) { // GCOVR_EXCL_BR_LINE: there is no other
        ReportExhaustedMemory(program.name);
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
