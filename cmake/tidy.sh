#!/bin/sh
# tidy.sh BUILD-DIRECTORY: clang-tidy over everything that the build compiles but tests and benchmarks, as many at once as
# there are cores. Files that are compiled together are looked at together.
sed -n 's/^ *"file": "\(.*\)",*$/\1/p' "$1/compile_commands.json" | grep -vE '/(tests|benchmarks)/' | sort -u |
    xargs -P "$(nproc)" -n 1 clang-tidy-14 --quiet -p "$1" --extra-arg=-Wno-unknown-warning-option
