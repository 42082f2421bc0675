# shellcheck shell=bash
# Completion of tarnwick in bash. The program prints the candidates; without any, bash completes names of files.

_tarnwick() {
    local words=() word
    for word in "${COMP_WORDS[@]:0:COMP_CWORD+1}"; do
        # Readline splits --NAME=VALUE into three words.
        if [[ $word == = || ${words[*]: -1} == --*= ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
    done
    mapfile -t COMPREPLY < <("${words[0]}" complete "${words[@]:1}" 2>/dev/null | cut -f 1)
    # Readline replaces only the part that it split off.
    [[ ${words[-1]} == "${COMP_WORDS[COMP_CWORD]}" ]] || COMPREPLY=("${COMPREPLY[@]#*=}")
    [[ ${COMPREPLY[*]} != *= ]] || compopt -o nospace
}

complete -o default -F _tarnwick tarnwick
