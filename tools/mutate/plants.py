"""Faults to plant: every small change of a C++ source that a compiler would take and a test should see."""

import re
from dataclasses import dataclass


@dataclass(frozen=True)
class Plant:
    """One change of one line: columns begin to end of the line are replaced by text."""
    path: str
    line: int
    begin: int
    end: int
    text: str
    kind: str

    def applied(self, line):
        """The line with the change in it."""
        return line[:self.begin] + self.text + line[self.end:]


TURNED = {"==": "!=", "!=": "==", "<": ">=", "<=": ">", ">": "<=", ">=": "<"}
MOVED = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
LOGIC = {"&&": "||", "||": "&&"}
SUMS = {"+": "-", "-": "+", "+=": "-=", "-=": "+="}

BINARY = re.compile(r"(?<= )(==|!=|<=|>=|<|>|&&|\|\||\+=|-=|\+|-)(?= )")
CONDITION = re.compile(r"\b(?:if|while) \(")
NEGATED = re.compile(r"(?<=[ (])!(?=[A-Za-z_(])")
CALL = re.compile(r"^\s*[A-Za-z_][\w:]*(?:(?:\.|->|::)\w+|\(\)|<[\w:]+>)*\(")
NAME_BEFORE_CALL = re.compile(r"[\w>]\(")
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9A-Fa-f]+|\d+)(?=[uUlL]*\b)(?![.\w]*['.])")
TRUTH = re.compile(r"\b(true|false)\b")
GUARD = re.compile(r"^\s*(?:const |\[\[maybe_unused\]\] )*(?:auto|[A-Z][\w:]*|std::[\w:]+)"
                   r"(?:<[^;]*?>)?&? (\w+)(?: = .*|\(.*\)|\{.*\})?;$")
# A parameter with its type, as in a declaration.
PARAMETER = re.compile(r"[\w>&*] [&*]*\w+(?: = .*)?$|[&*]$")
NO_CALL = ("return", "if", "for", "while", "switch", "sizeof", "static_assert", "throw", "catch")
# Their arguments may come in either order.
COMMUTATIVE = re.compile(r"(?:\b(?:saturatedSum|hasFlag|equalsIgnoringAsciiCase|eq_int_type|isSame|isFar|"
                         r"contentSize|turn|_mm_cmpeq_epi16|_mm_add_epi32|_mm_madd_epi16)|"
                         r"std::(?:min|max|swap|gcd|memcmp|wcscmp)(?:<[\w:]+>)?)\($")
# They take the larger of the first two.
CLAMP = re.compile(r"(?:\bwithin|std::clamp(?:<[\w:]+>)?)\($")
# Nobody sees that a buffer has room for one more.
ROOM = re.compile(r"std::array<[^;{=]*, \d+>")
# Nobody sees that room is not taken beforehand, and the bench's va_end does nothing.
UNSEEN = re.compile(r"(?:\.|->)reserve\(|\bva_end\(")
# Lines that state facts to the compiler or to the reader of a report, and run nothing of their own.
PASSED_OVER = re.compile(r"^\s*(?:#|static_assert|template|using |namespace|extern )"
                         r"|= (?:delete|default|0);$")


def masked(text):
    """The text with comments blanked out and the insides of literals replaced by 'S'."""
    out = list(text)
    position, size = 0, len(text)

    def blank(begin, end, filler):
        for index in range(begin, end):
            if out[index] != "\n":
                out[index] = filler

    while position < size:
        two = text[position:position + 2]
        if two == "//":
            end = text.find("\n", position)
            end = size if end < 0 else end
            blank(position, end, " ")
        elif two == "/*":
            end = text.find("*/", position + 2) + 2
            end = size if end < 2 else end
            blank(position, end, " ")
        elif two == 'R"':
            opening = text.index("(", position)
            closing = ")" + text[position + 2:opening] + '"'
            end = text.index(closing, opening) + len(closing)
            blank(opening, end - 1, "S")
        elif text[position] == '"' or (text[position] == "'" and not text[position - 1].isdigit()):
            end = position + 1
            while text[end] != text[position]:
                end += 2 if text[end] == "\\" else 1
            blank(position + 1, end, "S")
            end += 1
        else:
            end = position + 1
        position = end
    return "".join(out)


def closing(line, opening):
    """Where the parenthesis that opens at a column closes; -1 on a later line."""
    depth = 0
    for column in range(opening, len(line)):
        depth += (line[column] in "([{") - (line[column] in ")]}")
        if depth == 0:
            return column
    return -1


def split_arguments(line, opening, end):
    """Columns of the arguments between two parentheses."""
    depth, begin = 0, opening + 1
    for column in range(opening + 1, end):
        depth += (line[column] in "([{") - (line[column] in ")]}")
        if line[column] == "," and depth == 0:
            yield begin, column
            begin = column + 1
    yield begin, end


def conditions(line):
    """Negated conditions; what an init-statement declares stays."""
    for match in CONDITION.finditer(line):
        opening = match.end() - 1
        end = closing(line, opening)
        begin = max(opening, line.rfind(";", opening, end)) + 1
        if end > 0 and not re.search(r"[^=!<>]=[^=]", line[begin:end]):
            yield begin, end, lambda old: " !(" + old.strip() + ")", "condition"


def calls(line):
    """Calls whose result nobody takes, left out."""
    match = CALL.match(line)
    if not match or not line.endswith(";") or line.split("(")[0].strip() in NO_CALL:
        return
    begin = len(line) - len(line.lstrip())
    end = closing(line, match.end() - 1)
    if end > 0 and not any(PARAMETER.search(line[first:last].strip()) for first, last in
                           split_arguments(line, match.end() - 1, end)):
        yield begin, len(line) - 1, lambda old: "", "call left out"


def exchanges(line):
    """Two neighbouring arguments of a call, exchanged."""
    for match in NAME_BEFORE_CALL.finditer(line):
        opening = match.end() - 1
        end = closing(line, opening)
        if end < 0 or COMMUTATIVE.search(line[:opening + 1]):
            continue
        spans = list(split_arguments(line, opening, end))
        if CLAMP.search(line[:opening + 1]):
            del spans[0]
        for (begin, middle), (_, last) in zip(spans, spans[1:]):
            first, second = line[begin:middle].strip(), line[middle + 1:last].strip()
            if first and second and first != second and not (
                    PARAMETER.search(first) or PARAMETER.search(second)):
                cut = middle - begin
                yield (begin, last, lambda old, cut=cut:
                       old[cut + 1:].strip() + ", " + old[:cut].strip(), "arguments exchanged")


def operators(line):
    """Comparisons turned and moved, logic and sums turned, negations dropped."""
    for match in BINARY.finditer(line):
        for table, kind in ((TURNED, "comparison turned"), (MOVED, "comparison moved"),
                            (LOGIC, "logic turned"), (SUMS, "sum turned")):
            if match.group() in table:
                new = table[match.group()]
                yield match.start(), match.end(), lambda old, new=new: new, kind
    for match in NEGATED.finditer(line):
        yield match.start(), match.end(), lambda old: "", "negation dropped"


def constants(line, original):
    """Numbers moved by one, truths turned, literal texts changed in one character."""
    rooms = [match.span() for match in ROOM.finditer(line)]
    for match in NUMBER.finditer(line):
        if any(begin <= match.start() < end for begin, end in rooms):
            continue
        yield (match.start(1), match.end(1),
               lambda old: hex(int(old, 16) + 1) if old.startswith("0x") else str(int(old) + 1),
               "constant")
    for match in TRUTH.finditer(line):
        yield (match.start(), match.end(),
               lambda old: "false" if old == "true" else "true", "constant")
    for match in re.finditer(r'"S+"', line):
        inside = original[match.start() + 1:match.end() - 1]
        letter = re.search(r"(?<![\\%])[A-Za-z0-9 ]", inside)
        if letter:
            at = match.start() + 1 + letter.start()
            yield (at, at + 1, lambda old: "q" if old != "q" else "z", "literal text")


def guards(lines, number):
    """A declaration whose name nobody uses: a lock, a kept reference, a restoring object."""
    line = lines[number]
    match = GUARD.match(line)
    if not match:
        return
    arguments = line[match.end(1):-1]
    if "(" not in arguments or PARAMETER.search(arguments.strip("(){}")):
        return
    name = re.compile(r"\b" + match.group(1) + r"\b")
    indent = len(line) - len(line.lstrip())
    for later in lines[number + 1:]:
        if later.strip() and len(later) - len(later.lstrip()) < indent:
            yield indent, len(line) - 1, lambda old: "", "guard or kept reference dropped"
            return
        if name.search(later):
            return


def plants(path, text):
    """All plants of a source."""
    originals = text.split("\n")
    lines = masked(text).split("\n")
    for number, line in enumerate(lines):
        if PASSED_OVER.search(line) or UNSEEN.search(line) or not line.strip():
            continue
        original = originals[number]
        found = [*conditions(line), *calls(line), *exchanges(line), *operators(line),
                 *constants(line, original), *guards(lines, number)]
        for begin, end, change, kind in found:
            new = change(original[begin:end])
            if new != original[begin:end]:
                yield Plant(path, number + 1, begin, end, new, kind)
