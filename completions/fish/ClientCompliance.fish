# Completion of ClientCompliance for fish.

function __ClientCompliance_words
    count (commandline -opc)
end

complete -c ClientCompliance -f
complete -c ClientCompliance -n 'test (__ClientCompliance_words) -eq 1' -o d -d 'Evaluate the default of the agent'
complete -c ClientCompliance -n 'test (__ClientCompliance_words) -eq 1' -o c -d 'Evaluate a document of a site'
complete -c ClientCompliance -n 'test (__ClientCompliance_words) -eq 4' -a '(seq 0 15)' -d 'Flags'
