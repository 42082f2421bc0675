#!/usr/bin/env bash
# Tests initialisers.sh on libraries with and without initialisers, in each form of relocation of the linker:
# initialisers_test.sh COMPILER FOLDER
set -euo pipefail
compiler=$1 folder=$2
initialisers=$(cd "$(dirname "$0")" && pwd)/initialisers.sh

mkdir -p "$folder"
cd "$folder"
failed=0

# Compares the output with the expected one: empty, or the name of the only initialiser.
check() { # FORM SOURCE NAME [LINKER-OPTION...]
    local form=$1 source=$2 expected='^status 0$' output
    [ -z "$3" ] || expected="^Loading library.so runs:.($3).status 1\$"
    "$compiler" -shared -fPIC -O0 -o library.so -x c++ - "${@:4}" <<<"$source"
    [ "$form" != packed ] || readelf -dW library.so | grep -q '(RELR)' || {
        echo 'skipped: this linker does not pack relocations'
        return
    }
    output=$("$initialisers" library.so 2>&1 && echo status 0 || echo "status $?")
    [[ $output =~ $expected ]] || {
        printf '%s, %s\n%s\n' "$form" "$source" "$output"
        failed=1
    }
}

for form in plain packed; do
    options=()
    [ "$form" = plain ] || options=('-Wl,-z,pack-relative-relocs')
    # The pointer ensures that there is a relocation to pack.
    data='int n = 0; int *p = &n; static int f() { return *p; } '
    check "$form" "$data int g() { return f(); }" '' "${options[@]}"
    check "$form" "$data int v = f();" '_GLOBAL__sub_I_.*|global constructors keyed to .*' "${options[@]}"
    check "$form" "$data __attribute__((constructor)) void exported() { f(); }" 'exported\(\)' "${options[@]}"
    check "$form" "$data __attribute__((constructor)) static void hidden() { f(); }" 'hidden\(\)' "${options[@]}"
done
exit "$failed"
