#!/usr/bin/env bash
# Follows docs/using-the-library.md with an installed tree, once with CMake and once with pkg-config:
# using_the_library.sh PAGE PREFIX LIBDIR FOLDER
#
# Uses every block of the page: ```cpp is example.cpp or, without a function main, a quotation of an example, ```cmake is CMakeLists.txt, ```sh are commands for one shell,
# ```gdb are commands of gdb, and a block without a language is the output of the commands before it.
set -euo pipefail
page=$1 prefix=$2 libdir=$3 folder=$4

rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"

# One file for each block, named after its number and language. A library folder of another name than CMake's own is
# what the reader has to replace.
awk '
    /^```/ && file == "" { file = sprintf("%02d.%s", ++count, $0 == "```" ? "output" : substr($0, 4)); next }
    /^```$/ { close(file); file = ""; next }
    file != "" { print > file }
' "$page"
blocks=(*.*)
sed -i "s|\<PREFIX/lib\>|$prefix/$libdir|g; s|\<PREFIX\>|$prefix|g" "${blocks[@]}"

is_quoted() { # TEXT
    local example
    for example in "$(dirname "$page")"/../examples/*.cpp; do
        [[ $'\n'$(<"$example")$'\n' != *$'\n'"$1"$'\n'* ]] || return 0
    done
    return 1
}

follow() { # COMMAND-THAT-BUILDS COMMAND-OF-THE-OTHER-WAY
    local block checked=0
    rm -rf "$1"
    mkdir "$1"
    cd "$1"
    # While a block runs, its output goes to these files.
    exec 3>&2
    trap 'cat messages printed >&3' EXIT
    for block in "${blocks[@]}"; do
        case $block in
        *.cpp)
            if grep -q '^int main' "../$block"; then
                cp "../$block" example.cpp
            elif ! is_quoted "$(<"../$block")"; then
                echo "no example has the text of $block" >messages
                exit 1
            fi
            ;;
        *.cmake) cp "../$block" CMakeLists.txt ;;
        *.sh)
            ! grep -qw -e "$2" "../$block" || continue
            # shellcheck source=/dev/null
            . "../$block" >printed 2>messages
            ;;
        *.output)
            diff -u "../$block" printed
            checked=$((checked + 1))
            ;;
        *.gdb)
            command -v gdb >/dev/null || continue
            gdb --batch --nx -x "../$block" -ex 'info pretty-printer' >printed 2>messages
            grep -q tarnwick printed
            ;;
        *)
            echo "a block of an unknown kind: $block" >messages
            exit 1
            ;;
        esac
    done
    trap - EXIT
    [ "$checked" -eq 1 ] || { echo "the page has $checked blocks of output"; exit 1; }
}

(follow cmake g++)
(follow g++ cmake)
