# Completion of compliance-diff for fish.

complete -c compliance-diff -l regressions -x -d 'Only rows whose result is no longer in the list'
complete -c compliance-diff -l json -n 'not __fish_contains_opt json color' -d 'One JSON document'
complete -c compliance-diff -l color -n 'not __fish_contains_opt json color' -x -a 'auto always never' -d 'Colour of the rows'
complete -c compliance-diff -s h -l help -n 'not __fish_contains_opt -s h help' -d 'Show the help'
complete -c compliance-diff -s V -l version -n 'not __fish_contains_opt -s V version' -d 'Show the version'
