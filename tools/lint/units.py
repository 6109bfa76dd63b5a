#!/usr/bin/env python3
"""Writes docs/units.md: every unit by floor, with the first sentence of its header or,
where it has none, of its source.

With --check nothing is written; a list that is not up to date is a finding.
So is a header that does not open with a sentence about its unit.
"""

import re
import sys

from support import floors
from support.project import arguments, project_files, report

TARGET = "docs/units.md"
PREAMBLE = """\
# Units

Generated from the first sentences of the units by `tools/lint/units.py`. A unit includes only
units of its own floor or a lower one; within a floor the list is in reading order.
"""
TITLES = {
    "base": "Base",
    "data": "Data",
    "runtime": "Runtime",
    "toolkit": "Toolkit",
    "backend": "Backend",
}
PROGRAM_TITLE = "The utility"
# The one unit without a header.
ENTRY = "main"

COMMENT_LINE = re.compile(r"// ?(.*)")
SENTENCE = re.compile(r"[A-Z].*?[.!?](?=\s|$)")


def first_sentence(path):
    """The first sentence of the comment that a file opens with; None when there is none."""
    words = []
    for line in path.read_text(encoding="utf-8").splitlines():
        match = COMMENT_LINE.fullmatch(line.strip())
        if not match or not match.group(1):
            break
        words.append(match.group(1).strip())
    match = SENTENCE.match(" ".join(words))
    return match.group(0) if match else None


def section(title, rows):
    """One floor's heading and table."""
    lines = [f"\n## {title}\n", "| unit | what it is for |", "|---|---|"]
    lines += [f"| `{unit}` | {sentence.replace('|', chr(92) + '|')} |" for unit, sentence in rows]
    return "\n".join(lines) + "\n"


def describe(root, files, findings):
    """First sentences by unit for these files; those without one become findings."""
    sentences = {}
    for path in files:
        sentence = first_sentence(root / path)
        if sentence:
            sentences[path.stem] = sentence
        else:
            findings.append(f"{path}: does not open with a sentence about its unit")
    return sentences


def generate(root, findings):
    """The whole document and the number of units in it."""
    files = project_files(root)
    here = [path for path in files if path.parent.as_posix() == floors.LIBRARY]
    headers = {path.stem for path in here if path.suffix == ".h"}
    library = describe(root, [path for path in here if path.suffix == ".h" or
                              (path.suffix == ".cpp" and path.stem not in headers)], findings)
    utility = describe(root, [path for path in files if path.parent.as_posix() == floors.UTILITY and
                              (path.suffix == ".h" or path.name == ENTRY + ".cpp")], findings)
    text = PREAMBLE
    for floor, units in floors.reading_order(library):
        text += section(TITLES[floor], [(unit, library[unit]) for unit in units])
    first = [unit for unit in (ENTRY,) if unit in utility]
    text += section(PROGRAM_TITLE, [(unit, utility[unit]) for unit in
                                    first + sorted(set(utility) - set(first))])
    return text, len(library) + len(utility)


def main():
    """Writes the list, or compares it."""
    options = arguments(__doc__, "--check")
    findings = []
    text, count = generate(options.root, findings)
    target = options.root / TARGET
    if not options.check:
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(text, encoding="utf-8", newline="\n")
    elif not target.is_file() or target.read_text(encoding="utf-8") != text:
        findings.append(f"{TARGET}: is not up to date; run tools/lint/units.py")
    return report(findings, f"{count} units are described in {TARGET}")


if __name__ == "__main__":
    sys.exit(main())
