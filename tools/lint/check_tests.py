#!/usr/bin/env python3
"""Checks how tests are named and that they stay lighter than what they test.

A test is named subject_condition_outcome: parts in lowerCamel, joined by
underscores. Tests and their support have a limit to their lines for one of the
sources, blank lines left out: it is never raised. Who adds a test asks first which
one it replaces.
"""

import re
import sys

from support.project import arguments, project_files, report

MOST = 0.400
COUNTED = (".cpp", ".h")
TEST = re.compile(r"^TEST(?:_F|_P)?\((\w+),\s*(\w+)\)", re.MULTILINE)
NAME = re.compile(r"[a-z][A-Za-z0-9]*(_[a-z0-9][A-Za-z0-9]*)+")


def lines(text):
    """How many lines have something on them."""
    return sum(1 for line in text.splitlines() if line.strip())


def main():
    """Names of all tests, and one ratio."""
    root = arguments(__doc__).root
    count = {"src": 0, "tests": 0}
    findings = []
    for path in project_files(root):
        if path.parts[0] not in count or path.suffix not in COUNTED:
            continue
        text = (root / path).read_text(encoding="utf-8")
        count[path.parts[0]] += lines(text)
        if path.parts[0] == "tests":
            findings += [f"{path}: {suite}.{name} is not named subject_condition_outcome"
                         for suite, name in TEST.findall(text) if not NAME.fullmatch(name)]
    ratio = count["tests"] / count["src"]
    summary = f"{count['tests']} lines of tests to {count['src']} of src, {ratio:.3f}"
    if ratio > MOST:
        findings.append(f"{summary}: more than {MOST}")
    return report(findings, summary)


if __name__ == "__main__":
    sys.exit(main())
