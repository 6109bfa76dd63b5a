"""Arrows: block arrows, round navigation buttons, curved arrows, chevrons and sort marks."""

import math

from glyphs_state import disc
from palette import BLUE, BLUE_FILL, INK, NAVY, PAPER, flat

BLOCK_ARROW = ((1, 5), (8, 5), (8, 1), (15, 8), (8, 15), (8, 11), (1, 11))
SMALL_ARROW = ((0, 5), (8, 5), (8, 0), (16, 8), (8, 16), (8, 11), (0, 11))

TURNS = {
    "right": lambda x, y: (x, y),
    "left": lambda x, y: (16 - x, y),
    "down": lambda x, y: (y, x),
    "up": lambda x, y: (y, 16 - x),
}


def turned(points, direction):
    """Return points that were drawn for the right, turned into another direction."""
    return [TURNS[direction](x, y) for x, y in points]


def arrow(canvas, direction):
    """Draw a block arrow."""
    canvas.shape(turned(BLOCK_ARROW, direction), BLUE_FILL, NAVY)


def small_arrow(canvas, direction):
    """Draw a block arrow that uses all of its space, as a mark on something else."""
    canvas.shape(turned(SMALL_ARROW, direction), BLUE_FILL, NAVY)


def navigation(canvas, direction):
    """Draw a round button with an arrow, as browsers have for back and forward."""
    disc(canvas, BLUE_FILL, NAVY, 0)
    canvas.bar(4, 12, PAPER)
    head = turned([(7.6, 3.8), (11.8, 8), (7.6, 12.2)], direction)
    canvas.stroke(head, PAPER, snap=False)


def undo(canvas):
    """Draw an arrow that turns back to the left."""
    _curved(canvas, "left")


def redo(canvas):
    """Draw an arrow that turns forward to the right."""
    _curved(canvas, "right")


def chevrons(canvas, direction):
    """Draw two chevrons, for parts of a window that fold open or shut."""
    for start in (2.5, 7.5):
        points = turned([(start, 3.5), (start + 4.5, 8), (start, 12.5)], direction)
        canvas.stroke(points, INK, snap=False)


def sort(canvas, rising):
    """Draw bars that grow or shrink downwards beside a small arrow."""
    lengths = (3, 5, 7) if rising else (7, 5, 3)
    for row, length in enumerate(lengths):
        top = 2 + 5 * row
        canvas.box(8, top, 8 + length, top + 2, flat(INK))
    direction = "up" if rising else "down"
    shaft = [(1, 7), (10, 7), (10, 4), (15, 8), (10, 12), (10, 9), (1, 9)]
    points = [(x - 4, y) for x, y in turned(shaft, direction)]
    canvas.shape(points, flat(BLUE))


def _curved(canvas, direction):
    """Draw an arch with an arrow head on its left or right end."""
    side = 1 if direction == "left" else -1
    top, foot = (canvas.line_at(y, canvas.bold) for y in (6, 13))
    bend = (foot - top) / 2

    def across(x):
        return canvas.exact(8 + side * (x - 8))

    def arch(context):
        context.move_to(across(5), top)
        context.line_to(across(10), top)
        arc = context.arc if side > 0 else context.arc_negative
        arc(across(10), top + bend, bend, -math.pi / 2, math.pi / 2)
        context.line_to(across(4), foot)

    def head(context):
        reach = canvas.exact(5)
        context.move_to(across(1), top)
        context.line_to(across(6), top - reach)
        context.line_to(across(6), top + reach)
        context.close_path()

    canvas.trail(arch, BLUE, canvas.bold, rounded=False)
    canvas.paint(head, flat(BLUE))


def refresh(canvas):
    """Draw two arrows that chase each other round a circle."""
    radius, spread = 5.4, 3.4

    def arc_from(start):
        return lambda context: context.arc(
            canvas.exact(8), canvas.exact(8), canvas.exact(radius),
            math.radians(start), math.radians(start + 118))

    def head_at(angle):
        turn = math.radians(angle)
        out_x, out_y = math.cos(turn), math.sin(turn)
        corners = ((radius - spread, 0), (radius + spread, 0), (radius, 4.6))

        def trace(context):
            for outward, onward in corners:
                context.line_to(canvas.exact(8 + outward * out_x - onward * out_y),
                                canvas.exact(8 + outward * out_y + onward * out_x))
            context.close_path()

        return trace

    for start in (190, 10):
        canvas.trail(arc_from(start), BLUE, canvas.bold, rounded=False)
        canvas.paint(head_at(start + 116), flat(BLUE))
