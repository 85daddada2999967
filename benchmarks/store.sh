#!/bin/sh
# Measures the store against its targets, side by side with a Redis server that it starts itself; in less than four
# minutes on a quiet machine. Arguments are passed on. VELK_BUILD is the build to run, build/dev without it.
exec "$(dirname "$0")/run-all.sh" --benchmark_filter='^store: ' "$@"
