"""Where the project is, which files it has, and how a check reports."""

import argparse
import subprocess
import sys
from pathlib import Path


def arguments(description, *flags):
    """Parses a check's command line: the flags that it has and, for trying it out, a root."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--root", type=Path, default=Path(__file__).resolve().parents[3],
                        help="the project's folder (default: the one that this file is in)")
    for flag in flags:
        parser.add_argument(flag, action="store_true")
    return parser.parse_args()


def project_files(root):
    """The paths, relative to root, of all files that are or could be committed."""
    listing = subprocess.run(
        ["git", "-C", str(root), "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        check=True, capture_output=True).stdout
    paths = {Path(name) for name in listing.decode("utf-8").split("\0") if name}
    return sorted(path for path in paths if (root / path).is_file())


def report(findings, summary):
    """Prints one line per finding, or the summary when there is none; returns the exit code."""
    for finding in findings:
        print(finding)
    if findings:
        return 1
    print(f"{Path(sys.argv[0]).stem}: {summary}")
    return 0
