/*
 * Runs a minimal evaluation: opens it, polls until it ends, prints a line for each row, closes it.
 *
 *     cc -o minimal minimal.c $(pkg-config --cflags --libs clientcompliance)
 *     ./minimal URL DOC
 *
 * Exit status: 0 finished, 1 no results or lost output, 2 wrong arguments.
 */
#include <compliance/Compliance.h>

#include <stdio.h>
#include <unistd.h>

/* Returns the exit status. */
static int print_rows(void) {
    int const count = COMPLIANCE_ResultCount();
    int i;
    for (i = 0; i < count; ++i) {
        char const *designator, *result, *type, *time, *description, *comment;
        if (COMPLIANCE_IndexedValue((unsigned int)i, &designator, &result, &type, &time,
                                    &description, &comment) == 0)
            printf("%s: %s\n", designator, result);
    }
    return fflush(stdout) == 0 && !ferror(stdout) ? 0 : 1;
}

int main(int count, char** arguments) {
    int code, state, percent, error;
    int status = 1;
    if (count != 3) {
        fprintf(stderr, "usage: minimal URL DOC\n");
        return 2;
    }

    code = COMPLIANCE_Open(arguments[1], arguments[2], 0);
    if (code != 0) {
        /* No evaluation is open, so COMPLIANCE_Close is not needed. */
        fprintf(stderr, "minimal: the evaluation could not be opened: %d\n", code);
        return 1;
    }

    while ((state = COMPLIANCE_Progress(&percent, &error)) == 3)
        sleep(1);
    if (state == 1)
        status = print_rows();
    else if (state == 2)
        fprintf(stderr, "minimal: the agent reports the error %d\n", error);
    else
        fprintf(stderr, "minimal: the poll failed: %d\n", state);

    /* Required even after a failure. Invalidates the texts of the rows. */
    COMPLIANCE_Close();
    return status;
}
