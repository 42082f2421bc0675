#!/usr/bin/env bash
# Compares what a shared library exports with a list: exported_symbols.sh LIBRARY LIST
set -euo pipefail
library=$1 list=$2

exported=$(nm -DC --defined-only "$library" | cut -d ' ' -f 3- | LC_ALL=C sort -u)
[ -n "$exported" ] || { echo "$library exports nothing"; exit 1; }
if ! diff -u --label "$list" --label "$library" "$list" - <<<"$exported"; then
    cat <<TEXT

What $library exports (+) is not what the list says (-). Programs that were linked before miss what is gone.
Where the change is meant, renew the list:

    nm -DC --defined-only '$library' | cut -d ' ' -f 3- | LC_ALL=C sort -u >'$list'
TEXT
    exit 1
fi
