#!/bin/sh
# tidy.sh BUILD-DIRECTORY: clang-tidy over everything that the build compiles but tests and benchmarks, as many at once as
# there are cores. Files that are compiled together are looked at together: the one that includes them is the build's own.
set -eu
mkdir -p "$1/tidy"
# What only the other compiler knows is left out.
sed 's/ -fno-gnu-unique//' "$1/compile_commands.json" >"$1/tidy/compile_commands.json"
sed -n 's/^ *"file": "\(.*\)",*$/\1/p' "$1/tidy/compile_commands.json" | grep -vE '/(tests|benchmarks|fuzz)/' | sort -u |
    xargs -P "$(nproc)" -n 1 clang-tidy-14 --quiet -p "$1/tidy" --checks=-bugprone-suspicious-include \
        --extra-arg=-Wno-unknown-warning-option
