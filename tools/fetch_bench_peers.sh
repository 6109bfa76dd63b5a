#!/bin/sh
# Fetches the distribution's source packages of Google Benchmark and pugixml
# into .cache; the other peers are packages of headers. Does nothing when the
# sources are already there; --again fetches them anew.
set -eu

root=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)
. "$root/tools/dev/fetch_source.sh"

case "${1:-}" in
'') ;;
--again) rm -rf "$root/.cache/benchmark" "$root/.cache/pugixml" ;;
*) fetch_fail "unknown argument '$1' (only --again is known)" ;;
esac

fetch_source benchmark benchmark include/benchmark/benchmark.h
fetch_source pugixml pugixml src/pugixml.hpp
