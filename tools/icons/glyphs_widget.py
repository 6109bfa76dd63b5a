"""Parts of widgets: tree boxes, check boxes, radio buttons, progress frames."""

import math

from palette import (
    BLUE, INK, MIST, NAVY, PALE_STEEL, PAPER, PAPER_FILL, STEEL, flat, mix)

SPOKES = 8


def tree_plus(canvas):
    """Draw the box of a branch that can be opened."""
    _tree_box(canvas)
    canvas.box(7, 5, 8, 10, flat(INK))


def tree_minus(canvas):
    """Draw the box of a branch that is open."""
    _tree_box(canvas)


def check_box(canvas, mark=None, enabled=True):
    """Draw a check box; `mark` is None, "tick" or "mixed"."""
    fill, edge, sign = _box_colours(enabled)
    canvas.box(1, 1, 15, 15, fill, edge)
    if mark == "tick":
        canvas.stroke([(4, 8), (7, 11), (12, 5)], sign, snap=False)
    elif mark == "mixed":
        canvas.box(4, 4, 12, 12, flat(sign))


def radio_button(canvas, chosen=False, enabled=True):
    """Draw a radio button."""
    fill, edge, sign = _box_colours(enabled)
    canvas.oval(1, 1, 15, 15, fill, edge)
    if chosen:
        canvas.oval(4, 4, 12, 12, flat(sign))


def progress(canvas, step):
    """Draw one frame of a turning wheel: the spoke number `step` is the darkest."""
    for spoke in range(SPOKES):
        angle = 2 * math.pi * (spoke / SPOKES - 0.25)
        age = (step - spoke) % SPOKES / SPOKES
        x, y = 8 + 6.2 * math.cos(angle), 8 + 6.2 * math.sin(angle)
        size = 1.8 - 0.8 * age
        _dot(canvas, x, y, size, mix(NAVY, PALE_STEEL, age))


def _tree_box(canvas):
    """Draw an eleven-pixel box with a minus sign."""
    canvas.box(2, 2, 13, 13, PAPER_FILL, STEEL)
    canvas.box(5, 7, 10, 8, flat(INK))


def _box_colours(enabled):
    """Return fill, outline and sign colour of a box that can or cannot be changed."""
    if enabled:
        return PAPER_FILL, INK, BLUE
    return flat(mix(MIST, PAPER, 0.5)), PALE_STEEL, STEEL


def _dot(canvas, x, y, radius, colour):
    """Fill a small circle about a grid point."""
    canvas.paint(lambda context: context.arc(
        canvas.exact(x), canvas.exact(y), canvas.exact(radius), 0, 2 * math.pi), flat(colour))
