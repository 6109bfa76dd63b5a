"""The floors of the house and the units that live on them, in reading order."""

import re
from pathlib import Path

# Folders, relative to the root.
LIBRARY = "src/lib"
UTILITY = "src/exe_zuplutil"
PROGRAMS = (UTILITY, "tools")

# Headers that the build writes, and the unit that they belong to.
GENERATED = {"ZuResourceFiles": "ZuResources"}

# The build's own list of floors and units.
LIST = Path(__file__).resolve().parents[3] / LIBRARY / "floors.cmake"
# Units with this ending show Windows.
BACKEND_ENDING = "Win32Gdi"

# From the ground upwards; programs stand on all of them.
FLOORS = {floor: units.split() for floor, units in re.findall(
    r"^set\(zustd_(\w+)\s+([^)]*)\)", LIST.read_text(encoding="utf-8"), re.MULTILINE)}
FLOORS["program"] = []


def floor_of(unit):
    """The floor of a unit of the library; None when no list has it."""
    unit = GENERATED.get(unit, unit)
    return next((floor for floor, units in FLOORS.items() if unit in units), None)


def level(floor):
    """How high a floor lies; the ground is 0."""
    return list(FLOORS).index(floor)


def reading_order(units):
    """Pairs of a floor and its units among those given, all in reading order."""
    for floor, listed in FLOORS.items():
        here = [unit for unit in listed if unit in units]
        if here:
            yield floor, here
