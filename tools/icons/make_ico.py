#!/usr/bin/env python3
"""Packs the logo's PNG images into the executable's icon, resources/zuplutil.ico."""

import struct
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LOGOS = [ROOT / "resources/images/xx-xx" / f"{number}.png" for number in (300, 301, 302, 303)]
TARGET = ROOT / "resources/zuplutil.ico"


def png_size(png):
    """Width and height from a PNG file's header."""
    return struct.unpack(">II", png[16:24])


def pack(images):
    """The icon file: a header, one directory entry an image, the images."""
    offset = 6 + 16 * len(images)
    header = struct.pack("<HHH", 0, 1, len(images))
    directory = b""
    for png in images:
        width, height = png_size(png)
        directory += struct.pack("<BBBBHHII", width % 256, height % 256, 0, 0, 1, 32, len(png), offset)
        offset += len(png)
    return header + directory + b"".join(images)


def main():
    icon = pack([path.read_bytes() for path in LOGOS])
    if "--check" in sys.argv:
        if not TARGET.exists() or TARGET.read_bytes() != icon:
            print(f"{TARGET.name} differs from the logo images: run tools/icons/make_ico.py")
            return 1
        return 0
    TARGET.write_bytes(icon)
    return 0


if __name__ == "__main__":
    sys.exit(main())
