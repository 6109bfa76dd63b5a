#!/usr/bin/env bash
# Makes dist/zuplutil-<version>.zip of an executable and what goes with it.
# usage: tools/dev/package.sh <zuplutil.exe>
set -euo pipefail

executable=$1
version=$(sed -n 's/^project(pellory VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
archive=$PWD/dist/zuplutil-$version.zip
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

mkdir -p dist
cp "$executable" "$folder/zuplutil.exe"
cp README.md "$folder/README.md"
rm -f "$archive"
# Without extra fields and with one fixed date the archive is reproducible.
find "$folder" -exec touch -d '2020-01-01 00:00:00Z' {} +
(cd "$folder" && TZ=UTC zip -q -X "$archive" zuplutil.exe README.md)

echo "dist/zuplutil-$version.zip: $(stat -c %s "$archive") bytes"
echo "zuplutil.exe: $(stat -c %s "$executable") bytes, imports:"
x86_64-w64-mingw32-objdump -p "$executable" | sed -n 's/.*DLL Name: /  /p'
