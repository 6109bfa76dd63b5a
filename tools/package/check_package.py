#!/usr/bin/env python3
"""Checks a package that is to be handed out, against the sources that it was made of.

usage: check_package.py <zip>
"""

import io
import os
import re
import struct
import subprocess
import sys
import tempfile
import zipfile
from pathlib import Path
from xml.etree import ElementTree

import bill_of_materials
import contents as package
import portable_executable as pe

PROGRAM_SOURCES = Path("src/exe_zuplutil")
MOST_COLUMNS = 80
# What fits on a page.
MOST_LINES = 72

# What a user reads on the screen and in the guide; the sources and every guide
# have all of these.
SHARED_TEXTS = ["Completed collection of diagnostics", "manual standard", "guided",
                "still there", "PelloryDiagnosticsLogs.zip", "PelloryDiagnostics", "README.txt",
                "support@pellory.example", "**DELETED**"]
# By these the text of a licence is known.
LICENSE_SIGNS = {
    "BSL-1.0": "Boost Software License - Version 1.0",
    "GPL-3.0-or-later": "GNU GENERAL PUBLIC LICENSE\n                       Version 3",
    "GCC-exception-3.1": "GCC RUNTIME LIBRARY EXCEPTION",
    "MIT": "Permission is hereby granted, free of charge, to any person obtaining",
    "BSD-3-Clause": "from this software without specific prior written permission",
    "ZPL-2.1": "right to use Servicemarks (sm)",
}
LEVEL = "{urn:schemas-microsoft-com:asm.v3}requestedExecutionLevel"
IDENTITY = "{urn:schemas-microsoft-com:asm.v1}assemblyIdentity"
SYSTEM = "{urn:schemas-microsoft-com:compatibility.v1}supportedOS"


def check_archive(archive):
    """The zip has the files, in their order, with the times and modes that every machine gives
    them."""
    expected = sorted([*package.EXECUTABLES, *package.guides(), package.NOTICES, package.SUMS,
                       bill_of_materials.NAME])
    names = archive.namelist()
    if names != expected:
        yield f"the package has {', '.join(names)}"
    for info in archive.infolist():
        wanted = package.entry(info.filename)
        for part in ("date_time", "external_attr", "create_system", "compress_type"):
            if getattr(info, part) != getattr(wanted, part):
                yield f"{info.filename} has another {part} than on every machine"
        if info.extra or info.comment:
            yield f"{info.filename} has more than its content"


def check_sums(contents):
    """Every file but the list itself has its line."""
    others = {name: content for name, content in contents.items() if name != package.SUMS}
    if contents[package.SUMS] != package.sums(others):
        yield f"{package.SUMS} has other sums"


def check_version(name, executable):
    """The version that the system's properties page shows is the project's."""
    blob = executable.resources(pe.VERSION)[1]
    numbers = [int(part) for part in package.version().split(".")] + [0]
    high, low = struct.unpack_from("<II", blob, blob.index(struct.pack("<I", 0xFEEF04BD)) + 8)
    found = [high >> 16, high & 0xFFFF, low >> 16, low & 0xFFFF]
    if found != numbers:
        yield f"{name} is of version {found}"
    strings = dict(re.findall("(FileVersion|ProductVersion|OriginalFilename)\0+([^\0]+)",
                              blob.decode("utf-16-le", errors="replace")))
    if strings != {"FileVersion": package.version(), "ProductVersion": package.version(),
                   "OriginalFilename": name}:
        yield f"{name} says of itself: {strings}"


def check_manifest(name, executable):
    """The manifest is the program's: its version, the user's own rights, the systems it knows."""
    root = ElementTree.fromstring(executable.resources(pe.MANIFEST)[1])
    if root.find(IDENTITY).get("version") != package.version() + ".0":
        yield f"{name}: the manifest is of another version"
    if [level.get("level") for level in root.iter(LEVEL)] != ["asInvoker"]:
        yield f"{name}: the manifest asks for other rights"
    if len(list(root.iter(SYSTEM))) != 5:
        yield f"{name}: the manifest knows other systems"
    settings = {part.tag.split("}")[1]: part.text for part in root.iter() if part.text}
    if settings.get("activeCodePage") != "UTF-8" or settings.get("longPathAware") != "true":
        yield f"{name}: the manifest lacks the code page or the long paths"


def check_icon(name, executable):
    """The icon has the pictures of the icon file, byte for byte."""
    icon = Path("resources/zuplutil.ico").read_bytes()
    count = struct.unpack_from("<H", icon, 4)[0]
    wanted = []
    for index in range(count):
        size, offset = struct.unpack_from("<II", icon, 6 + 16 * index + 8)
        wanted.append(icon[offset:offset + size])
    group = executable.resources(pe.ICON_GROUP)[1]
    pictures = executable.resources(pe.ICON)
    numbers = [struct.unpack_from("<H", group, 6 + 14 * index + 12)[0]
               for index in range(struct.unpack_from("<H", group, 4)[0])]
    if [pictures.get(number) for number in numbers] != wanted:
        yield f"{name} has another icon"


