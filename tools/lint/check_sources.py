#!/usr/bin/env python3
"""Checks that the build's lists and the sources on disk name the same files.

Sources are listed by hand, so one that is forgotten would simply not be
compiled. (The library's list is that of the floors, which check_floors.py
compares.) Every source must be named in a CMakeLists.txt at or above its
folder, and every source that a list names must exist. A name with a variable
in it, ${name}_test.cpp for one, counts for each source whose own part, the
value of ${name}, is a word of the same list.
"""

import re
import sys

from support import floors
from support.project import arguments, project_files, report

FOLDERS = ("src", "tests", "bench", "tools")
LIST = "CMakeLists.txt"

COMMENT = re.compile(r"#.*")
SOURCE = re.compile(r'[^\s()";]+\.cpp(?![\w.])')
VARIABLE = re.compile(r"\$\{[^}]*\}")
OTHER_FOLDER = re.compile(r"\$\{[^}]*\}/")
WORD = re.compile(r"[\w.-]+")

# Variables that are folders; {0} is the list's own folder, relative to the root.
FOLDER_VARIABLES = {
    "${CMAKE_SOURCE_DIR}/": "",
    "${PROJECT_SOURCE_DIR}/": "",
    "${CMAKE_CURRENT_SOURCE_DIR}/": "{0}",
    "${CMAKE_CURRENT_LIST_DIR}/": "{0}",
}


def normalise(path):
    """A relative path with its ".." steps taken."""
    parts = []
    for part in path.split("/"):
        if part == ".." and parts:
            parts.pop()
        elif part not in ("", "."):
            parts.append(part)
    return "/".join(parts)


def without_comments(path):
    """The text of a list, line by line as in the file."""
    return COMMENT.sub("", path.read_text(encoding="utf-8"))


def named_sources(folder, text):
    """Pairs of a line number and a source's path relative to the root, as one list names them.

    A folder that only a variable knows is not the project's; its sources are left out.
    """
    for number, line in enumerate(text.splitlines(), 1):
        for match in SOURCE.finditer(line):
            name = match.group(0)
            prefix = folder
            for variable, value in FOLDER_VARIABLES.items():
                if name.startswith(variable):
                    name, prefix = name[len(variable):], value.format(folder)
            if not OTHER_FOLDER.match(name):
                yield number, normalise(prefix + name)


def sources_of(name, text, sources):
    """Those of the sources that a name in a list stands for."""
    pattern = re.compile("([^/]+)".join(re.escape(part) for part in VARIABLE.split(name)))
    words = set(WORD.findall(text))
    for source in sources:
        match = pattern.fullmatch(source)
        if match and words.issuperset(match.groups()):
            yield source


def is_above(folder, path):
    """Whether a folder is the path's own or one above it."""
    return folder == path.parent or folder in path.parents


def main():
    """Compares all lists with all sources of the four folders."""
    root = arguments(__doc__).root
    files = project_files(root)
    sources = {path.as_posix(): path for path in files
               if path.suffix == ".cpp" and path.parts[0] in FOLDERS
               and path.parent.as_posix() != floors.LIBRARY}
    missing = set(sources)
    findings = []
    for path in (path for path in files if path.name == LIST
                 and path.parent.as_posix() != floors.LIBRARY):
        text = without_comments(root / path)
        folder = "".join(part + "/" for part in path.parent.parts)
        for line, name in named_sources(folder, text):
            found = list(sources_of(name, text, sources))
            if not found and not (root / name).is_file():
                findings.append(f"{path}:{line}: {name} does not exist")
            missing -= {source for source in found if is_above(path.parent, sources[source])}
    findings += [f"{source}: no {LIST} at or above its folder names it"
                 for source in sorted(missing)]
    return report(findings, f"{len(sources)} sources are listed")


if __name__ == "__main__":
    sys.exit(main())
