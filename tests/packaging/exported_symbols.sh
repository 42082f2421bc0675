#!/usr/bin/env bash
# Compares the exported symbols of a shared library with a list: exported_symbols.sh LIBRARY LIST
set -euo pipefail
library=$1 list=$2

exported=$(nm -DC --defined-only "$library" | cut -d ' ' -f 3- | LC_ALL=C sort -u)
[ -n "$exported" ] || { echo "$library exports nothing"; exit 1; }
if ! diff -u --label "$list" --label "$library" "$list" - <<<"$exported"; then
    cat <<TEXT

The symbols of $library (+) differ from the list (-). Programs linked with an older version need the symbols that are
missing. If the change is intended, update the list:

    nm -DC --defined-only '$library' | cut -d ' ' -f 3- | LC_ALL=C sort -u >'$list'
TEXT
    exit 1
fi
