#!/usr/bin/env python3
"""Puts the table of a benchmark run into the page that shows it.

usage: write_figures.py <output of the benchmark> <load average at its start> <page>
The table stands between two marks in the page, with the day, the machine and
how busy it was.
"""

import datetime
import os
import sys
from pathlib import Path

BEGIN, END = "<!-- figures: written by ./dev bench --write -->", "<!-- end of figures -->"


def processor():
    """The processor's name, as the system tells it."""
    for line in Path("/proc/cpuinfo").read_text(encoding="ascii", errors="replace").split("\n"):
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return "processor unknown"


def main():
    output, before, page = sys.argv[1:]
    lines = Path(output).read_text(encoding="utf-8").replace("\r", "").split("\n")
    starts = [number for number, line in enumerate(lines) if line.startswith("row ")]
    if not starts:
        raise SystemExit(f"{output} holds no table")
    table = "\n".join(lines[starts[0]:]).rstrip()
    after = os.getloadavg()[0]
    day = datetime.date.today().strftime("%d %B %Y").lstrip("0")
    text = Path(page).read_text(encoding="utf-8")
    head, rest = text.split(BEGIN)
    tail = rest.split(END)[1]
    told = (f"{day}, {os.cpu_count()} virtual processors ({processor()}), under Wine; load average "
            f"{before} at the start and {after:.2f} at the end.")
    Path(page).write_text(f"{head}{BEGIN}\n{told}\n\n```\n{table}\n```\n{END}{tail}", encoding="utf-8")


if __name__ == "__main__":
    main()
