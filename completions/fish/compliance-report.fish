# Completion of compliance-report for fish.
#
# Each option is offered once. "(commandline -opc)[-1]" is the word before the cursor: the option
# whose value is being completed does not count.

complete -c compliance-report -l strict -x -d 'Results that are good'
complete -c compliance-report -l allow-empty -n 'not __fish_contains_opt allow-empty' -d 'A result without rows needs no attention'
complete -c compliance-report -l hosts -n 'not __fish_contains_opt hosts' -r -F -d 'Hosts that are expected'
complete -c compliance-report -l max-age -n 'not __fish_contains_opt max-age; or test (commandline -opc)[-1] = --max-age' -x -d 'Maximum age of a result'
complete -c compliance-report -l html -r -F -d 'Write a page'
complete -c compliance-report -l csv -r -F -d 'Write all rows'
complete -c compliance-report -l junit -r -F -d 'Write test suites'
complete -c compliance-report -l markdown -r -F -d 'Write tables'
complete -c compliance-report -l json -r -F -d 'Write the counts of each host'
complete -c compliance-report -l mode -n 'not __fish_contains_opt mode; or test (commandline -opc)[-1] = --mode' -x -d 'Mode of the reports'
complete -c compliance-report -s q -l quiet -n 'not __fish_contains_opt -s q quiet' -d 'No progress and no notes'
complete -c compliance-report -s h -l help -n 'not __fish_contains_opt -s h help' -d 'Show the help'
complete -c compliance-report -s V -l version -n 'not __fish_contains_opt -s V version' -d 'Show the version'
