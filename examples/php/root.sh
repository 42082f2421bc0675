# shellcheck shell=bash
# Sourced after toolchain/toolchain.sh: the recorder's root is the same except for its packages, so it has another name.

: "${repo:?}"
say() { printf 'record: %s\n' "$*" >&2; }
package_list() { sed 's/#.*//' "$repo/examples/php/packages" | tr -s '[:space:]' '\n' | grep .; }
