# Completion of VeskaClient, the stand-in agent, for fish.

complete -c VeskaClient -l check -d 'Only look for mistakes in the file'
complete -c VeskaClient -l help -d 'Show the usage'
