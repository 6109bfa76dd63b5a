"""What the package has: names, order, where each file comes from, and how the zip is written."""

import datetime
import hashlib
import io
import re
import subprocess
import zipfile
from pathlib import Path

EXECUTABLES = {
    "zuplutil.exe": Path("build/release/bin/zuplutil.exe"),
    "zuplutil32.exe": Path("build/release32/bin/zuplutil32.exe"),
}
SUPPORT_GUIDE = "SUPPORT.txt"
NOTICES = "NOTICES.txt"
SUMS = "SHA256SUMS.txt"
BYTE_ORDER_MARK = "\N{ZERO WIDTH NO-BREAK SPACE}"


def version():
    """The project's version."""
    text = Path("CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"^project\(pellory VERSION ([\d.]+)", text, re.MULTILINE).group(1)


def archive_name():
    """What the zip is called."""
    return f"zuplutil-{version()}.zip"


def commit():
    """The last commit and its time: all that the package knows of when it was made."""
    revision, seconds = subprocess.run(
        ["git", "log", "-1", "--format=%H %ct"], check=True, capture_output=True,
        text=True).stdout.split()
    return revision, datetime.datetime.fromtimestamp(int(seconds), datetime.timezone.utc)


def created_text():
    """The commit's time as the bill of materials has it."""
    return commit()[1].strftime("%Y-%m-%dT%H:%M:%SZ")


def guides():
    """The source of each guide by its name in the package, a user's for each language."""
    lines = Path("resources/languages.tsv").read_text(encoding="utf-8").splitlines()[1:]
    names = {SUPPORT_GUIDE: Path("docs/guide/support.txt")}
    for namespace in (line.split("\t")[0] for line in lines):
        # The neutral one is English.
        language = "" if namespace == "xx-xx" else f".{namespace[:2]}"
        names[f"README{language}.txt"] = Path(f"docs/guide/user.{namespace}.txt")
    return names


def as_text(text):
    """A text as any Notepad shows it: a byte order mark, and lines of Windows'."""
    return (BYTE_ORDER_MARK + text.replace("\n", "\r\n")).encode("utf-8")


def sums(contents):
    """A line for each file; tools read it, so there is no byte order mark."""
    return "".join(f"{hashlib.sha256(contents[name]).hexdigest()} *{name}\n"
                   for name in sorted(contents)).encode("ascii")


def entry(name):
    """How a file stands in the zip: time, mode and system are the same on every machine."""
    time = commit()[1]
    # A zip has even seconds only.
    info = zipfile.ZipInfo(name, (*time.timetuple()[:5], time.second & ~1))
    info.compress_type = zipfile.ZIP_DEFLATED
    info.create_system = 3
    info.external_attr = (0o100755 if name.endswith(".exe") else 0o100644) << 16
    return info


def zipped(contents):
    """The zip of these files, in the order of their names."""
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w") as archive:
        for name in sorted(contents):
            archive.writestr(entry(name), contents[name], compresslevel=9)
    return buffer.getvalue()
