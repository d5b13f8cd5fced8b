# Completion of compliance-doctor for fish.

complete -c compliance-doctor -f
complete -c compliance-doctor -l json -n 'not __fish_contains_opt json' -d 'One JSON document'
complete -c compliance-doctor -s h -l help -n 'not __fish_contains_opt -s h help' -d 'Show the help'
complete -c compliance-doctor -s V -l version -n 'not __fish_contains_opt -s V version' -d 'Show the version'
