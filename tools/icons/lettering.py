"""Letters for the labels, drawn as strokes so that no installed font is needed.

A letter is its width in pixels and its strokes: lines through points, and arcs about a
centre (radius, start and end in degrees, clockwise). Heights count upwards from the
baseline; strokes are two pixels wide, so that upright lines on whole pixels are sharp.
"""

import math

PEN = 2
GAP = 2

_BOWL = ("arc", 4, 4, 3, 0, 360)

LETTERS = {
    "A": (10, (("line", (1, 0), (4, 10), (6, 10), (9, 0)), ("line", (2, 4), (8, 4)))),
    "H": (8, (("line", (1, 0), (1, 11)), ("line", (7, 0), (7, 11)), ("line", (1, 6), (7, 6)))),
    "d": (8, (_BOWL, ("line", (7, 0), (7, 11)))),
    "e": (8, (("arc", 4, 4, 3, 55, 360), ("line", (1, 4), (8, 4)))),
    "f": (6, (("line", (2, 0), (2, 8)), ("arc", 4, 8, 2, 180, 270), ("line", (4, 10), (6, 10)),
              ("line", (0, 7), (5, 7)))),
    "i": (2, (("line", (1, 0), (1, 8)), ("line", (1, 9), (1, 11)))),
    "l": (2, (("line", (1, 0), (1, 11)),)),
    "p": (8, (_BOWL, ("line", (1, -3), (1, 8)))),
}


def text_width(text):
    """Return the width of a line of text in pixels."""
    return sum(LETTERS[letter][0] + GAP for letter in text) - GAP


def write(canvas, text, x, baseline, colour):
    """Write a line of text from the pixel column `x` on."""
    for letter in text:
        width, strokes = LETTERS[letter]
        for stroke in strokes:
            canvas.trail(_tracer(stroke, x, baseline), colour, PEN, rounded=False)
        x += width + GAP


def _tracer(stroke, x, baseline):
    """Return the function that adds one stroke of a letter to a path."""
    kind, *values = stroke

    def trace(context):
        if kind == "arc":
            centre_x, centre_y, radius, start, end = values
            context.arc(x + centre_x, baseline - centre_y, radius,
                        math.radians(start), math.radians(end))
        else:
            for column, height in values:
                context.line_to(x + column, baseline - height)

    return trace
