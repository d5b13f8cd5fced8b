// Calls each function of the C API. Prints their return values, and the number of open descriptors
// before and after: results that the tool does not print.
#include <cstdio>

#include <fcntl.h>

#include "compliance/Compliance.h"

namespace {

// Uses a call that nothing else makes, so a preloaded library can count the other calls.
int CountDescriptors() {
    int count = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor)
        count += fcntl(descriptor, F_GETFD) != -1;
    return count;
}

void Evaluate() {
    int const opened = COMPLIANCE_Open("url", "doc", 3);
    std::printf("open %d\n", opened);
    if (opened != 0)
        return;
    int state = 3;
    while (state == 3) {
        int percent = -1;
        int error = -1;
        state = COMPLIANCE_Progress(&percent, &error);
        std::printf("progress %d percent %d error %d\n", state, percent, error);
    }
    std::printf("count %d\n", COMPLIANCE_ResultCount());
    std::printf("close %d\n", COMPLIANCE_Close());
}

} // namespace

int main() {
    int const before = CountDescriptors();
    Evaluate();
    std::printf("descriptors %+d\n", CountDescriptors() - before);
}
