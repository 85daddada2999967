#!/bin/sh
# tidy.sh BUILD-DIRECTORY FILE...: clang-tidy over the files, as many at once as there are cores.
build=$1
shift
printf '%s\n' "$@" | xargs -P "$(nproc)" -n 4 clang-tidy-14 --quiet -p "$build"
