# Completion of tarnwick in fish. The program prints the candidates; without any, fish completes names of files.

function __tarnwick_find
    set -l before (commandline -opc)
    set -l current (commandline -ct)
    set -g __tarnwick_found ($before[1] complete $before[2..] "$current" 2>/dev/null)
    test -n "$__tarnwick_found"
end

complete -c tarnwick -n __tarnwick_find -f -a '$__tarnwick_found'
