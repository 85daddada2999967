#!/bin/sh
# Prints the complete table of the benchmarks on the standard output: medians of their repetitions, in less than
# eight minutes on a quiet machine. Arguments are passed on, for instance a group alone:
#   benchmarks/run-all.sh --benchmark_filter='^(start|cycle|lateness|share|delay)'
# Not in the table are many gateways on one server and on a cluster, some three minutes:
#   benchmarks/run-all.sh gateways
# VELK_BUILD is the build to run, build/dev without it.
set -e
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VELK_BUILD:-$root/build/dev}
[ -x "$build/bin/velk-benchmarks" ] || cmake --build "$build" --target velk_benchmarks >&2
echo "$(date -u +%F) $(nproc) cores, load $(cut -d' ' -f1-3 /proc/loadavg), $(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -1)"
if [ "$1" = gateways ]; then
    shift
    cmake --build "$build" --target velk_benchmark_gateways >&2
    "$build/bin/velk-benchmark-gateways" "$@"
    exec "$build/bin/velk-benchmark-gateways" --cluster "$@"
fi
exec "$build/bin/velk-benchmarks" --benchmark_min_time=0.2 "$@"
