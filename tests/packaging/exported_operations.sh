#!/usr/bin/env bash
# Checks that a shared library exports every operation of a list: exported_operations.sh LIBRARY LIST
# Lines of the list that start with # are comments.
set -euo pipefail
library=$1 list=$2

wanted=$(grep -v '^#' "$list" | LC_ALL=C sort -u)
[ -n "$wanted" ] || { echo "$list has no operations"; exit 1; }
exported=$(nm -DC --defined-only "$library" | cut -d ' ' -f 3- | LC_ALL=C sort -u)
missing=$(LC_ALL=C comm -23 <(echo "$wanted") <(echo "$exported"))
if [ -n "$missing" ]; then
    echo "$library does not export:"
    echo "$missing"
    exit 1
fi
