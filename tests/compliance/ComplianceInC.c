/* Evaluates a document through the C API, in C89; also tests that the header compiles. The agent
   must finish at the first poll with the row "d", "r", "t", "e", "i", "c". Returns 0 if each call
   has its documented result, otherwise the number of the first check that fails. */
#include "compliance/Compliance.h"

#include <string.h>

int main(void) {
    int percent = 1;
    int error = 2;
    char const *designator, *result, *type, *time, *description, *comment;
    if (COMPLIANCE_Open("url", "doc", COMPLIANCE_FLAG_EVALUATE_ALL + COMPLIANCE_FLAG_GATHER) != 0)
        return 1;
    if (COMPLIANCE_Open("url", "doc", 0) != COMPLIANCE_ERROR_ALREADY_OPEN)
        return 2;
    if (COMPLIANCE_Progress(&percent, &error) != 1 || percent != 1 || error != 2)
        return 3;
    if (COMPLIANCE_ResultCount() != 1)
        return 4;
    if (COMPLIANCE_IndexedValue(0, &designator, &result, &type, &time, &description, &comment) != 0)
        return 5;
    if (strcmp(designator, "d") != 0 || strcmp(result, "r") != 0 || strcmp(type, "t") != 0 ||
        strcmp(time, "e") != 0 || strcmp(description, "i") != 0 || strcmp(comment, "c") != 0)
        return 6;
    if (COMPLIANCE_IndexedValue(1, &designator, &result, &type, &time, &description, &comment) !=
            COMPLIANCE_ERROR_BAD_INDEX ||
        strcmp(comment, "c") != 0)
        return 7;
    if (COMPLIANCE_Close() != 0)
        return 8;
    if (COMPLIANCE_ResultCount() != COMPLIANCE_ERROR_NO_RESULTS)
        return 9;
    return 0;
}
