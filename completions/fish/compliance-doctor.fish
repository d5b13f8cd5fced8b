# Completion of compliance-doctor for fish.

complete -c compliance-doctor -f
complete -c compliance-doctor -l json -d 'One JSON document'
complete -c compliance-doctor -s h -l help -d 'Show the help'
complete -c compliance-doctor -l version -d 'Show the version'
