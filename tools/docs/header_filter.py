#!/usr/bin/env python3
"""Turns a header's comments into what Doxygen reads, and prints the header.

Headers have plain comments. One stands directly before a declaration and tells
of it, and of those that follow without a blank line as far as they have none of
their own. The header's first one tells of the file, and of the class that the
unit is named after or else the first one, unless that has its own. Comments
inside of functions and headings before a blank line are nobody's.

usage: header_filter.py <header>
"""

import re
import sys
from dataclasses import dataclass, field
from pathlib import Path

COMMENT = re.compile(r"^\s*//")
LITERAL_OR_COMMENT = re.compile(r"\"(?:\\.|[^\"\\])*\"|'(?:\\.|[^'\\])'|//.*")
TRAILING = re.compile(r"^(.*[,;{}])(\s*)// (.*)$")
SCOPE = re.compile(r"(?:template\s*<.*>\s*)?(?:inline )?"
                   r"(?P<kind>namespace|class|struct|union|enum)\b(?!.*[=(])", re.DOTALL)
ACCESS = re.compile(r"\s*(public|protected|private):\s*$")
NAME = re.compile(r"(~?\w+|operator\W+)\s*\(")


@dataclass
class Statement:
    """A declaration: where it begins, its text so far, and what it stands in."""

    line: int
    scope: str
    text: str = ""
    # By a semicolon: it has no body.
    ended: bool = False


@dataclass
class Reader:
    """Finds where declarations begin."""

    statements: dict = field(default_factory=dict)
    # The kinds of what is open; "" for a function's body or an initialiser.
    open: list = field(default_factory=lambda: ["namespace"])
    current: Statement | None = None
    depth: int = 0

    def read(self, lines):
        """All declarations by the number of their first line."""
        macro = False
        for number, line in enumerate(lines):
            code = LITERAL_OR_COMMENT.sub(lambda m: "" if m[0][0] == "/" else '""', line)
            if not macro and not code.lstrip().startswith("#") and not ACCESS.match(code):
                for sign in code:
                    self.take(sign, number)
                if self.current and not self.current.text.endswith(" "):
                    self.current.text += " "
            macro = (macro or code.lstrip().startswith("#")) and code.endswith("\\")
        return self.statements

    def take(self, sign, number):
        """One character of code."""
        if sign == "}":
            self.open.pop()
            if not self.depth and self.open[-1]:
                self.current = None
        elif not self.open[-1]:
            if sign == "{":
                self.open.append("")
        elif not self.current:
            if sign == "{":
                # The body behind the last initialiser.
                self.open.append("")
            elif not sign.isspace() and sign not in ";,":
                self.current = self.statements[number] = Statement(number, self.open[-1], sign)
        elif sign == "{":
            match = SCOPE.match(self.current.text)
            self.open.append(match["kind"] if match and not self.depth else "")
            if self.open[-1]:
                self.current = None
        elif not self.depth and (sign == ";" or sign == "," and self.open[-1] == "enum"):
            self.current.ended = True
            self.current = None
        else:
            self.depth += {"(": 1, ")": -1}.get(sign, 0)
            if sign != " " or not self.current.text.endswith(" "):
                self.current.text += sign


def comment_text(line):
    """A comment's text, of which nothing is a command."""
    text = re.sub(r"^\s*///? ?", "", line)
    for sign, entity in (("&", "&amp;"), ("<", "&lt;"), (">", "&gt;")):
        text = text.replace(sign, entity)
    return re.sub(r"([@\\#%\"])", r"\\\1", text)


class Filter:
    """Writes a header anew, with comments for Doxygen."""

    def __init__(self, lines, unit):
        self.lines = lines
        self.statements = Reader().read(lines)
        self.output = []
        self.head = []
        self.main_class = self.find_main_class(unit)
        # Whose comment the following declarations of a paragraph share.
        self.shared = None

    def find_main_class(self, unit):
        """The declaration of the class that the file's comment is about, if there is one."""
        classes = [statement for statement in self.statements.values()
                   if re.match(r"(template <.*> )?(class|struct) ", statement.text)
                   and statement.scope == "namespace" and not statement.ended]
        named = [statement for statement in classes
                 if re.search(rf"\b{unit.removeprefix('Zu')}\b", statement.text.split(" : ")[0])]
        return next(iter(named + classes), None)

    def block_end(self, at):
        """The line behind a block of comment lines."""
        while at < len(self.lines) and COMMENT.match(self.lines[at]):
            at += 1
        return at

    def run(self):
        """The new text."""
        at = self.block_end(0)
        self.head = [comment_text(line) for line in self.lines[:at]]
        self.write_comment("", ["@file", *self.head])
        while at < len(self.lines):
            line = self.lines[at]
            if not line.strip():
                self.shared = None
            if COMMENT.match(line):
                at = self.take_comment(at)
            else:
                self.take_code(at, documented=False)
                at += 1
        return "\n".join(self.output)

    def write_comment(self, indent, text):
        """A comment as Doxygen reads it."""
        self.output += [f"{indent}/// {line}" for line in text]

    def take_comment(self, at):
        """A block of comment lines and, when it has one, the declaration behind it."""
        end = self.block_end(at)
        documented = end in self.statements and "NOLINT" not in self.lines[end - 1]
        for line in self.lines[at:end]:
            self.output.append(re.sub("//.*", "", line) + "/// " + comment_text(line)
                               if documented else line)
        if not documented:
            return end
        self.take_code(end, documented=True)
        return end + 1

    def take_code(self, at, documented):
        """A line of code, and a stand-in for the comment that its declaration does not have."""
        line = self.lines[at]
        statement = self.statements.get(at)
        if statement:
            self.document(statement, line[:len(line) - len(line.lstrip())], documented)
        match = TRAILING.match(line)
        if match and statement:
            line = f"{match[1]}{match[2]}///< {comment_text(match[3])}"
        self.output.append(line)

    def document(self, statement, indent, documented):
        """See take_code."""
        name = NAME.search(statement.text)
        scope = SCOPE.match(statement.text)
        if documented:
            self.shared = name[1] if name else None if scope else "the one above"
        elif statement is self.main_class:
            self.write_comment(indent, self.head)
        elif self.shared and not scope:
            self.write_comment(indent, [f"Goes with {comment_text(self.shared)}."])


def filtered(path):
    """A header with comments for Doxygen."""
    return Filter(path.read_text(encoding="utf-8").splitlines(), path.stem).run()


def main():
    """Filters one header."""
    print(filtered(Path(sys.argv[1])))
    return 0


if __name__ == "__main__":
    sys.exit(main())
