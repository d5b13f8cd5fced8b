// ClientCompliance: asks the endpoint agent on this machine to evaluate a compliance document.
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "tool/PrintUsageMessage.h"
#include "tool/ProcessRequest.h"

namespace {

constexpr unsigned int highestFlags = 15;

// Fills each closed descriptor from 0 to 2. A file opened later would otherwise take the number of
// standard output, and the tool's text would land in the lock file or in the request. Where there
// is no /dev/null, the root directory holds the place: it can't be written to.
void OccupyStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", O_RDWR) == -1)
            static_cast<void>(open("/", O_RDONLY));
    }
}

int RefuseArguments() {
    PrintUsageMessage();
    return -1;
}

} // namespace

int main(int count, char** arguments) {
    OccupyStandardDescriptors();
    if (count == 2 && std::strcmp(arguments[1], "-d") == 0) {
        ProcessRequest(nullptr, nullptr, 0);
        return 0;
    }
    if ((count != 4 && count != 5) || std::strcmp(arguments[1], "-c") != 0)
        return RefuseArguments();
    // Unsigned, so that a negative number is refused as too large. Text that is no number counts as
    // 0 by the rules of atoi.
    unsigned int const flags = count == 5 ? static_cast<unsigned int>(std::atoi(arguments[4])) : 0U;
    if (flags > highestFlags)
        return RefuseArguments();
    ProcessRequest(arguments[2], arguments[3], flags);
    return 0;
}
