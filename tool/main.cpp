// ClientCompliance: requests the evaluation of a compliance document from the agent on this
// machine.
#include <fcntl.h>

#include "compliance/StandardDescriptors.h"
#include "tool/CommandLine.h"
#include "tool/ProcessRequest.h"

int main(int count, char** arguments) {
    OpenClosedStandardDescriptors(O_RDWR);
    CommandLine request;
    if (!ReadCommandLine(count, arguments, request)) {
        PrintUsageMessage(); // GCOVR_EXCL_BR_LINE: the call never throws
        return -1;
    }
    ProcessRequest(request.url, request.doc, request.flags);
    return 0;
}
