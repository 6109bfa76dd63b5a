#!/usr/bin/env bash
# Fills a folder with a small 32-bit system that has Wine. Called in a mount
# namespace of its own, by tools/dev/wine32.sh.
# usage: tools/dev/make_wine32.sh <folder> <suite> <archive>
set -euo pipefail

folder=$1 suite=$2 archive=$3
debootstrap --arch=i386 --variant=minbase "$suite" "$folder" "$archive"
# No service starts in there.
printf '#!/bin/sh\nexit 101\n' >"$folder/usr/sbin/policy-rc.d"
chmod +x "$folder/usr/sbin/policy-rc.d"
mountpoint -q "$folder/proc" || mount -t proc proc "$folder/proc"
export DEBIAN_FRONTEND=noninteractive LC_ALL=C
chroot "$folder" apt-get install -y -q --no-install-recommends wine wine32 libwine
rm -rf "$folder"/var/cache/apt/archives/*.deb