def check_executable(name, content):
    """Width, resources, and what the build's own check says: imports, size, flags, traces."""
    executable = pe.PortableExecutable(content)
    if executable.bits != (32 if "32" in name else 64):
        yield f"{name} has {executable.bits} bits"
    yield from check_version(name, executable)
    yield from check_manifest(name, executable)
    yield from check_icon(name, executable)
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / name
        path.write_bytes(content)
        outcome = subprocess.run(["tools/dev/check_executable.sh", path], check=False,
                                 capture_output=True, text=True)
        if outcome.returncode:
            yield outcome.stderr.strip() or f"{name} could not be checked"


def check_text(name, content):
    """A text that any Notepad shows."""
    text = content.decode("utf-8")
    if not text.startswith(package.BYTE_ORDER_MARK) or re.search("(?<!\r)\n|\r(?!\n)", text):
        yield f"{name} has no byte order mark, or lines of another system"


def collected_files(source):
    """The files that commands write their output into; a name in braces stands for each of its
    values."""
    values = re.findall(r'\{"(\w+)", "([^"]*)"\}', source)
    for file in set(re.findall(r"[\w{}-]+\.(?:log|xml)(?!\w)", source)):
        name = re.search(r"\{(\w+)\}", file)
        yield from (file.replace(name[0], value) for key, value in values if key == name[1]) \
            if name else [file]


def check_guides(contents):
    """Each guide names what the program shows; the one for support every file and switch."""
    sources = {path.name: path.read_text(encoding="utf-8")
               for path in PROGRAM_SOURCES.glob("*.cpp")}
    everything = "\n".join(sources.values()).replace('"\n        "', "").replace('"\n    "', "")
    for name in package.guides():
        text = contents[name].decode("utf-8-sig")
        for line in text.splitlines():
            if len(line) > MOST_COLUMNS:
                yield f"{name}: too long: {line}"
        if name != package.SUPPORT_GUIDE:
            if len(text.splitlines()) > MOST_LINES:
                yield f"{name} takes more than a page"
            for words in SHARED_TEXTS:
                if words not in text or words not in everything:
                    yield f"'{words}' is not both in the program and in {name}"
    support = contents[package.SUPPORT_GUIDE].decode("utf-8-sig")
    for file in sorted(collected_files(sources["DiagnosticsCommands.cpp"] +
                                       sources["Diagnostics.cpp"])):
        if not re.search(rf"(?<![\w-]){re.escape(file)}", support):
            yield f"{package.SUPPORT_GUIDE} does not tell about {file}"
    for switch in sorted(set(re.findall(r'L"(-\w+)"', sources["Utility.cpp"]))):
        if switch not in support:
            yield f"{package.SUPPORT_GUIDE} does not tell about {switch}"


def check_notices(contents, bill):
    """Every library of the bill has its name, its version and its licence's text."""
    text = contents[package.NOTICES].decode("utf-8-sig").replace("\r\n", "\n")
    for part in re.findall(r'"licenseDeclared": "([^"]+)"', bill):
        for license_name in re.split(r" (?:AND|WITH) ", part):
            if license_name != bill_of_materials.UNKNOWN and \
                    LICENSE_SIGNS.get(license_name, license_name) not in text:
                yield f"{package.NOTICES} has no text of {license_name}"


def findings_of(archive):
    """All that is wrong with a package."""
    damaged = archive.testzip()
    if damaged:
        yield f"{damaged} is damaged"
        return
    findings = list(check_archive(archive))
    yield from findings
    if any("the package has" in finding for finding in findings):
        return
    contents = {name: archive.read(name) for name in archive.namelist()}
    yield from check_sums(contents)
    for name in package.EXECUTABLES:
        yield from check_executable(name, contents[name])
    for name in (*package.guides(), package.NOTICES):
        yield from check_text(name, contents[name])
    yield from check_guides(contents)
    bill = contents[bill_of_materials.NAME].decode("utf-8")
    yield from check_notices(contents, bill)
    yield from bill_of_materials.check(bill, package.version(), package.created_text(), contents)


def main():
    """Checks the zip of the command line."""
    if len(sys.argv) != 2:
        sys.exit(__doc__.strip())
    content = Path(sys.argv[1]).read_bytes()
    os.chdir(Path(__file__).resolve().parents[2])
    with zipfile.ZipFile(io.BytesIO(content)) as archive:
        findings = list(findings_of(archive))
    for finding in findings:
        print(finding, file=sys.stderr)
    if not findings:
        print("version, manifest, icon, imports, size, flags, sums, bill of materials, guides and "
              "notices are right")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
