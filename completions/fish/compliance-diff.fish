# Completion of compliance-diff for fish.
#
# Each option is offered once. "(commandline -opc)[-1]" is the word before the cursor: the option
# whose value is being completed does not count.

complete -c compliance-diff -l regressions -x -d 'Only rows whose result is no longer in the list'
complete -c compliance-diff -l json -n 'not __fish_contains_opt json color' -d 'One JSON document'
complete -c compliance-diff -l color -n 'not __fish_contains_opt json color; or test (commandline -opc)[-1] = --color' -x -a 'auto always never' -d 'Colour of the rows'
complete -c compliance-diff -s h -l help -n 'not __fish_contains_opt -s h help' -d 'Show the help'
complete -c compliance-diff -s V -l version -n 'not __fish_contains_opt -s V version' -d 'Show the version'
