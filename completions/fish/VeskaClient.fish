# Completion of VeskaClient, the stand-in agent, for fish.

complete -c VeskaClient -l check -n 'not __fish_contains_opt check' -d 'Check the scenario'
complete -c VeskaClient -l help -n 'not __fish_contains_opt help' -d 'Show the help'
complete -c VeskaClient -l version -n 'not __fish_contains_opt version' -d 'Show the version'
