// ClientCompliance: asks the endpoint agent on this machine to evaluate a compliance document.
#include <fcntl.h>
#include <unistd.h>

#include "tool/CommandLine.h"
#include "tool/PrintUsageMessage.h"
#include "tool/ProcessRequest.h"

namespace {

// Fills each closed descriptor from 0 to 2. A file opened later would otherwise take the number of
// standard output, and the tool's text would land in the lock file or in the request. Where there
// is no /dev/null, the root directory holds the place: it can't be written to.
void OccupyStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", O_RDWR) == -1)
            // cppcheck-suppress leakReturnValNotUsed ; it stays open, to hold its place
            static_cast<void>(open("/", O_RDONLY));
    }
}

} // namespace

int main(int count, char** arguments) {
    OccupyStandardDescriptors();
    CommandLine request;
    if (!ReadCommandLine(count, arguments, request)) {
        PrintUsageMessage();
        return -1;
    }
    ProcessRequest(request.url, request.doc, request.flags);
    return 0;
}
