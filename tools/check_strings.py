#!/usr/bin/env python3
"""Check the compiled-in string tables before they are built into the program.

Usage: check_strings.py [folder]

The folder defaults to resources/strings of the repository that holds this
script; resources/languages.tsv says which tables there are. Every finding is printed on a line of its own and the exit status is 1.
Without findings a single summary line is printed and the exit status is 0.

The framework reads the tables with a small XML reader and looks texts up by
number, so a missing key, a stray mark-up character or a placeholder that is
present in only one language would show up only on a user's screen.
"""

import csv
import re
import sys
import unicodedata
from collections import Counter
from pathlib import Path

# The languages, each with the size of its table in bytes. The sizes are recorded
# so that no text changes by accident: who edits a table updates its size as well.
LANGUAGES = Path(__file__).resolve().parent.parent / "resources" / "languages.tsv"
NEUTRAL_TABLE = "strings.xx-xx.xml"

# First and last key of every run of keys that the program looks up.
KEY_RUNS = (
    (8001, 8007),
    (9001, 9019),
    (10001, 10001),
    (10013, 10013),
    (10033, 10033),
    (10038, 10038),
    (10041, 10042),
    (10051, 10053),
    (11000, 11087),
    (11089, 11098),
    (11100, 11126),
    (11130, 11133),
    (11138, 11344),
    (11350, 11352),
    (11360, 11365),
)

# Keys that the code refers to by name and that must have a text everywhere.
REQUIRED_KEYS = (9001, 9002, 9007, 9008, 9012, 11020, 11351)

# Texts of the neutral table that are fixed for certain keys, and texts that
# must be present under whichever key.
NEUTRAL_TEXTS = {
    9001: "OK",
    9002: "Cancel",
    9007: "Yes",
    9008: "No",
    11020: "Manage folder options",
    11351: "auto",
}
NEUTRAL_ANYWHERE = (
    "Where would you like to store your emails?",
    "Could not open this item. Perhaps it was moved?",
)

BYTE_ORDER_MARK = b"\xef\xbb\xbf"
FIRST_LINE = '<?xml version="1.0" encoding="UTF-8" ?>'
ROOT_LINE = "<stringtable>"
CLOSING_LINE = "</stringtable>"
ENTRY = re.compile(r"<s><k>([1-9][0-9]*)</k><v>((?:(?!</v>).)*)</v></s>")

# Apostrophes are written as an entity too, so that the texts can be quoted.
ENTITIES = {"&amp;": "&", "&lt;": "<", "&gt;": ">", "&apos;": "'"}
ENTITY = re.compile("|".join(ENTITIES))
RAW_CHARACTERS = "<>&'"

PLACEHOLDER = re.compile(r"%[12](?![0-9])")
QUOTED_PLACEHOLDER = "'%2'"

# Private-use, compatibility and supplementary characters lie from here upwards;
# a text that holds one was pasted from a document and may not display.
FIRST_RESERVED_CODE_POINT = 0xF000

# Share of the entries of one table that may repeat the text of another entry.
REPEAT_LIMIT = 0.03


def table_sizes():
    """Return the size that is recorded for each table by its file name."""
    with LANGUAGES.open(encoding="utf-8", newline="") as lines:
        return {f"strings.{row['namespace']}.xml": int(row["table bytes"])
                for row in csv.DictReader(lines, delimiter="\t")}


def wanted_keys():
    """Return the set of all keys of the runs."""
    return {key for first, last in KEY_RUNS for key in range(first, last + 1)}


def resolve_entities(raw):
    """Return the text of an entry with its entities replaced."""
    return ENTITY.sub(lambda match: ENTITIES[match.group()], raw)


def placeholders(text):
    """Return the placeholders of a text with the number of times each occurs."""
    return Counter(PLACEHOLDER.findall(text))


def in_words(counts):
    """Return placeholder counts in a form for people, such as '%1 %2'."""
    return " ".join(sorted(counts.elements())) or "none"


def check_bytes(data, size):
    """Yield findings about the raw bytes of a table."""
    if len(data) != size:
        yield f"{len(data)} bytes instead of {size}"
    if not data.startswith(BYTE_ORDER_MARK):
        yield "no byte-order mark at the start"
    if b"\r" in data:
        yield "carriage return in the file"
    if not data.endswith(b"\n"):
        yield "no line break at the end"


def check_frame(lines):
    """Yield findings about the lines around the entries."""
    if len(lines) < 3:
        yield "too few lines for a table"
        return
    if lines[0] != FIRST_LINE:
        yield f"line 1: not the XML declaration {FIRST_LINE}"
    if lines[1] != ROOT_LINE:
        yield f"line 2: not {ROOT_LINE}"
    if lines[-1] != CLOSING_LINE:
        yield f"line {len(lines)}: not {CLOSING_LINE}"


