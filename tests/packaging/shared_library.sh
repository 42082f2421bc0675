#!/usr/bin/env bash
# Checks the SONAME of a shared library, and that the libraries it is linked with define all its symbols:
# shared_library.sh LIBRARY SONAME
set -euo pipefail
library=$1 soname=$2

found=$(readelf -dW "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]$/\1/p')
[ "$found" = "$soname" ] || { echo "SONAME is '$found', not '$soname'"; exit 1; }

# The program may link the runtime of a sanitizer.
if undefined=$(ldd -r "$library" 2>&1 | grep -E 'undefined symbol|not found' | grep -vE ': __[a-z]*san_'); then
    echo "$library has undefined symbols:"
    c++filt <<<"$undefined"
    exit 1
fi
