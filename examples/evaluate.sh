#!/bin/sh
# An evaluation by the text output of the tool: one line a row, RESULT, a tab, DESIGNATOR.
#
#     evaluate.sh URL DOC [FLAGS]
#
# Exit status: 0 finished, 1 no results, 2 wrong arguments.
#
# The limits of the text output, which a program with the library does not have:
#  - The tool ends with 0 whatever happened. Only the line with the count says that it has finished.
#  - A failed poll says nothing at all, so there is no reason to tell.
#  - A value may hold line ends, and so a line that looks like a label. The rows are therefore
#    counted and held against the number that the tool says; where they differ, nothing is printed.
#  - The byte 0xB5 in a label, and whatever the agent wrote, is no UTF-8: hence LC_ALL=C.
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
    echo "evaluate.sh: no results: the tool did not end by itself (status $status)" >&2
    exit 1
    ;;
esac

case "$output" in
*"COMPLIANCE_ResultCount is "*) ;;
*)
    # The last line tells what there is to tell: a code, an error of the agent, or how far it came.
    last=$(printf '%s\n' "$output" | tail -n 1)
    echo "evaluate.sh: no results: ${last:-the agent did not answer}" >&2
    exit 1
    ;;
esac

printf '%s\n' "$output" | awk '
    /^COMPLIANCE_ResultCount is [0-9]+\.$/ && !counted { counted = 1; wanted = $3 + 0 }
    /^    Designator: / { designator = substr($0, 17) }
    /^        Result: / { row[++rows] = substr($0, 17) "\t" designator }
    END {
        if (rows != wanted) {
            print "evaluate.sh: a value holds line ends; the rows can not be told apart" \
                >"/dev/stderr"
            exit 1
        }
        for (i = 1; i <= rows; ++i)
            print row[i]
    }'
