"""What is linked into an executable, as the linker's map tells, and under which licences.

Every archive that the linker took something from must belong to one of the
components below, so a library that is linked one day without a notice stops
the package. Versions and licences come from the machine's own packages and
from the fetched source of Crypto++.
"""

import re
import subprocess
from dataclasses import dataclass
from pathlib import Path

CRYPTOPP = Path(".cache/cryptopp/cryptopp")
COMMON_LICENSES = Path("/usr/share/common-licenses")

# The map's first section: archives and members that were taken.
MEMBER = re.compile(r"^(\S+)\([^()]*\)$", re.MULTILINE)
OBJECT = re.compile(r"^LOAD (/\S+\.o)$", re.MULTILINE)
MEMBERS_END = re.compile(r"^(Discarded input sections|Memory Configuration)$", re.MULTILINE)


@dataclass(frozen=True)
class Library:
    """A library of others: its name, which archives it comes in, its licence and home."""

    name: str
    archives: str
    license: str
    home: str
    # Texts that the package's own licence file refers to.
    common: tuple = ()


LIBRARIES = [
    Library("Crypto++", r"libcryptopp\.a", "BSL-1.0", "https://www.cryptopp.com"),
    Library("libstdc++", r"libstdc\+\+\.a", "GPL-3.0-or-later WITH GCC-exception-3.1",
            "https://gcc.gnu.org", ("GPL-3",)),
    Library("libgcc", r"libgcc(_eh)?\.a|crt(begin|end)\.o",
            "GPL-3.0-or-later WITH GCC-exception-3.1", "https://gcc.gnu.org", ("GPL-3",)),
    Library("winpthreads", r"lib(win)?pthread\.a", "MIT AND BSD-3-Clause",
            "https://www.mingw-w64.org"),
    Library("mingw-w64 runtime", r"lib(kernel32|mingw32|mingwex|moldname|msvcrt)\.a|crt2u\.o",
            "ZPL-2.1", "https://www.mingw-w64.org"),
]


@dataclass(frozen=True)
class Component:
    """A library as this build found it."""

    library: Library
    version: str
    source: str
    source_version: str
    # Where its licence stands.
    license_file: Path


def query(*command):
    """A tool's output; what it has to say when it fails goes to the screen."""
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def linked_files(map_file):
    """The paths of the archives and objects that the linker took something from."""
    text = map_file.read_text(encoding="utf-8", errors="replace")
    end = MEMBERS_END.search(text)
    if not end:
        raise SystemExit(f"{map_file} is not a linker's map")
    return sorted({*MEMBER.findall(text, 0, end.start()), *OBJECT.findall(text)})


def library_of(path):
    """The library that an archive is part of; None for the project's own."""
    name = Path(path).name
    for library in LIBRARIES:
        if re.fullmatch(library.archives, name):
            return library
    if Path(path).is_absolute():
        raise SystemExit(f"{path} is linked in, and no notice covers it")
    return None


def cryptopp_component(library):
    """Crypto++ as it was fetched."""
    first = (CRYPTOPP / "debian/changelog").read_text(encoding="utf-8").splitlines()[0]
    source, version = re.match(r"(\S+) \(([^)]*)\)", first).groups()
    return Component(library, version, source, version, CRYPTOPP / "License.txt")


def packaged_component(library, path):
    """What the machine's package database says about a file of the toolchain."""
    package = query("dpkg-query", "-S", str(Path(path).resolve())).split(":")[0]
    version, source, source_version = query(
        "dpkg-query", "-W", "-f", "${Version}\n${source:Package}\n${source:Version}",
        package).splitlines()
    return Component(library, version, source, source_version,
                     Path("/usr/share/doc") / package / "copyright")


def components_of(map_file):
    """The components of one executable, by name, each with the archives that it came in."""
    found = {}
    for path in linked_files(map_file):
        library = library_of(path)
        if library is None:
            continue
        if library.name == "Crypto++":
            component = cryptopp_component(library)
        else:
            component = packaged_component(library, path)
        former = found.setdefault(library.name, component)
        if (former.version, former.source) != (component.version, component.source):
            raise SystemExit(f"{library.name} comes in two versions: {former.version} "
                             f"and {component.version}")
    return found


def license_texts(components):
    """Pairs of a title and a text: each licence file once, and what it refers to."""
    texts = {}
    for component in components:
        text = component.license_file.read_text(encoding="utf-8", errors="replace")
        texts.setdefault(text, []).append(component.library.name)
    pairs = [(f"{' and '.join(names)}: the licence text of its source", text)
             for text, names in texts.items()]
    common = sorted({name for component in components for name in component.library.common})
    return pairs + [(f"The text of {name}, to which the above refers",
                     (COMMON_LICENSES / name).read_text(encoding="utf-8")) for name in common]
