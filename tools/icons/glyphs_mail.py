"""Envelopes, and other things that a mailbox holds."""

import math

from canvas import whole
from glyphs_arrow import small_arrow
from palette import (
    AMBER_FILL, BLUE, BLUE_FILL, BROWN, DARK_RED, FOLDER_FILL, INK, NAVY, PAPER_FILL,
    RED_FILL, SHADED_PAPER_FILL, STEEL, flat)


def mail(canvas):
    """Draw a closed envelope."""
    _envelope(canvas, 0, 3, 16, 14)


def mail_open(canvas):
    """Draw an envelope with the letter half out of it."""
    canvas.box(0, 6, 16, 16, flat(STEEL), INK)
    canvas.box(2, 0, 14, 14, PAPER_FILL, INK)
    for top in (3, 5, 7):
        canvas.box(5, top, 11, top + 1, flat(STEEL))
    canvas.shape([(0, 6), (8, 12), (16, 6), (16, 16), (0, 16)], SHADED_PAPER_FILL, INK)


def flagged(canvas):
    """Draw an envelope with a red flag."""
    mail(canvas)
    canvas.overlay(_small_flag)


def with_attachment(canvas):
    """Draw an envelope with a paper clip."""
    mail(canvas)
    canvas.overlay(_small_clip)


def stack(canvas):
    """Draw two envelopes, one behind the other."""
    _envelope(canvas, 3, 1, 16, 10)
    canvas.overlay(lambda front: _envelope(front, 0, 6, 13, 15))


def sent(canvas):
    """Draw an envelope with an arrow that leads away."""
    mail(canvas)
    canvas.overlay(lambda front: small_arrow(front.corner(10), "right"))


def unread(canvas):
    """Draw an envelope with a blue dot."""
    mail(canvas)
    canvas.overlay(lambda front: front.oval(9, 0, 16, 7, BLUE_FILL, NAVY))


def filed(canvas):
    """Draw an envelope with a small folder."""
    mail(canvas)
    canvas.overlay(_small_folder)


def paper_clip(canvas):
    """Draw a paper clip."""
    pitch = canvas.at(3)
    left = (canvas.width - 3 * pitch - canvas.bold) // 2
    _clip(canvas, left, canvas.at(1), canvas.at(15), pitch, canvas.bold)


def tag(canvas):
    """Draw a label with a hole, for categories."""
    canvas.shape([(1, 1), (8, 1), (15, 8), (8, 15), (1, 8)], AMBER_FILL, BROWN)
    canvas.oval(3, 3, 6, 6, flat(INK))


def clock(canvas):
    """Draw a clock face, for recently used things."""
    canvas.oval(1, 1, 15, 15, PAPER_FILL, INK)
    canvas.stroke([(8, 4), (8, 9), (12, 9)], BLUE)


def _envelope(canvas, left, top, right, bottom):
    """Draw a closed envelope between grid lines."""
    canvas.box(left, top, right, bottom, SHADED_PAPER_FILL, INK)
    thin = canvas.thin
    x0, x1 = canvas.at(left), canvas.at(right)
    y0, y1 = canvas.at(top), canvas.at(bottom)
    middle, tip = (x0 + x1) / 2, y0 + whole((y1 - y0) * 0.6)

    def flap(context):
        context.move_to(x0, y0)
        context.line_to(x1, y0)
        context.line_to(x1, y0 + thin)
        context.line_to(middle, tip)
        context.line_to(x0, y0 + thin)
        context.close_path()

    canvas.paint(flap, PAPER_FILL, INK)


def _small_flag(canvas):
    """Draw a flag on a pole in the lower right."""
    canvas.box(8, 6, 9, 16, flat(INK))
    canvas.box(9, 6, 16, 12, RED_FILL, DARK_RED)


def _small_clip(canvas):
    """Draw a paper clip in the right half."""
    pitch = 2 * canvas.thin if canvas.width != 24 else 3
    left = canvas.width - 3 * pitch - canvas.thin
    _clip(canvas, left, canvas.at(5), canvas.height, pitch, canvas.thin)


def _clip(canvas, left, top, bottom, pitch, width):
    """Draw the three bends of a paper clip; measures in pixels, lines `pitch` apart."""
    columns = [left + width / 2 + pitch * index for index in range(4)]
    start, end = top + width / 2, bottom - width / 2
    big, middle, small = 1.5 * pitch, pitch, pitch / 2

    def trace(context):
        context.move_to(columns[3], start + middle)
        context.line_to(columns[3], end - big)
        context.arc(columns[0] + big, end - big, big, 0, math.pi)
        context.line_to(columns[0], start + middle)
        context.arc(columns[0] + middle, start + middle, middle, math.pi, 2 * math.pi)
        context.line_to(columns[2], end - big - small)
        context.arc(columns[1] + small, end - big - small, small, 0, math.pi)
        context.line_to(columns[1], start + big + pitch)

    canvas.trail(trace, INK, width, rounded=False)


def _small_folder(canvas):
    """Draw a folder in the lower right."""
    canvas.shape([(7, 8), (10, 8), (11, 9), (16, 9), (16, 16), (7, 16)], FOLDER_FILL, BROWN)
    canvas.box(7, 10, 16, 11, flat(BROWN))
