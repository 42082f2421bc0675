#!/usr/bin/env bash
# Builds and runs a consumer with only pkg-config: build.sh COMPILER SOURCE FOLDER
set -euo pipefail
compiler=$1 source=$2 folder=$3

mkdir -p "$folder"
read -r -a flags < <(pkg-config --cflags --libs tarnwick)
"$compiler" -std=c++20 "$source" -o "$folder/consumer" "${flags[@]}"
"$folder/consumer"
