#include "tool/ProcessRequest.h"

#include <cstdio>
#include <unistd.h>

#include "compliance/Compliance.h"

namespace {

// The agent's error number for "currently not available".
constexpr int agentNotAvailable = -22;

void PrintRow(unsigned int index) {
    char const* designator;
    char const* result;
    char const* resultType;
    char const* evaluationTime;
    char const* description;
    char const* comment;
    // GCOVR_EXCL_START: each row below the count exists until the evaluation is closed
    if (COMPLIANCE_IndexedValue(index, &designator, &result, &resultType, &evaluationTime,
                                &description, &comment) != 0)
        return;
    // GCOVR_EXCL_STOP
    std::printf("    Designator: %s\n", designator);
    std::printf("        Result: %s\n", result);
    std::printf("   Result Type: %s\n", resultType);
    // The micro sign is always the byte 0xB5: labels do not depend on the locale.
    std::printf("Eval Time (\xB5"
                "s): %s\n",
                evaluationTime);
    std::printf("          Desc: %s\n", description);
    std::printf("       Comment: %s\n", comment);
    std::printf("\n");
}

void PrintResults() {
    int const count = COMPLIANCE_ResultCount();
    std::printf("COMPLIANCE_ResultCount is %d.\n", count);
    for (int index = 0; index < count; ++index)
        PrintRow(static_cast<unsigned int>(index));
}

void PrintAgentError(int error) {
    if (error == agentNotAvailable)
        std::printf("Client reports not available right now.\n");
    else
        std::printf("COMPLIANCE_Progress returned error %d.\n", error);
}

void PollAndPrint() {
    int percent;
    int error;
    int state = COMPLIANCE_Progress(&percent, &error);
    while (state == 3) {
        std::printf("COMPLIANCE_Progress %d%% completed.\n", percent);
        sleep(1);
        state = COMPLIANCE_Progress(&percent, &error);
    }
    if (state == 1)
        PrintResults();
    else if (state == 2)
        PrintAgentError(error);
}

} // namespace

void ProcessRequest(char const* url, char const* doc, unsigned int flags) {
    int const code = COMPLIANCE_Open(url, doc, flags);
    if (code != 0) {
        std::printf("COMPLIANCE_Open returned error: %d.\n", code);
        return;
    }
    PollAndPrint();
    COMPLIANCE_Close();
}
