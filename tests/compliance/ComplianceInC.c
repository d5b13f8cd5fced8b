/* Uses the interface from C89: that the header compiles is half of the test. Ends with 0 when each
   call on a machine without the agent gave what it should, otherwise with the number of the call.
 */
#include "compliance/Compliance.h"

int main(void) {
    int percent = 1;
    int error = 2;
    char const* text = 0;
    if (COMPLIANCE_Open("url", "doc", COMPLIANCE_FLAG_GATHER + COMPLIANCE_FLAG_ACTIONHINT) !=
        COMPLIANCE_ERROR_LOCK)
        return 1;
    if (COMPLIANCE_Progress(&percent, &error) != COMPLIANCE_ERROR_LOCK || percent != 1 ||
        error != 2)
        return 2;
    if (COMPLIANCE_ResultCount() != COMPLIANCE_ERROR_NO_RESULTS)
        return 3;
    if (COMPLIANCE_IndexedValue(0, &text, &text, &text, &text, &text, &text) !=
            COMPLIANCE_ERROR_NO_RESULTS ||
        text != 0)
        return 4;
    if (COMPLIANCE_Close() != COMPLIANCE_ERROR_LOCK)
        return 5;
    return 0;
}
