#!/usr/bin/env python3
"""Makes dist/zuplutil-<version>.zip of the two executables that were built and what goes with them.

The same commit gives the same bytes, wherever it is built.
"""

import hashlib
import os
import sys
from pathlib import Path

import bill_of_materials
import components
import contents as package

RULE = "=" * 80 + "\n"


def notices(parts):
    """The text that names the libraries and has their licences."""
    text = ("NOTICES\n\n"
            "Besides Pellory's own code, zuplutil.exe and zuplutil32.exe contain parts of\n"
            "these libraries. The texts below come with the libraries' sources as Debian\n"
            "packages them; they also speak of files of which nothing is in the programs.\n\n")
    for part in parts:
        text += (f" {part.library.name} {part.version}\n"
                 f"   {part.library.license}\n"
                 f"   {part.library.home}, Debian source package {part.source} "
                 f"{part.source_version}\n")
    for title, body in components.license_texts(parts):
        text += f"\n{RULE}{title}\n{RULE}\n{body.strip(chr(10))}\n"
    return text


def main():
    """Gathers, writes, and tells what became of it."""
    os.chdir(Path(__file__).resolve().parents[2])
    linked = {name: components.components_of(path.with_suffix(".map"))
              for name, path in package.EXECUTABLES.items()}
    parts = {name: part for found in linked.values() for name, part in found.items()}
    contents = {name: path.read_bytes() for name, path in package.EXECUTABLES.items()}
    for name, path in package.guides().items():
        if not path.is_file():
            sys.exit(f"{path} is missing: every language has a guide")
        contents[name] = package.as_text(path.read_text(encoding="utf-8"))
    contents[package.NOTICES] = package.as_text(notices([parts[name] for name in sorted(parts)]))
    contents[bill_of_materials.NAME] = bill_of_materials.make(
        package.version(), package.archive_name(), package.commit()[0], package.created_text(),
        dict(contents), linked).encode("utf-8")
    contents[package.SUMS] = package.sums(contents)

    archive = package.zipped(contents)
    Path("dist").mkdir(exist_ok=True)
    for former in Path("dist").glob("zuplutil-*.zip"):
        former.unlink()
    path = Path("dist") / package.archive_name()
    path.write_bytes(archive)
    for name in sorted(contents):
        print(f"{len(contents[name]):>10} {name}")
    print(f"{len(archive):>10} {path}\nSHA-256 {hashlib.sha256(archive).hexdigest()}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
