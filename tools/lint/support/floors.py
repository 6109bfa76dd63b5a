"""The floors of the house and the units that live on them, in reading order."""

# From the ground upwards. A unit of these lists that has no files yet is planned.
FLOORS = {
    "base": """
        ZuText ZuSharedObject ZuObjectPool ZuHashMap ZuPlankton ZuDateTime ZuVersion ZuId ZuHandle
        ZuFile ZuHandleWin32Gdi ZuWindows ZuLateLoading ZuLateLoadingNone""".split(),
    "data": """
        ZuXml ZuSerializable ZuSerializableStream ZuPropertyBag ZuEncoder ZuCipher ZuLoader""".split(),
    "runtime": """
        ZuServiceLocator ZuMessaging ZuMessagingService ZuChangeTracker ZuService ZuAbstraction
        ZuDirectory ZuCommand ZuResources ZuResourceService ZuResourceServiceGeneric""".split(),
    "toolkit": """
        ZuApplicationService ZuWindowService ZuGeometry ZuDescriptors ZuFont ZuBitmap ZuTimer
        ZuInput ZuGraphicsService ZuControl ZuControlInput ZuControlLayout ZuLayout ZuTreeModel
        ZuPendingNodes ZuGridModel ZuDrawnText ZuCaption ZuIcon ZuLabel ZuLink ZuButton ZuTooltip ZuForkControl
        ZuScrollable ZuMarkupView ZuMessageBox""".split(),
    "backend": [],
    "program": [],
}

# Every unit with this ending is on the backend floor unless a list names it.
BACKEND_ENDING = "Win32Gdi"

# The native controls are a family of units named after what they wrap.
TOOLKIT_FAMILIES = ("ZuNative",)

# Folders, relative to the root.
LIBRARY = "src/lib"
UTILITY = "src/exe_zuplutil"
PROGRAMS = (UTILITY, "tools")

# Headers that the build writes, and the unit that they belong to.
GENERATED = {"ZuResourceFiles": "ZuResources"}


def floor_of(unit):
    """The floor of a unit of the library; None when no list has it."""
    unit = GENERATED.get(unit, unit)
    for floor, units in FLOORS.items():
        if unit in units:
            return floor
    if unit.endswith(BACKEND_ENDING):
        return "backend"
    if unit.startswith(TOOLKIT_FAMILIES):
        return "toolkit"
    return None


def level(floor):
    """How high a floor lies; the ground is 0."""
    return list(FLOORS).index(floor)


def reading_order(units):
    """Pairs of a floor and its units among those given, all in reading order."""
    order = [unit for listed in FLOORS.values() for unit in listed]
    for floor in FLOORS:
        here = [unit for unit in units if floor_of(unit) == floor]
        if here:
            yield floor, sorted(here, key=lambda unit: (
                order.index(unit) if unit in order else len(order), unit))
