/* A C program: calls four functions of the C API and prints their results. */
#include <compliance/Compliance.h>
#include <stdio.h>

int main(void) {
    int percent = 77;
    int error = 77;
    printf("open %d\n", COMPLIANCE_Open("http://example.com:52311/", "doc.xml", 0));
    printf("progress %d %d %d\n", COMPLIANCE_Progress(&percent, &error), percent, error);
    printf("count %d\n", COMPLIANCE_ResultCount());
    printf("close %d\n", COMPLIANCE_Close());
    return 0;
}
