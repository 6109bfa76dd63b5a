#!/usr/bin/env python3
"""Checks that no file, by content or name, has words that do not belong into the project.

The project speaks for itself: it names no paper that it was made from and no
folder of the machine that it was made on, and what is left to do says why.
"""

import re
import sys

from support.project import arguments, project_files, report

# What is refused, where, and why. The patterns are put together from pieces so
# that this file does not contain what it looks for.
ANYWHERE = ""
RULES = [
    (ANYWHERE, r"(?i)\bs" r"pecs?\b", "names a paper that is not part of the project"),
    (ANYWHERE, r"(?i)s" r"pecification", "names a paper that is not part of the project"),
    (ANYWHERE, r"\bP" r"arts? \d+(\.\d+)*\b", "names a place in a paper"),
    (ANYWHERE, r"(?i)left to the imp" r"lementer", "is a paper's phrase"),
    (ANYWHERE, r"(?i)not spe" r"cified further", "is a paper's phrase"),
    (ANYWHERE, r"(?i)\bas spe" r"cified\b", "is a paper's phrase"),
    (ANYWHERE, r"(?<![\w.$})-])/(work|root|farm)(?![\w-])", "is a path of one machine"),
    ("src/", r"(?<![\w.$})-])/tmp(?![\w-])", "is a path of one machine"),
    # Its report stands on the line before, in the operations that throw.
    ("src/lib/", r'(?m)(?<!place\);\n)^[^/"\n]*\bthrow \w',
     "is a failure without its report: use throwText or its like"),
    (ANYWHERE, r"\b(TO" r"DO|FIX" r"ME|X" r"XX)\b(?! ?\([^)\s][^)]*\))", "has no reason in parentheses"),
]
COMPILED = [(folder, re.compile(pattern), reason) for folder, pattern, reason in RULES]


def read_text(path):
    """A file's text; None for a binary file."""
    content = path.read_bytes()
    if b"\0" in content:
        return None
    return content.decode("utf-8", errors="replace")


def matches(path, text):
    """Triples of position, matched text and reason for one file's text or name."""
    for folder, pattern, reason in COMPILED:
        if path.as_posix().startswith(folder):
            for match in pattern.finditer(text):
                yield match.start(), match.group(0), reason


def check_file(root, path):
    """The findings in one file's name and content."""
    findings = [f"{path}: the name: '{word}' {reason}"
                for _, word, reason in matches(path, path.as_posix().replace("_", " "))]
    text = read_text(root / path)
    if text is not None:
        findings += [f"{path}:{text.count(chr(10), 0, at) + 1}: '{word}' {reason}"
                     for at, word, reason in matches(path, text)]
    return findings


def main():
    """Checks all files that are or could be committed."""
    root = arguments(__doc__).root
    files = project_files(root)
    findings = [finding for path in files for finding in check_file(root, path)]
    return report(findings, f"{len(files)} files have no word that does not belong there")


if __name__ == "__main__":
    sys.exit(main())
