#include "companions/Output.h"

#include <cerrno>
#include <unistd.h>

#include "companions/StopSignals.h"

namespace {

constexpr std::size_t pieceSize = 64 * 1024;

} // namespace

Output::Output(int theDescriptor)
    : descriptor(theDescriptor), terminal(isatty(theDescriptor) == 1) {}

void Output::Write(std::string_view bytes) {
    if (waiting.size() + bytes.size() >= pieceSize)
        Flush();
    if (bytes.size() >= pieceSize)
        HandOn(bytes);
    else if (error == 0)
        waiting += bytes;
}

void Output::Flush() {
    HandOn(waiting);
    waiting.clear();
}

// A write that a signal cuts short has either taken some of the bytes or fails with EINTR.
void Output::HandOn(std::string_view rest) {
    while (error == 0 && !rest.empty()) {
        ssize_t const written = write(descriptor, rest.data(), rest.size());
        if (written < 0 && errno != EINTR)
            error = errno;
        rest.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
        if (error == 0 && !rest.empty() && StopSignal() != 0)
            error = EINTR;
    }
}

void WriteMessage(std::string_view program, std::string_view text) {
    Output output(STDERR_FILENO);
    output.Write(program);
    output.Write(": ");
    output.Write(text);
    output.Write("\n");
    output.Flush();
}
