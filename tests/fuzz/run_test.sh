#!/usr/bin/env bash
# Tests which page of figures `run` writes, in a tree whose fuzzers only print figures: run_test.sh FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

rm -rf "$1"
mkdir -p "$1/tests/fuzz" "$1/build/fuzz/tests/fuzz"
cd "$1"
cp "$here/run" tests/fuzz
for target in rpc_reports protobuf_reports capture configuration bridge recording; do
    cat >"build/fuzz/tests/fuzz/fuzz_$target" <<'SCRIPT'
#!/bin/sh
printf 'stat::number_of_executed_units: 1234567\nparsed: 1000000\ncpu seconds: 100.0\n'
[ "${0##*_}" != "$FAILING" ]
SCRIPT
done
chmod +x build/fuzz/tests/fuzz/*

failed=0
expect_page() { # STATUS PAGE ROWS [FAILING-TARGET [ARGUMENT...]]
    local status=0 found
    rm -rf docs build/fuzz/figures.md
    FAILING=${4:-} tests/fuzz/run "${@:5}" >log 2>&1 || status=$?
    found=$(ls -d docs/figures/* build/fuzz/figures.md 2>/dev/null || true)
    [ "$status, $found, $(grep -c '^| [`a]' "$found")" = "$1, $2, $3" ] || {
        failed=1
        printf 'run %s: status %s, page %s\n' "${*:5}" "$status" "$found"
        cat log "$found"
    }
}
expect_page 0 docs/figures/fuzzing.md 7
# shellcheck disable=SC2016  # Markdown
for row in '| `bridge` | 1,234,567 | 81% | 12,345 |' '| all | 7,407,402 | 81% |  |'; do
    grep -qxF "$row" docs/figures/fuzzing.md || {
        failed=1
        printf 'no row "%s" in:\n' "$row"
        cat docs/figures/fuzzing.md
    }
done
expect_page 1 build/fuzz/figures.md 7 capture
expect_page 0 build/fuzz/figures.md 7 '' 60
expect_page 0 build/fuzz/figures.md 2 '' bridge
exit "$failed"
