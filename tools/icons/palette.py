"""Colours of the icon set: ten named colours, and the fills that are made from them.

A fill is a pair of colours (top, bottom). Every solid surface is lit from above, so that
its top is the lighter of the two.
"""


def _rgb(code):
    """Return the (red, green, blue) fractions of a colour written as RRGGBB."""
    return tuple(int(code[i:i + 2], 16) / 255 for i in (0, 2, 4))


def mix(first, second, share):
    """Return the colour that holds `share` of `second` and the rest of `first`."""
    return tuple(a + (b - a) * share for a, b in zip(first, second))


INK = _rgb("33414e")     # outlines of paper and metal, dark signs
STEEL = _rgb("7d8c9b")   # metal, secondary lines, disabled outlines
MIST = _rgb("d0dbe6")    # shaded paper, disabled surfaces
PAPER = _rgb("ffffff")   # paper, signs on coloured discs
NAVY = _rgb("1b4a83")    # outlines of blue things
BLUE = _rgb("2f80d2")    # arrows, information, the product's own colour
BROWN = _rgb("8f600c")   # outlines of amber things
AMBER = _rgb("f2b136")   # folders, stars, warnings
GREEN = _rgb("3a9c48")   # success, adding
RED = _rgb("d03f37")     # errors, removing, flags

DARK_GREEN = mix(GREEN, INK, 0.6)
DARK_RED = mix(RED, INK, 0.55)
PALE_BLUE = mix(BLUE, PAPER, 0.72)
PALE_GREEN = mix(GREEN, PAPER, 0.55)
PALE_STEEL = mix(STEEL, PAPER, 0.4)


def lit(colour, strength=0.35):
    """Return the fill of a surface of this colour under the light from above."""
    return mix(colour, PAPER, strength), colour


def flat(colour):
    """Return a fill without shading."""
    return colour, colour


PAPER_FILL = (PAPER, mix(PAPER, MIST, 0.7))
SHADED_PAPER_FILL = (mix(PAPER, MIST, 0.45), MIST)
METAL_FILL = (MIST, mix(MIST, STEEL, 0.55))
FOLDER_FILL = lit(AMBER, 0.5)
FOLDER_BACK_FILL = (AMBER, mix(AMBER, BROWN, 0.3))
CARD_FILL = (mix(AMBER, BROWN, 0.15), mix(AMBER, BROWN, 0.5))
BLUE_FILL = lit(BLUE)
GREEN_FILL = lit(GREEN)
RED_FILL = lit(RED)
AMBER_FILL = lit(AMBER)
GLASS_FILL = (PAPER, PALE_BLUE)
