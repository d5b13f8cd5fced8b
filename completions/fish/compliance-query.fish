# Completion of compliance-query for fish.

# Completes the last entry of a comma-separated list, with the names that the list does not have
# yet.
function __compliance_query_list
    set --local token (commandline -ct | string replace -r '^--[a-z]+=' '')
    set --local before (string match -r '.*,' -- $token)
    for name in $argv
        contains -- $name (string split , -- "$before"); or echo "$before$name"
    end
end

# Returns 0 if the command line has none of these options. Ignores the option whose value is being
# completed.
function __compliance_query_lacks
    set --local words (commandline -opc)
    set --local with_value --columns --sort --only --color -o --output --flags --strict --timeout \
        --wait --progress --explain --config --check-config --prometheus
    contains -- "$words[-1]" $with_value; and set --erase words[-1]
    for word in $words
        contains -- (string replace -r '=.*' '' -- $word) $argv; and return 1
    end
    return 0
end

function __compliance_query_configs
    for file in /etc/clientcompliance/*.conf
        string replace -r '.*/(.*)\.conf$' '$1' -- $file
    end
end

set --local columns designator result resultType evaluationTime description comment

complete -c compliance-query -f
complete -c compliance-query -s d -n '__compliance_query_lacks -d' -d 'Evaluate the default of the agent'
complete -c compliance-query -l config -n '__compliance_query_lacks --config' -x -a '(__compliance_query_configs)' -d 'Use a configuration file'
complete -c compliance-query -l check-config -n '__compliance_query_lacks --check-config' -x -a '(__compliance_query_configs)' -d 'List the errors in a configuration file'
complete -c compliance-query -l table -n '__compliance_query_lacks --table --tsv --json --ndjson' -d 'Columns for people'
complete -c compliance-query -l tsv -n '__compliance_query_lacks --table --tsv --json --ndjson' -d 'Tab-separated values'
complete -c compliance-query -l json -n '__compliance_query_lacks --table --tsv --json --ndjson' -d 'One JSON document'
complete -c compliance-query -l ndjson -n '__compliance_query_lacks --table --tsv --json --ndjson' -d 'One JSON object on each line'
complete -c compliance-query -l columns -n '__compliance_query_lacks --columns' -x -a "(__compliance_query_list $columns)" -d 'Columns of the table'
complete -c compliance-query -l sort -n '__compliance_query_lacks --sort' -x -a "$columns" -d 'Column by which the table is sorted'
complete -c compliance-query -l only -n '__compliance_query_lacks --only' -x -d 'Results that the table shows'
complete -c compliance-query -l color -n '__compliance_query_lacks --color' -x -a 'auto always never' -d 'Colour of the results'
complete -c compliance-query -s o -l output -n '__compliance_query_lacks -o --output' -r -F -d 'Replace a file'
complete -c compliance-query -l keep-failures -n '__compliance_query_lacks --keep-failures' -d 'Replace the file after a failure too'
complete -c compliance-query -l prometheus -n '__compliance_query_lacks --prometheus' -r -F -d 'Replace a file with metrics'
complete -c compliance-query -l flags -n '__compliance_query_lacks --flags' -x -a '(__compliance_query_list gather all idle hint)' -d 'How to evaluate'
complete -c compliance-query -l strict -n '__compliance_query_lacks --strict' -x -d 'Results that are accepted'
complete -c compliance-query -l allow-empty -n '__compliance_query_lacks --allow-empty' -d 'Accept an evaluation without rows'
complete -c compliance-query -l allow-stale -n '__compliance_query_lacks --allow-stale' -d 'Accept a response that existed before the request'
complete -c compliance-query -l timeout -n '__compliance_query_lacks --timeout' -x -d 'Fail after this time'
complete -c compliance-query -l wait -n '__compliance_query_lacks --wait' -x -d 'Retry during this time'
complete -c compliance-query -l progress -n '__compliance_query_lacks --progress' -x -a 'auto bar lines none' -d 'How progress is shown'
complete -c compliance-query -s q -l quiet -n '__compliance_query_lacks -q --quiet' -d 'No progress and no notes'
complete -c compliance-query -l explain -n '__compliance_query_lacks --explain' -x -a '(seq 0 11) 129 130 143' -d 'Explain an exit status'
complete -c compliance-query -s h -l help -n '__compliance_query_lacks -h --help' -d 'Show the help'
complete -c compliance-query -s V -l version -n '__compliance_query_lacks -V --version' -d 'Show the version'
