#!/usr/bin/env python3
"""Reads what Doxygen complained of, and fails on what needs a comment and has none.

Every class needs one, and every public operation but these: constructors, which
take what the class's comment tells of, other special members, friends,
overriders, which have the comment of what they override, and obvious accessors:
a const operation without arguments, and the setter of one.

usage: check_reference.py <Doxygen's warnings>
"""

import re
import sys
from pathlib import Path

from header_filter import NAME, Reader, filtered

WARNING = re.compile(r"(?P<file>[^\s:]+):(?P<line>\d+): warning: (?P<what>.*)")
UNDOCUMENTED = re.compile(r"(?P<element>Member|Compound) (?P<name>.*?) (\((?P<kind>\w+)\) of .* )?"
                          r"is not documented\.")
SPECIAL = re.compile(r"friend\b|.*= (default|delete)\b|.*\boverride\b|.*\bfinal\b|"
                     r".*\boperator ?([=!<>*+-]|bool|new|delete)|~")
CLASS = re.compile(r"(?:template <.*> )?(?:class|struct) (?:\[\[\w+\]\] )?(\w+)")
GETTER = re.compile(r"[^(]*?(?:get|is|has)?(\w+)\(\) const\b", re.IGNORECASE)
SETTER = re.compile(r"[^(]*?\bset(\w+)\([^,]*\)")


class Header:
    """A header as Doxygen has read it, since its line numbers are those."""

    def __init__(self, path):
        self.statements = Reader().read(filtered(path).splitlines())
        self.properties = {match[1].lower() for statement in self.statements.values()
                           if (match := GETTER.match(statement.text))}
        self.classes = {match[1] for statement in self.statements.values()
                        if (match := CLASS.match(statement.text))}

    def needs_comment(self, line):
        """Whether the declaration at a line is none of those that need none."""
        text = self.statements[max(at for at in self.statements if at < line)].text
        name = NAME.search(text)
        setter = SETTER.match(text)
        return not (SPECIAL.match(text) or GETTER.match(text) or not name or
                    name[1] in self.classes or
                    setter and setter[1].lower() in self.properties)


def main():
    """Prints each finding once."""
    headers = {}
    findings = set()
    for line in Path(sys.argv[1]).read_text(encoding="utf-8").splitlines():
        warning = WARNING.match(line)
        undocumented = warning and UNDOCUMENTED.fullmatch(warning["what"])
        if not undocumented:
            findings.add((line, 0, ""))
            continue
        path = Path(warning["file"])
        number = int(warning["line"])
        if undocumented["element"] == "Member":
            if undocumented["kind"] != "function":
                continue
            if path not in headers:
                headers[path] = Header(path)
            if not headers[path].needs_comment(number):
                continue
        findings.add((str(path.relative_to(Path.cwd())), number, undocumented["name"]))
    for where, _, name in sorted(findings):
        print(f"{where}: {name} needs a comment" if name else where, file=sys.stderr)
    print(f"docs: build/docs/html/index.html, {len(findings)} findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
