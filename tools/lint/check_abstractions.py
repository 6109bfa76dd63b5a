#!/usr/bin/env python3
"""Checks that every class with a backend lets go of it first of all.

Such a class derives from Abstraction<I> or NativeControl<I>; its destructor begins
with releaseImplementation(), since the backend may still ask for what goes next.
Nothing else notices when that call is missing.
"""

import re
import sys

from support.project import arguments, project_files, report

CLASS = re.compile(r"^class (?!NativeControl\b)(\w+)(?: final)?\s*:\s*"
                   r"public (?:Abstraction|NativeControl)<", re.MULTILINE)


def main():
    """All headers, each with the source of the same name."""
    root = arguments(__doc__).root
    findings = []
    count = 0
    for path in project_files(root):
        if path.parts[0] != "src" or path.suffix != ".h":
            continue
        source = (root / path).with_suffix(".cpp")
        text = (root / path).read_text(encoding="utf-8")
        classes = CLASS.findall(text)
        if source.exists():
            text += source.read_text(encoding="utf-8")
        count += len(classes)
        findings += [f"{path}: ~{name}() does not begin with releaseImplementation()"
                     for name in classes
                     if not re.search(rf"~{name}\(\)[^;{{]*\{{\s*releaseImplementation\(\);", text)]
    return report(findings, f"{count} classes let go of their backend first")


if __name__ == "__main__":
    sys.exit(main())
