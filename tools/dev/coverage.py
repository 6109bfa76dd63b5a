#!/usr/bin/env python3
"""Prints which lines and branches the tests reach, by unit and by floor.

usage: tools/dev/coverage.py <summary.json>

The summary is gcovr's. Units are listed from the one with most lines missed;
those that the tests reach whole are only counted.
"""

import json
import sys
from collections import defaultdict
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "lint"))

from support import floors  # noqa: E402

COUNTS = ("line_covered", "line_total", "branch_covered", "branch_total")


def share(part, whole):
    """A part of a whole in per cent, for a column."""
    return f"{100 * part / whole:6.1f} %" if whole else "       -"


def row(name, counts):
    """One line of a table."""
    lines, of_lines, branches, of_branches = counts
    return (f"{name:34} {of_lines - lines:5} {of_lines:6} {share(lines, of_lines)} "
            f"{of_branches:7} {share(branches, of_branches)}")


def floor_of(path):
    """The floor that a source stands on; the utility stands on all of them."""
    if path.startswith(floors.UTILITY):
        return "utility"
    return floors.floor_of(Path(path).stem) or "utility"


def main():
    """Adds up the summary's files and prints both tables."""
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    units, by_floor = defaultdict(lambda: [0] * 4), defaultdict(lambda: [0] * 4)
    for file in json.loads(Path(sys.argv[1]).read_text(encoding="utf-8"))["files"]:
        for index, count in enumerate(COUNTS):
            units[Path(file["filename"]).stem][index] += file[count]
            by_floor[floor_of(file["filename"])][index] += file[count]
    heading = f"{'':34} {'missed':>5} {'lines':>5} {'reached':>8} {'branches':>8} {'reached':>8}"
    print(heading)
    missed = [unit for unit in units if units[unit][0] < units[unit][1]]
    for unit in sorted(missed, key=lambda name: units[name][0] - units[name][1]):
        print(row(unit, units[unit]))
    print(f"{len(units) - len(missed)} other units are reached whole\n{heading}")
    for floor in [*floors.FLOORS, "utility"]:
        if floor in by_floor:
            print(row(floor, by_floor[floor]))
    whole = [sum(counts[index] for counts in by_floor.values()) for index in range(4)]
    print(row("all", whole))
    print(f"coverage: {share(*whole[:2]).strip()} of the lines, "
          f"{share(*whole[2:]).strip()} of the branches")


if __name__ == "__main__":
    main()
