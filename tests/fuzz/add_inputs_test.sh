#!/usr/bin/env bash
# Tests add_inputs, and that each input of the given archives has the SHA-1 of its bytes as its name:
# add_inputs_test.sh FOLDER ARCHIVE...
set -euo pipefail
trap 'echo "the command in line $LINENO failed"' ERR
add_inputs=$(cd "$(dirname "$0")" && pwd)/add_inputs
folder=$1
shift

failed=0
expect() { # NAME EXPECTED ACTUAL
    [ "$2" = "$3" ] || {
        failed=1
        printf '%s: expected\n%s\nbut got\n%s\n' "$@"
    }
}
add() { "$add_inputs" "$@" >/dev/null; }
names() { tar -tzf "$1"; }

for archive; do
    rm -rf "$folder"
    mkdir -p "$folder"
    tar -xzf "$archive" -C "$folder"
    expect "inputs_have_their_sha1_as_name ($archive)" "$(names "$archive")" \
        "$(cd "$folder" && sha1sum ./* | cut -c 1-40)"
done

rm -rf "$folder"
mkdir -p "$folder/inputs"
cd "$folder"
printf 'one' >inputs/1
printf 'two\0\n' >inputs/2
sha1_of_one=$(sha1sum <inputs/1 | cut -c 1-40)
sha1_of_two=$(sha1sum <inputs/2 | cut -c 1-40)

add both.tar.gz inputs
expect inputs_are_sorted_by_name "$(printf '%s\n' "$sha1_of_one" "$sha1_of_two" | LC_ALL=C sort)" "$(names both.tar.gz)"
mkdir unpacked
tar -xzf both.tar.gz -C unpacked
expect bytes_are_unchanged "$(cat inputs/1 inputs/2 | sha1sum)" \
    "$(cat "unpacked/$sha1_of_one" "unpacked/$sha1_of_two" | sha1sum)"

touch -d @1 inputs/1
chmod 755 inputs/1
add one_by_one.tar.gz inputs/2
add one_by_one.tar.gz inputs/1
add one_by_one.tar.gz inputs/1
expect an_archive_depends_only_on_its_inputs "$(sha1sum <both.tar.gz)" "$(sha1sum <one_by_one.tar.gz)"

expect entries_have_fixed_owners_and_times "-rw-r--r-- 0/0 1970-01-01 00:00" \
    "$(tar --utc -tvzf both.tar.gz | awk '{ print $1, $2, $4, $5 }' | sort -u)"

if add both.tar.gz inputs/1 inputs/missing 2>/dev/null; then
    expect a_missing_input_is_an_error error success
fi
expect an_error_leaves_the_archive_unchanged "$(sha1sum <one_by_one.tar.gz)" "$(sha1sum <both.tar.gz)"
expect an_error_leaves_no_file '' "$(find . -name '*.new')"
exit "$failed"
