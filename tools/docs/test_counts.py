#!/usr/bin/env python3
"""Writes the table of counts in docs/reliability.md from the log of the last ./dev test."""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LOG = ROOT / "build/release/Testing/Temporary/LastTest.log"
PAGE = ROOT / "docs/reliability.md"
BEGIN, END = "<!-- counts -->\n", "<!-- end of counts -->\n"
PROGRAM = re.compile(r"^\d+/\d+ Testing: (\S+)$(.*?)^Test time = +([\d.]+) sec$",
                     re.MULTILINE | re.DOTALL)
PASSED = re.compile(r"^\[  PASSED  \] (\d+) test", re.MULTILINE)
# What walks through the gallery, or enciphers files, is one test with a closing line of its own.
WALKED = re.compile(r"^(?:gallery: \d+ pages in \d+ languages|encipher_check: files come back)",
                    re.MULTILINE)


def main():
    """Replaces the table; fails when a program has not passed."""
    lines = ["| program | tests | seconds |", "|---|---|---|"]
    total = 0
    for name, output, seconds in PROGRAM.findall(LOG.read_text(errors="replace")):
        passed = PASSED.search(output)
        if not passed and not WALKED.search(output):
            sys.exit(f"{name} did not pass")
        count = int(passed[1]) if passed else 1
        total += count
        lines.append(f"| {name} | {count} | {float(seconds):.1f} |")
    lines.append(f"| all | {total} | |")
    page = PAGE.read_text(encoding="utf-8")
    before, rest = page.split(BEGIN)
    PAGE.write_text(before + BEGIN + "\n" + "\n".join(lines) + "\n\n" + END +
                    rest.split(END)[1], encoding="utf-8")
    print(f"{total} tests in {len(lines) - 3} programs")
    return 0


if __name__ == "__main__":
    sys.exit(main())
