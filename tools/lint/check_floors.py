#!/usr/bin/env python3
"""Checks that includes point downwards and that Windows stays behind its door.

A unit includes only units of its own floor or a lower one (support/floors.py
has the lists). Headers of the Windows family are for sources and for the
backend's headers; windows.h itself is for the wrapper header alone.
"""

import re
import sys
from pathlib import Path

from support import floors
from support.project import arguments, project_files, report

SOURCES = (".cpp", ".h")
WRAPPER = "ZuWindows.h"

# Lower case; whatever of Windows is included must be here to be noticed.
WINDOWS_FAMILY = frozenset("""
    windows.h basetsd.h bcrypt.h combaseapi.h comdef.h commctrl.h commdlg.h dbghelp.h dwmapi.h
    exdisp.h fileapi.h gdiplus.h guiddef.h imm.h initguid.h knownfolders.h minwindef.h mmsystem.h
    msi.h mshtml.h oaidl.h objbase.h objidl.h ocidl.h ole2.h oleauto.h oleidl.h processthreadsapi.h
    propsys.h psapi.h richedit.h sddl.h servprov.h shellapi.h shldisp.h shlguid.h shlobj.h
    shlobj_core.h shlwapi.h shobjidl.h tlhelp32.h unknwn.h urlmon.h uxtheme.h versionhelpers.h
    vsstyle.h winbase.h wincodec.h wincon.h wincrypt.h windef.h windowsx.h wingdi.h wininet.h
    winnls.h winnt.h winreg.h winsock2.h winspool.h winsvc.h winuser.h winver.h wtypes.h
    """.split())

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*[<"]([^>"]+)[>"]', re.MULTILINE)


def includes(path):
    """Pairs of a line number and an included file's name, without its folder."""
    text = path.read_text(encoding="utf-8")
    for match in INCLUDE.finditer(text):
        yield text.count("\n", 0, match.start()) + 1, Path(match.group(1)).name


def is_below(path, folder):
    """Whether a relative path lies in a folder."""
    return path.as_posix().startswith(folder + "/")


def floor_of_file(path):
    """The floor that a file is on; None for a unit that no list has."""
    if is_below(path, floors.LIBRARY):
        return floors.floor_of(path.stem)
    return "program"


def may_see_windows(path):
    """Whether a file may include headers of Windows or ones that do."""
    return (path.suffix == ".cpp" or path.name == WRAPPER
            or path.stem.endswith(floors.BACKEND_ENDING))


def shows_windows(name):
    """Whether including this file brings in the headers of Windows."""
    return (name.lower() in WINDOWS_FAMILY or name == WRAPPER
            or Path(name).stem.endswith(floors.BACKEND_ENDING))


def check_include(path, name, units):
    """What is wrong with one include, or None."""
    if name.lower() == "windows.h" and path.name != WRAPPER:
        return f"{name} is included by {WRAPPER} only"
    if shows_windows(name) and not may_see_windows(path):
        return f"a portable header includes {name}"
    stem = Path(name).stem
    if stem not in units and stem not in floors.GENERATED:
        return None
    target, own = floors.floor_of(stem), floor_of_file(path)
    if target and own and floors.level(target) > floors.level(own):
        return f"{path.stem} ({own}) includes {stem} ({target}), which lies above it"
    return None


def check_private(path, name, programs):
    """What is wrong when the library includes a program's header, or None."""
    if is_below(path, floors.LIBRARY) and name in programs:
        return f"{path.stem} ({floor_of_file(path)}) includes {name} of a program"
    return None


def main():
    """Checks every source and header of the product."""
    root = arguments(__doc__).root
    files = [path for path in project_files(root) if path.suffix in SOURCES and
             any(is_below(path, folder) for folder in (floors.LIBRARY, *floors.PROGRAMS))]
    units = {path.stem for path in files if is_below(path, floors.LIBRARY)}
    programs = {path.name for path in files
                if not is_below(path, floors.LIBRARY) and path.suffix == ".h"}
    findings = [f"{floors.LIBRARY}/{unit}: the unit is on no floor's list"
                for unit in sorted(units) if floors.floor_of(unit) is None]
    count = 0
    for path in files:
        for line, name in includes(root / path):
            count += 1
            problem = check_include(path, name, units) or check_private(path, name, programs)
            if problem:
                findings.append(f"{path}:{line}: {problem}")
    return report(findings, f"{count} includes in {len(files)} files point downwards")


if __name__ == "__main__":
    sys.exit(main())
