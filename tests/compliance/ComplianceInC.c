/* Uses the interface from C89: that the header compiles is half of the test. Ends with 0 when each
   call gave what it should, otherwise with the number of the call.

   Without an argument: on a machine without the agent. With one: a whole evaluation, in which the
   agent finishes at the first poll with the one row "d", "r", "t", "e", "i", "c".
 */
#include "compliance/Compliance.h"

#include <string.h>

static int is_refused(void) {
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

static int evaluates(void) {
    int percent = 1;
    int error = 2;
    char const *designator, *result, *type, *time, *description, *comment;
    if (COMPLIANCE_Open("url", "doc", COMPLIANCE_FLAG_EVALUATE_ALL) != 0)
        return 11;
    if (COMPLIANCE_Open("url", "doc", 0) != COMPLIANCE_ERROR_ALREADY_OPEN)
        return 12;
    if (COMPLIANCE_Progress(&percent, &error) != 1 || percent != 1 || error != 2)
        return 13;
    if (COMPLIANCE_ResultCount() != 1)
        return 14;
    if (COMPLIANCE_IndexedValue(0, &designator, &result, &type, &time, &description, &comment) != 0)
        return 15;
    if (strcmp(designator, "d") != 0 || strcmp(result, "r") != 0 || strcmp(type, "t") != 0 ||
        strcmp(time, "e") != 0 || strcmp(description, "i") != 0 || strcmp(comment, "c") != 0)
        return 16;
    if (COMPLIANCE_IndexedValue(1, &designator, &result, &type, &time, &description, &comment) !=
            COMPLIANCE_ERROR_BAD_INDEX ||
        strcmp(comment, "c") != 0)
        return 17;
    if (COMPLIANCE_Close() != 0)
        return 18;
    if (COMPLIANCE_ResultCount() != COMPLIANCE_ERROR_NO_RESULTS)
        return 19;
    return 0;
}

int main(int count, char** arguments) {
    (void)arguments;
    return count > 1 ? evaluates() : is_refused();
}
