# Completion of compliance-query for fish.

complete -c compliance-query -f
complete -c compliance-query -s d -d 'What the agent evaluates by default'
complete -c compliance-query -l table -d 'Columns for eyes'
complete -c compliance-query -l tsv -d 'Tab-separated values'
complete -c compliance-query -l json -d 'One JSON document'
complete -c compliance-query -l ndjson -d 'One JSON object a row'
complete -c compliance-query -l flags -x -a '(__fish_append , gather all idle hint)' -d 'How to evaluate'
complete -c compliance-query -l strict -x -d 'Results that are accepted'
complete -c compliance-query -l timeout -x -d 'Give up after so many seconds'
complete -c compliance-query -l progress -x -a 'auto bar lines none' -d 'How progress is shown'
complete -c compliance-query -l quiet -d 'No progress and no notes'
complete -c compliance-query -s h -l help -d 'Show the help'
complete -c compliance-query -l version -d 'Show the version'