def check_text(raw):
    """Yield findings about one text as it stands in the file."""
    if not raw:
        yield "empty text"
        return
    bare = ENTITY.sub("", raw)
    for character in RAW_CHARACTERS:
        if character in bare:
            yield f"raw {character} or an entity that is not allowed"
    text = resolve_entities(raw)
    if text[0].isspace() or text[-1].isspace():
        yield "blank at the start or the end"
    if any(a.isspace() and b.isspace() for a, b in zip(text, text[1:])):
        yield "double blank"
    for character in sorted(set(text)):
        if unicodedata.category(character) in ("Cc", "Zl", "Zp"):
            yield f"control character U+{ord(character):04X}"
        if ord(character) >= FIRST_RESERVED_CODE_POINT:
            yield f"reserved code point U+{ord(character):04X}"
    if "%" in PLACEHOLDER.sub("", text):
        yield "percent sign that is neither %1 nor %2"


def read_entries(lines):
    """Return the texts by key and the findings about the entry lines.

    Texts come back with their entities resolved. A key that occurs twice keeps
    its first text.
    """
    texts, findings = {}, []
    for number, line in enumerate(lines[2:-1], start=3):
        match = ENTRY.fullmatch(line)
        if not match:
            findings.append(f"line {number}: not an entry")
            continue
        key, raw = int(match.group(1)), match.group(2)
        findings += [f"key {key}: {finding}" for finding in check_text(raw)]
        if key in texts:
            findings.append(f"key {key}: occurs more than once")
        texts.setdefault(key, resolve_entities(raw))
    return texts, findings


def check_keys(texts):
    """Yield findings about keys that are missing, unknown or without a text."""
    wanted = wanted_keys()
    for key in sorted(wanted - texts.keys()):
        yield f"key {key}: missing"
    for key in sorted(texts.keys() - wanted):
        yield f"key {key}: unknown"
    for key in REQUIRED_KEYS:
        if not texts.get(key, "").strip():
            yield f"key {key}: needs a text"


def check_repeats(texts):
    """Yield a finding if too many entries share their text with others."""
    counts = Counter(texts.values())
    surplus = sum(count - 1 for count in counts.values())
    if surplus > REPEAT_LIMIT * len(texts):
        repeated = [text for text, count in counts.items() if count > 1]
        yield f"{surplus} repeated texts, among them {repeated[0]!r}"


def check_neutral(texts):
    """Yield findings about the fixed texts of the neutral table."""
    for key, text in NEUTRAL_TEXTS.items():
        if key in texts and texts[key] != text:
            yield f"key {key}: {texts[key]!r} instead of {text!r}"
    present = set(texts.values())
    for text in NEUTRAL_ANYWHERE:
        if text not in present:
            yield f"no entry with the text {text!r}"


def check_table(path, size):
    """Return the texts by key and the findings about one table."""
    try:
        data = path.read_bytes()
    except OSError as error:
        return {}, [f"cannot be read: {error.strerror}"]
    findings = list(check_bytes(data, size))
    try:
        content = data.removeprefix(BYTE_ORDER_MARK).decode("utf-8")
    except UnicodeDecodeError as error:
        return {}, findings + [f"not UTF-8 at byte {error.start}"]
    lines = content.removesuffix("\n").split("\n")
    findings += check_frame(lines)
    texts, entry_findings = read_entries(lines)
    findings += entry_findings
    findings += check_keys(texts)
    findings += check_repeats(texts)
    if path.name == NEUTRAL_TABLE:
        findings += check_neutral(texts)
    return texts, findings


def check_placeholders(tables):
    """Yield findings where a translation has other placeholders than the rest."""
    neutral = tables[NEUTRAL_TABLE]
    for name, texts in tables.items():
        for key in sorted(neutral.keys() & texts.keys()):
            expected, found = placeholders(neutral[key]), placeholders(texts[key])
            if found != expected:
                yield (
                    f"{name}: key {key}: placeholders {in_words(found)}"
                    f" instead of {in_words(expected)}"
                )


def check_quoted_placeholder(tables):
    """Yield a finding unless some key quotes its second argument everywhere."""
    quoting = [
        {key for key, text in texts.items() if QUOTED_PLACEHOLDER in text}
        for texts in tables.values()
    ]
    if not set.intersection(*quoting):
        yield f"no key has {QUOTED_PLACEHOLDER} in every table"


def check_tables(folder):
    """Return the findings about all tables and a summary of what was read."""
    tables, findings, sizes = {}, [], table_sizes()
    for name, size in sizes.items():
        tables[name], found = check_table(folder / name, size)
        findings += [f"{name}: {finding}" for finding in found]
    findings += check_placeholders(tables)
    findings += check_quoted_placeholder(tables)
    summary = (
        f"{len(tables)} string tables, {len(tables[NEUTRAL_TABLE])} keys each, "
        f"{sum(sizes.values())} bytes"
    )
    return findings, summary


def main(arguments):
    """Check the folder given on the command line; return the exit status."""
    if len(arguments) > 1 or any(a.startswith("-") for a in arguments):
        print("usage: check_strings.py [folder]", file=sys.stderr)
        return 2
    default = Path(__file__).resolve().parent.parent / "resources" / "strings"
    findings, summary = check_tables(Path(arguments[0]) if arguments else default)
    print("\n".join(findings) if findings else summary)
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
