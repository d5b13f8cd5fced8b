#!/bin/sh
# Runs an evaluation with the tool, and prints a line for each row: RESULT, a tab, DESIGNATOR.
#
#     evaluate.sh URL DOC [FLAGS]
#
# Exit status: 0 finished, 1 no results or lost output, 2 wrong arguments.
#
# Limitations of the text output, which do not apply to programs that use the library:
#  - The exit status of the tool is 0 even after a failure. Only the line with the number of rows
#    shows that the evaluation has finished.
#  - The tool prints no reason if a poll fails.
#  - A text can contain line breaks, and thus a line that looks like a label. Therefore, the script
#    compares the number of rows with that of the tool. If they differ, it prints no rows. It does
#    not detect line breaks without a label of a result, and prints only one line of such a text.
#  - One label has the byte 0xB5, and texts can be arbitrary bytes, so the output is not UTF-8. The
#    script sets LC_ALL=C.
set -eu

misused() {
    echo "usage: evaluate.sh URL DOC [FLAGS]; the flags are a number from 0 to 15" >&2
    exit 2
}

[ $# -eq 2 ] || [ $# -eq 3 ] || misused

LC_ALL=C
export LC_ALL
status=0
output=$(ClientCompliance -c "$@") || status=$?
case $status in
0) ;;
255) misused ;;
*)
    echo "evaluate.sh: no results: ClientCompliance failed (exit status $status)" >&2
    exit 1
    ;;
esac

case "$output" in
*"COMPLIANCE_ResultCount is "*) ;;
*)
    # The last line has an error code, the error of the agent, or the last percentage.
    last=$(printf '%s\n' "$output" | tail -n 1)
    echo "evaluate.sh: no results: ${last:-a poll failed}" >&2
    exit 1
    ;;
esac

printf '%s\n' "$output" | awk '
    /^COMPLIANCE_ResultCount is [0-9]+\.$/ && !counted { counted = 1; wanted = $3 + 0 }
    /^    Designator: / { designator = substr($0, 17) }
    /^        Result: / { row[++rows] = substr($0, 17) "\t" designator }
    END {
        if (rows != wanted) {
            print "evaluate.sh: no results: a text contains line breaks, so rows are ambiguous" \
                >"/dev/stderr"
            exit 1
        }
        for (i = 1; i <= rows; ++i)
            print row[i]
    }' || exit 1 # awk exits with 2 if its output is lost.
