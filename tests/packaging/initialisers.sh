#!/usr/bin/env bash
# Fails when loading a shared library runs an initialiser of its own: initialisers.sh LIBRARY
#
# The loader calls every function in the array .init_array. The C runtime always has frame_dummy there. Initialisers of
# sanitizers and coverage have a priority of at most 100, which the compiler reserves for the implementation, or with
# clang the name of the sanitizer.
set -euo pipefail
library=$1

read -r start offset size < <(readelf -SW "$library" |
    sed -n 's/.* \.init_array *INIT_ARRAY *\([0-9a-f]*\) \([0-9a-f]*\) \([0-9a-f]*\) .*/0x\1 0x\2 0x\3/p')
[ -n "$size" ] || { echo "$library: no .init_array"; exit 1; }

function_at() { nm "$library" | sed -n "s/^0*$1 [tT] //p" | head -n 1; }

# With a packed relative relocation (DT_RELR) the file has the address of the function.
functions=()
while read -r address; do
    functions+=("$(function_at "$address")")
done < <(od -A n -t x8 -v -w8 -j $((offset)) -N $((size)) "$library" | tr -d ' ')

# Any other relocation has the address or the name of the function.
while read -r place _ kind value name _; do
    ((place >= start && place < start + size)) || continue
    case $kind in
    *_RELATIVE) functions[(place - start) / 8]=$(function_at "$value") ;;
    *) functions[(place - start) / 8]=$name ;;
    esac
done < <(readelf -rW "$library" | sed -n 's/^[0-9a-f]\{8,\} .* R_[A-Z0-9]*_/0x&/p')

names=$(printf '%s\n' "${functions[@]}")
! grep -qx '' <<<"$names" || { echo "$library: an entry of .init_array has no known function"; exit 1; }
grep -qx frame_dummy <<<"$names" || { echo "$library: frame_dummy is missing from the initialisers: $names"; exit 1; }
if own=$(grep -vxE 'frame_dummy|_sub_I_00(0[0-9][0-9]|100)_.*|[at]san\.module_ctor' <<<"$names"); then
    echo "Loading $library runs:"
    c++filt <<<"$own"
    exit 1
fi
