#!/usr/bin/env bash
# Checks an executable that is to be handed out: what it imports, its size, its
# flags, and that nothing of the machine that built it is in it.
# usage: tools/dev/check_executable.sh <executable>
set -uo pipefail

executable=$1
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
failed=0

complain() {
    echo "$(basename "$executable"): $*" >&2
    failed=1
}

# Reads 32-bit programs as well.
tool=x86_64-w64-mingw32
headers=$("$tool-objdump" -p "$executable") || exit 1

# What is on no list of late loading comes in as a plain import, and from
# whatever folder the system finds it in.
imports=$(sed -n 's/.*DLL Name: //p' <<<"$headers" | sort -f | tr '\n' ' ')
[ "$imports" = "KERNEL32.dll msvcrt.dll " ] || complain "imports $imports"

flags=(DYNAMIC_BASE NX_COMPAT)
# How exceptions pass a function takes more room with 32 bits.
most=1800000
if grep -q 'file format pei-x86-64' <<<"$headers"; then
    flags+=(HIGH_ENTROPY_VA)
    most=1600000
fi
for flag in "${flags[@]}"; do
    grep -qw "$flag" <<<"$headers" || complain "lacks the flag $flag"
done
# Without its relocations a program is not moved, whatever the flag says.
grep -qi 'Entry 5 [0-9a-f]*[1-9a-f][0-9a-f]* .*Base Relocation' <<<"$headers" ||
    complain "has no relocations"
[ "$(sed -n 's/^Time\/Date\t*//p' <<<"$headers" | xargs -I{} date -u -d {} +%s)" = 0 ] ||
    complain "has a time stamp"

size=$(stat -c %s "$executable")
[ "$size" -le "$most" ] || complain "has $size bytes, more than $most"

# Texts of one byte and of two bytes to a character.
texts=$("$tool-strings" -a -n 5 "$executable"; "$tool-strings" -a -n 5 -e l "$executable")
traces=$(grep -nE '(^|[^./A-Za-z0-9])/(home|root|tmp|usr|build|work|opt|var|srv|mnt)/|[A-Za-z]:\\Users\\' \
    <<<"$texts")
[ -z "$traces" ] || complain "has a path: $traces"
for name in "$root" "$HOME" "$(id -un)" "$(hostname)"; do
    # A short name may be a word of its own.
    [ ${#name} -ge 6 ] || continue
    ! grep -qwF -- "$name" <<<"$texts" || complain "names $name"
done
exit "$failed"
