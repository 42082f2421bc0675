#!/usr/bin/env bash
# Fails when loading a shared library runs an initialiser of its own: initialisers.sh LIBRARY
#
# Every function that the loader calls stands in the array .init_array. The C runtime's frame_dummy always does. What
# sanitizers and coverage add has a priority of at most 100, which the compiler refuses to everyone else.
set -euo pipefail
library=$1

read -r start size < <(readelf -SW "$library" |
    sed -n 's/.* \.init_array *INIT_ARRAY *\([0-9a-f]*\) [0-9a-f]* \([0-9a-f]*\) .*/0x\1 0x\2/p')
[ -n "$size" ] || { echo "$library: no .init_array"; exit 1; }

# The loader fills the array by relocations: of the address of a function that is known here alone, or of a name.
functions=()
while read -r place _ kind rest; do
    ((place >= start && place < start + size)) || continue
    case $kind in
    *_RELATIVE) functions+=("$(nm "$library" | sed -n "s/^0*$rest [tT] //p" | head -n 1)") ;;
    *) functions+=("$rest") ;;
    esac
done < <(readelf -rW "$library" | sed -n 's/^[0-9a-f]\{8,\} /0x&/p')
((${#functions[@]} * 8 == size)) || { echo "$library: an entry of .init_array is not understood"; exit 1; }

names=$(printf '%s\n' "${functions[@]}")
grep -qx frame_dummy <<<"$names" || { echo "$library: frame_dummy is not among the initialisers: $names"; exit 1; }
if own=$(grep -vxE 'frame_dummy|_sub_I_00(0[0-9][0-9]|100)_.*' <<<"$names"); then
    echo "Loading $library runs:"
    c++filt <<<"$own"
    exit 1
fi
