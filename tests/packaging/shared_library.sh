#!/usr/bin/env bash
# Checks a shared library's SONAME, and that all it needs is in the libraries that it names itself:
# shared_library.sh LIBRARY SONAME
set -euo pipefail
library=$1 soname=$2

found=$(readelf -dW "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]$/\1/p')
[ "$found" = "$soname" ] || { echo "SONAME is '$found', not '$soname'"; exit 1; }

# The run time of a sanitizer can be left to the program.
if undefined=$(ldd -r "$library" 2>&1 | grep -E 'undefined symbol|not found' | grep -vE ': __[a-z]*san_'); then
    echo "$library lacks:"
    c++filt <<<"$undefined"
    exit 1
fi
