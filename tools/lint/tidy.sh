#!/usr/bin/env bash
# Runs clang-tidy (.clang-tidy has the checks) over the sources of src, as the
# clang build compiles them, two at a time; fails when it finds something.
# usage: tools/lint/tidy.sh [--deep] [source...]
#   --deep   the path-sensitive checks as well, for an occasional long look
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

database=build/clang/compile_commands.json
if [ ! -f "$database" ]; then
    echo "tidy: $database is missing; ./dev clang makes it" >&2
    exit 1
fi

export extra_checks=
if [ "${1:-}" = --deep ]; then
    extra_checks='clang-analyzer-core*,clang-analyzer-cplusplus*,clang-analyzer-deadcode*'
    shift
fi

if [ $# -gt 0 ]; then
    sources=("$@")
else
    mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- 'src/*.cpp')
fi

# One source. The commands begin with ccache, which clang-tidy knows to skip.
# The counts of what it found outside src are of no interest.
tidy() {
    local status=0 report
    if ! grep -qF "\"$PWD/$1\"" build/clang/compile_commands.json; then
        echo "$1: the clang build does not compile it"
        return 1
    fi
    report=$(nice clang-tidy-14 -p build/clang --quiet ${extra_checks:+--checks="$extra_checks"} \
        "$1" 2>&1) || status=$?
    grep -vE '^[0-9]+ warnings?( and [0-9]+ errors?)? generated|^Suppressed |^Use -header-filter' \
        <<<"$report" | sed "s|$PWD/||" || true
    return "$status"
}
export -f tidy

started=$SECONDS
if ! printf '%s\0' "${sources[@]}" | xargs -0 -n 1 -P 2 bash -c 'tidy "$1" || exit 1' tidy; then
    echo "tidy: there are findings"
    exit 1
fi
echo "tidy: nothing found in ${#sources[@]} sources, $((SECONDS - started)) s"
