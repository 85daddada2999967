#!/bin/sh
# renew.sh [BUILD-DIRECTORY]: writes the golden trees anew from what the library builds now (default: build/dev).
# Read `git diff` afterwards: every line that came or went is something that users of the store will see.
set -u
cd "$(dirname "$0")/../../../.." || exit 2
program=${1:-build/dev}/tests/simulator_golden_test
[ -x "$program" ] || { echo "$program is not there; build simulator_golden_test first" >&2; exit 2; }
# The tests fail when they renew, so that a run with the variable set by mistake cannot pass.
VELK_RENEW_GOLDEN=1 "$program" >/dev/null 2>&1
git --no-pager diff --stat -- tests/plugins/simulator/golden
