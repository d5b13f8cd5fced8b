#include "tool/CommandLine.h"

#include <cstdio>
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
    // Unsigned, so that a negative number is rejected as too large. Text that is not a number
    // counts as 0, by atoi.
    if (count == 5)
        // NOLINTNEXTLINE(cert-err34-c): see above
        commandLine.flags = static_cast<unsigned int>(std::atoi(arguments[4]));
    return commandLine.flags <= maxFlags;
}

// Deliberate: the text says "0 to 7" although there is a flag 8, and the path has backslashes.
// Users' scripts and notes depend on this text.
//
// clang-format off
void PrintUsageMessage() {
    static_cast<void>(std::fputs(
        "Usage: \n"
        "       ClientCompliance -d\n"
        "       ClientCompliance -c <url> <doc> [<numeric flags>]\n"
        "  where:\n"
        "    <url> is a site gather url the VeskaClient is subscribed.\n"
        "    <doc> is the name of the compliance document to process.\n"
        "  sample:\n"
        "    ClientCompliance -c http://example.com:52311/cgi-bin/qzgather.exe/actionsite ComplianceDoc.xml\n"
        "  note:\n"
        "    in this example <doc> would be in the __VeskaData\\actionsite\\__Compliance folder.\n"
        "    flags = a number from 0 to 7 (the sum of the following values).\n"
        "          = 1 - COMPLIANCE_FLAG_GATHER         - gather all sites.\n"
        "          = 2 - COMPLIANCE_FLAG_EVALUATE_ALL   - evaluate all pellars.\n"
        "          = 4 - COMPLIANCE_FLAG_IDLE_CPU_USAGE - use IDLE cpu resource level.\n"
        "          = 8 - COMPLIANCE_FLAG_ACTIONHINT     - treat <doc> arg as action id hint.\n",
        stdout));
}
// clang-format on
