#!/usr/bin/env python3
"""Checks that the guides tell of what the program shows: its files, its switches, its words.

The package is checked by the same rules; here they speak before there is one.
"""

import os
import sys
from pathlib import Path

from support.project import arguments, report

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "package"))

import check_package  # noqa: E402
import contents  # noqa: E402


def main():
    """All guides as they are packed."""
    os.chdir(arguments(__doc__).root)
    guides = contents.guides()
    findings = [f"{path} is missing: every language has a guide"
                for path in guides.values() if not path.exists()]
    if not findings:
        packed = {name: path.read_bytes() for name, path in guides.items()}
        findings = list(check_package.check_guides(packed))
    return report(findings, f"{len(guides)} guides tell of what the program shows")


if __name__ == "__main__":
    sys.exit(main())
