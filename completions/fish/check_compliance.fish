# Completion of check_compliance for fish.
#
# Each option is offered once. "(commandline -opc)[-1]" is the word before the cursor: the option
# whose value is being completed does not count.

complete -c check_compliance -f
complete -c check_compliance -s d -n 'not __fish_contains_opt -s d' -d 'Evaluate the default of the agent'
complete -c check_compliance -s r -l result -n 'not __fish_contains_opt -s r result; or contains -- (commandline -opc)[-1] -r --result' -rF -d 'Check a stored result'
complete -c check_compliance -s s -l strict -x -d 'Results that are good'
complete -c check_compliance -s w -l warning -n 'not __fish_contains_opt -s w warning' -x -d 'Range of bad rows without a warning'
complete -c check_compliance -s c -l critical -n 'not __fish_contains_opt -s c critical' -x -d 'Range of bad rows that is not critical'
complete -c check_compliance -l max-age -n 'not __fish_contains_opt max-age' -x -d 'Maximum age of a fresh result'
complete -c check_compliance -l no-result -n 'not __fish_contains_opt no-result; or test (commandline -opc)[-1] = --no-result' -xa 'unknown critical' -d 'State without a fresh result'
complete -c check_compliance -l flags -n 'not __fish_contains_opt flags; or test (commandline -opc)[-1] = --flags' -xa 'gather all idle hint' -d 'How to evaluate'
complete -c check_compliance -l wait -n 'not __fish_contains_opt wait' -x -d 'Retry during this time'
complete -c check_compliance -s t -l timeout -n 'not __fish_contains_opt -s t timeout' -x -d 'Timeout of the check'
complete -c check_compliance -s v -l verbose -d 'List the bad rows'
complete -c check_compliance -s h -l help -n 'not __fish_contains_opt -s h help' -d 'Show the help'
complete -c check_compliance -s V -l version -n 'not __fish_contains_opt -s V version' -d 'Show the version'
