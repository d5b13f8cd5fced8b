#include "tool/CommandLine.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr unsigned int maxFlags = 15;

} // namespace

bool ReadCommandLine(int count, char const* const* arguments, CommandLine& commandLine) {
    commandLine = CommandLine();
    if (count == 2 && std::strcmp(arguments[1], "-d") == 0)
        return true;
    if ((count != 4 && count != 5) || std::strcmp(arguments[1], "-c") != 0)
        return false;
    commandLine.url = arguments[2];
    commandLine.doc = arguments[3];
    // Unsigned, so that a negative number is refused as too large. Text that is no number counts as
    // 0 by the rules of atoi.
    if (count == 5)
        // NOLINTNEXTLINE(cert-err34-c): see above
        commandLine.flags = static_cast<unsigned int>(std::atoi(arguments[4]));
    return commandLine.flags <= maxFlags;
}
