# shellcheck shell=bash
# How long the stages of CI take. Sourced by ./dev and .ci/run.

# Runs a command. Where TARNWICK_TIMES names a file, appends the stage's name, its wall time, user time and system time.
timed() { # STAGE COMMAND...
    if [ -z "${TARNWICK_TIMES:-}" ]; then
        "${@:2}"
        return
    fi
    local TIMEFORMAT="stage $1 %R %U %S"
    { time "${@:2}" 2>&3 3>&-; } 3>&2 2>>"$TARNWICK_TIMES"
}

# Prints the file as a table in seconds, with the sums. Messages of the shell about a stage are in the file too.
print_times() {
    LC_ALL=C awk 'BEGIN { printf "\n%-20s %10s %10s\n", "stage", "wall", "CPU" }
        $1 != "stage" { print; next }
        { wall += $3; cpu += $4 + $5; printf "%-20s %8.0f s %8.0f s\n", $2, $3, $4 + $5 }
        END { printf "%-20s %8.0f s %8.0f s\n", "all", wall, cpu }' "$TARNWICK_TIMES"
}
