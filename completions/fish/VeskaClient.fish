# Completion of VeskaClient, the stand-in agent, for fish.

complete -c VeskaClient -l check -n 'not __fish_contains_opt check' -d 'Only look for mistakes in the file'
complete -c VeskaClient -l help -n 'not __fish_contains_opt help' -d 'Show the usage'
complete -c VeskaClient -l version -n 'not __fish_contains_opt version' -d 'Show the version'
