#!/usr/bin/env python3
"""Checks that links in the pages lead to files of the project, and to headings that are there."""

import re
import sys

from support.project import arguments, project_files, report

LINK = re.compile(r"\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#+ (.*)$", re.MULTILINE)


def anchors(text):
    """What a page's headings are called in links."""
    return {re.sub(r"[^\w -]", "", heading).lower().replace(" ", "-")
            for heading in HEADING.findall(text)}


def check_page(root, path):
    """The findings of one page."""
    text = (root / path).read_text(encoding="utf-8")
    for link in LINK.findall(text):
        target, _, heading = link.partition("#")
        if "://" in target:
            continue
        file = root / path.parent / target if target else root / path
        if not file.exists():
            yield f"{path}: {link} leads nowhere"
        elif heading and heading not in anchors(file.read_text(encoding="utf-8")):
            yield f"{path}: {link} leads to no heading"


def main():
    """Checks all pages."""
    root = arguments(__doc__).root
    pages = [path for path in project_files(root) if path.suffix == ".md"]
    findings = [finding for path in pages for finding in check_page(root, path)]
    return report(findings, f"the links of {len(pages)} pages lead to files")


if __name__ == "__main__":
    sys.exit(main())
