"""The product's logo, the wizard illustrations and the labels that carry a word."""

import math

from glyphs_arrow import small_arrow
from glyphs_folder import folder, open_back, open_front
from glyphs_mail import mail
from glyphs_state import ok, question_mark, star
from lettering import text_width, write
from palette import (
    BLUE, BLUE_FILL, NAVY, PALE_BLUE, PALE_GREEN, PAPER, STEEL, flat, lit, mix)

LABEL_WIDTH, LABEL_HEIGHT = 64, 24


def logo(canvas):
    """Draw the logo: a white P with a leaf on a blue tile."""
    canvas.box(0, 0, 16, 16, lit(BLUE, 0.25), NAVY, radius=3)
    _letter_p(canvas)
    _leaf(canvas)


def wizard_welcome(canvas):
    """Draw letters on their way into a folder."""
    _backdrop(canvas)
    open_back(canvas.inset(2, 3, 12))
    mail(canvas.inset(4.5, 4, 7))
    open_front(canvas.inset(2, 3, 12))
    small_arrow(canvas.inset(6.2, 1.4, 3.5), "down")


def wizard_folders(canvas):
    """Draw a small tree of folders, one of them a favourite."""
    _backdrop(canvas)
    folder(canvas.inset(2.5, 1.8, 4.5))
    canvas.box(4.6, 5.7, 5, 12.2, flat(STEEL))
    for top in (5.8, 9.8):
        canvas.box(4.6, top + 2, 7, top + 2.4, flat(STEEL))
        folder(canvas.inset(7, top, 4.5))
    star(canvas.inset(9.5, 7.9, 4.2))


def wizard_done(canvas):
    """Draw a filled folder with a tick."""
    _backdrop(canvas)
    mail(canvas.inset(5.5, 1.2, 6))
    mail(canvas.inset(3.8, 3, 6))
    folder(canvas.inset(2.2, 4.2, 11))
    ok(canvas.inset(8.8, 8.2, 6), 0)


def help_label(canvas, word):
    """Draw a label with a question mark and the word for help."""
    canvas.paint(lambda context: _trace_label(context), BLUE_FILL, NAVY, 1)
    disc = canvas.window(4, 4, 16)
    disc.oval(0, 0, 16, 16, flat(PAPER))
    question_mark(disc, NAVY, height=10)
    free = LABEL_WIDTH - 5 - 23
    write(canvas, word, 23 + (free - text_width(word)) // 2, 17, PAPER)


def _trace_label(context):
    """Add the outline of the label, round at both ends, to the path."""
    radius = LABEL_HEIGHT / 2 - 1
    middle = LABEL_HEIGHT / 2
    context.arc(LABEL_WIDTH - radius, middle, radius, -math.pi / 2, math.pi / 2)
    context.arc(radius, middle, radius, math.pi / 2, 3 * math.pi / 2)
    context.close_path()


def _letter_p(canvas):
    """Draw the P of the logo."""
    left, stem, top, bottom = (canvas.at(v) for v in (4, 6, 3, 13))
    middle, right = canvas.at(10), canvas.at(12)
    pen = stem - left
    outer = (middle - top) / 2
    inner = outer - pen

    def trace(context):
        context.move_to(left, top)
        context.arc(right - outer, top + outer, outer, -math.pi / 2, math.pi / 2)
        context.line_to(stem, middle)
        context.line_to(stem, bottom)
        context.line_to(left, bottom)
        context.close_path()
        context.move_to(stem, top + pen)
        context.line_to(stem, middle - pen)
        context.arc_negative(right - outer, top + outer, inner, math.pi / 2, -math.pi / 2)
        context.close_path()

    canvas.paint(trace, flat(PAPER))


def _leaf(canvas):
    """Draw the leaf below the bowl of the P."""
    def trace(context):
        context.move_to(canvas.exact(7.5), canvas.exact(14))
        context.curve_to(*(canvas.exact(v) for v in (7.5, 10.5, 10, 10.5, 13.5, 10)))
        context.curve_to(*(canvas.exact(v) for v in (13.5, 13, 11.5, 15, 7.5, 14)))
        context.close_path()

    canvas.paint(trace, (mix(PALE_GREEN, PAPER, 0.3), PALE_GREEN))


def _backdrop(canvas):
    """Draw the pale disc behind an illustration."""
    canvas.oval(0, 0, 16, 16, (mix(PALE_BLUE, PAPER, 0.6), PALE_BLUE))
