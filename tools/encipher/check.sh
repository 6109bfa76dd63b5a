#!/usr/bin/env bash
# Files come back as they were, or are refused without an output: never written over are the key
# and the input.
# usage: tools/encipher/check.sh <program>
set -euo pipefail

program=$1
export WINEDEBUG=-all
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

# What the program has to end with, and its arguments.
expect() {
    local wanted=$1 code=0
    shift
    wine "$program" -k key "$@" </dev/null || code=$?
    if [ "$code" -ne "$wanted" ]; then
        echo "encipher $* ended with $code and not with $wanted" >&2
        exit 1
    fi
}

printf ' %s\r\n' "$(printf '%02x' {0..31})" | tee key >key.before
printf 'Gr\xC3\xBC\xC3\x9Fe\r\n' >in
expect 0 -e 3 in made
expect 0 -d -e 3 made back
cmp in back
expect 2 -e 2 in ./KEY
cmp key key.before
expect 3 -d -e 2 made out
[ ! -e out ]
echo "encipher_check: files come back or are refused"
