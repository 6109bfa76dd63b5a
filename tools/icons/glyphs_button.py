"""Commands on toolbars, buttons and menus."""

import math

from glyphs_state import cross, question_mark
from palette import (
    AMBER_FILL, BLUE, BLUE_FILL, BROWN, DARK_GREEN, DARK_RED, GLASS_FILL, GREEN_FILL, INK,
    METAL_FILL, NAVY, PALE_BLUE, PAPER, PAPER_FILL, RED_FILL, STEEL, flat, lit, mix)

GEAR_TEETH = 8
PLUS_POINTS = ((6, 1), (10, 1), (10, 6), (15, 6), (15, 10), (10, 10), (10, 15), (6, 15),
               (6, 10), (1, 10), (1, 6), (6, 6))


def save(canvas):
    """Draw a floppy disk."""
    canvas.shape([(1, 1), (13, 1), (15, 3), (15, 15), (1, 15)], BLUE_FILL, NAVY)
    canvas.box(4, 1, 11, 6, METAL_FILL, NAVY)
    canvas.box(8, 2, 10, 5, flat(NAVY))
    canvas.box(3, 8, 13, 15, PAPER_FILL, NAVY)
    for top in (10, 12):
        canvas.box(5, top, 11, top + 1, flat(STEEL))


def delete(canvas):
    """Draw a waste bin."""
    canvas.box(6, 0, 10, 3, METAL_FILL, INK)
    canvas.shape([(3, 4), (13, 4), (12, 16), (4, 16)], METAL_FILL, INK)
    canvas.box(2, 2, 14, 5, METAL_FILL, INK)
    for left in (6, 9):
        canvas.box(left, 7, left + 1, 14, flat(INK))


def add(canvas):
    """Draw a green plus sign."""
    canvas.shape(PLUS_POINTS, GREEN_FILL, DARK_GREEN)


def remove(canvas):
    """Draw a red minus sign."""
    canvas.box(1, 6, 15, 10, RED_FILL, DARK_RED)


def pencil(canvas):
    """Draw a pencil whose tip is in the lower left."""
    canvas.shape([(1, 15), (2.5, 10), (6, 13.5)], flat(PAPER), BROWN, snap=False)
    canvas.shape([(2.5, 10), (10, 2.5), (13.5, 6), (6, 13.5)], AMBER_FILL, BROWN, snap=False)
    canvas.shape([(10, 2.5), (12, 0.5), (15.5, 4), (13.5, 6)], RED_FILL, DARK_RED, snap=False)
    canvas.shape([(0.8, 15.2), (1.6, 12.4), (3.6, 14.4)], flat(INK), snap=False)


def lens(canvas):
    """Draw a magnifying glass whose handle points to the lower right."""
    canvas.stroke([(10, 10), (14.6, 14.6)], INK, canvas.bold + canvas.thin, rounded=True,
                  snap=False)
    canvas.oval(0, 0, 12, 12, GLASS_FILL, INK, canvas.bold)


def settings(canvas):
    """Draw a gear wheel."""
    canvas.shape(_gear_points(), METAL_FILL, INK, snap=False)
    canvas.oval(5, 5, 11, 11, flat(INK))
    canvas.erase(lambda context: context.arc(
        canvas.exact(8), canvas.exact(8), canvas.exact(3) - canvas.thin, 0, 2 * math.pi))


def help_sign(canvas):
    """Draw a large question mark."""
    question_mark(canvas, NAVY, height=15, width=canvas.bold + canvas.thin)


def close(canvas):
    """Draw a dark cross."""
    cross(canvas, INK, reach=5)


def pin(canvas):
    """Draw a pin that is stuck in."""
    canvas.bar(9, 16, INK, upright=True)
    canvas.box(5, 3, 11, 10, RED_FILL, DARK_RED)
    canvas.box(4, 0, 12, 3, RED_FILL, DARK_RED)
    canvas.box(3, 8, 13, 11, RED_FILL, DARK_RED)


def unpin(canvas):
    """Draw a pin that lies on its side."""
    canvas.bar(0, 7, STEEL)
    canvas.box(6, 5, 13, 11, METAL_FILL, INK)
    canvas.box(13, 4, 16, 12, METAL_FILL, INK)
    canvas.box(5, 3, 8, 13, METAL_FILL, INK)


def filter_funnel(canvas):
    """Draw a funnel."""
    canvas.shape([(0, 1), (16, 1), (16, 3), (10, 9), (10, 14), (6, 16), (6, 9), (0, 3)],
                 (PALE_BLUE, mix(BLUE, STEEL, 0.5)), NAVY)
    canvas.box(2, 2, 14, 3, flat(PAPER))


def send(canvas):
    """Draw a paper plane."""
    canvas.shape([(0, 1), (16, 8), (0, 15), (2, 8)], lit(BLUE, 0.6), NAVY)
    canvas.stroke([(2, 8), (11, 8)], NAVY, canvas.thin)


def _gear_points():
    """Return the corners of a gear wheel with straight teeth."""
    corners = []
    pitch = 2 * math.pi / GEAR_TEETH
    for tooth in range(GEAR_TEETH):
        for share, radius in ((-0.3, 5.6), (-0.2, 7.9), (0.2, 7.9), (0.3, 5.6)):
            angle = (tooth + share) * pitch
            corners.append((8 + radius * math.cos(angle), 8 + radius * math.sin(angle)))
    return corners
