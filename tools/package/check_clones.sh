#!/usr/bin/env bash
# Builds the package of the last commit in two clones, in folders of different
# depth and without the compiler's cache, and checks it. Both packages must have
# the same bytes, and so must that of this tree, built as it is built every day,
# unless something in it is not committed. Takes some five minutes on two
# processors that have nothing else to do.
# usage: tools/package/check_clones.sh <the tree's package>
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
own=$(realpath "$1")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
packages=()
commit=$(git -C "$root" rev-parse HEAD)

for clone in "$folder/a" "$folder/a folder with blanks/and-one-below-it"; do
    git clone --quiet --no-checkout "$root" "$clone"
    git -C "$clone" checkout --quiet --detach "$commit"
    # The source of Crypto++ as it was fetched, but in the clone's own folder.
    mkdir "$clone/.cache"
    cp -a "$root/.cache/cryptopp" "$clone/.cache"
    (cd "$clone" && env -u CFLAGS -u CXXFLAGS CCACHE_DISABLE=1 ./dev package) >"$clone.log" 2>&1 || {
        cat "$clone.log" >&2
        exit 1
    }
    packages+=("$clone/dist/$(basename "$own")")
    "$clone/tools/package/check_package.py" "${packages[-1]}"
done

what="two clones"
if [ -z "$(git -C "$root" status --porcelain)" ]; then
    what+=" and this tree"
    packages+=("$own")
else
    echo "Not everything is committed: what is checked is the last commit"
fi
for package in "${packages[@]:1}"; do
    if ! cmp "${packages[0]}" "$package"; then
        for each in "${packages[0]}" "$package"; do
            unzip -p "$each" SHA256SUMS.txt | sort -k 2
        done | sort -k 2 | uniq -u >&2
        echo "the packages of one commit differ" >&2
        exit 1
    fi
done
echo "package: $what give the same $(stat -c %s "${packages[0]}") bytes," \
    "SHA-256 $(sha256sum "${packages[0]}" | cut -c 1-16)..."
