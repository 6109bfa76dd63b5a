#!/bin/sh
# Fetches the distribution's source package of Crypto++ into .cache/cryptopp.
# Does nothing when the source is already there; --again fetches it anew.
set -eu

root=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)
. "$root/tools/dev/fetch_source.sh"

case "${1:-}" in
'') ;;
--again) rm -rf "$root/.cache/cryptopp/cryptopp" ;;
*) fetch_fail "unknown argument '$1' (only --again is known)" ;;
esac

# Users include <cryptopp/...>, hence the folder inside a folder.
fetch_source libcrypto++ cryptopp/cryptopp cryptlib.h
