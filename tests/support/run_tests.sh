#!/usr/bin/env bash
# Runs a test program under Wine. It has passed when it says so in its closing
# line and ends with exit code 0: a program that overflowed its stack has been
# seen to end with 0 too, without that line.
# usage: tests/support/run_tests.sh <program> [arguments]
set -uo pipefail

said=$(mktemp)
trap 'rm -f "$said"' EXIT
wine "$@" | tee "$said"
status=${PIPESTATUS[0]}
if [ "$status" -eq 0 ] && ! grep -qE '^\[  PASSED  \] [1-9][0-9]* tests?\.' "$said"; then
    echo "$1 ended without its closing line" >&2
    exit 1
fi
exit "$status"
