"""Signs and states: ticks, crosses and the coloured bodies that carry them."""

import math

from palette import (
    AMBER_FILL, BLUE_FILL, BROWN, DARK_GREEN, DARK_RED, AMBER, GLASS_FILL, GREEN_FILL, INK,
    NAVY, PAPER, RED_FILL, SHADED_PAPER_FILL, STEEL, flat)

STAR_POINTS = 5
STAR_WAIST = 0.46


def disc(canvas, fill, edge, margin=1):
    """Draw a round body that leaves `margin` units free on every side."""
    canvas.oval(margin, margin, 16 - margin, 16 - margin, fill, edge)


def tick(canvas, colour):
    """Draw the sign for done."""
    canvas.stroke([(4.5, 8), (7, 10.7), (11.7, 5.3)], colour, snap=False)


def cross(canvas, colour, reach=2.8, width=None):
    """Draw a diagonal cross about the middle."""
    low, high = 8 - reach, 8 + reach
    canvas.stroke([(low, low), (high, high)], colour, width, snap=False)
    canvas.stroke([(low, high), (high, low)], colour, width, snap=False)


def plus(canvas, colour, margin=4):
    """Draw an upright cross about the middle."""
    canvas.bar(margin, 16 - margin, colour)
    canvas.bar(margin, 16 - margin, colour, upright=True)


def exclamation(canvas, colour, top=4, bottom=12):
    """Draw an exclamation mark between two grid lines."""
    foot = canvas.at(bottom) - canvas.bold
    _column(canvas, canvas.at(top), foot - _gap(canvas), colour)
    _column(canvas, foot, canvas.at(bottom), colour)


def letter_i(canvas, colour):
    """Draw a small i in the middle."""
    head = canvas.at(4)
    neck = head + canvas.bold
    _column(canvas, head, neck, colour)
    _column(canvas, neck + _gap(canvas), canvas.at(12), colour)


def question_mark(canvas, colour, middle=8, height=9, width=None):
    """Draw a question mark about the middle axis, centred on the grid line `middle`."""
    width = width or canvas.bold
    radius = height * 0.25
    top = middle - height / 2 + canvas.bold * 8 / canvas.width
    turn = math.radians(50)
    elbow_x = 8 + radius * math.cos(turn)
    elbow_y = top + radius + radius * math.sin(turn)
    foot = middle + height / 2 - 2 * canvas.bold * 16 / canvas.width + 0.4

    def trace(context):
        context.arc(canvas.exact(8), canvas.exact(top + radius), canvas.exact(radius),
                    math.radians(185), turn)
        context.curve_to(*(canvas.exact(v) for v in (
            elbow_x - 0.7, elbow_y + 0.6, 8, elbow_y + 0.6, 8, foot)))

    canvas.trail(trace, colour, width, rounded=False)
    end = canvas.at(middle + height / 2)
    _column(canvas, end - canvas.beam, end, colour)


def ok(canvas, margin=1):
    """Draw a green disc with a tick."""
    disc(canvas, GREEN_FILL, DARK_GREEN, margin)
    tick(canvas, PAPER)


def warning(canvas):
    """Draw an amber triangle with an exclamation mark."""
    canvas.shape([(8, 0), (16, 15), (0, 15)], AMBER_FILL, BROWN)
    exclamation(canvas, INK, 5, 13)


def error(canvas, margin=1):
    """Draw a red disc with a cross."""
    disc(canvas, RED_FILL, DARK_RED, margin)
    cross(canvas, PAPER)


def information(canvas):
    """Draw a blue disc with an i."""
    disc(canvas, BLUE_FILL, NAVY)
    letter_i(canvas, PAPER)


def question(canvas):
    """Draw a blue speech bubble with a question mark."""
    def trace(context):
        context.arc(canvas.exact(8), canvas.exact(7), canvas.exact(7),
                    math.radians(150), math.radians(110))
        context.line_to(canvas.exact(2), canvas.exact(15.8))
        context.close_path()

    canvas.paint(trace, BLUE_FILL, NAVY)
    question_mark(canvas, PAPER, middle=7)


def busy(canvas):
    """Draw an hourglass."""
    canvas.shape([(4, 2), (12, 2), (12, 5), (9, 8), (12, 11), (12, 14), (4, 14), (4, 11),
                  (7, 8), (4, 5)], GLASS_FILL, INK)
    canvas.shape([(5.5, 5), (10.5, 5), (8, 7.6)], flat(AMBER), snap=False)
    canvas.shape([(8, 9.5), (11, 13), (5, 13)], flat(AMBER), snap=False)
    canvas.box(3, 1, 13, 3, flat(BROWN))
    canvas.box(3, 13, 13, 15, flat(BROWN))


def locked(canvas):
    """Draw a closed padlock."""
    _padlock(canvas, 3, 5, 8)


def unlocked(canvas):
    """Draw a padlock with its shackle swung open."""
    _padlock(canvas, 1, 8, 5)


def star(canvas):
    """Draw a golden star."""
    canvas.shape(_star_points(), AMBER_FILL, BROWN, snap=False)


def empty_star(canvas):
    """Draw a star that is not lit."""
    canvas.shape(_star_points(), SHADED_PAPER_FILL, STEEL, snap=False)


def _gap(canvas):
    """Return the space in pixels between a stem and its dot."""
    return max(1, canvas.bold // 2)


def _column(canvas, top, bottom, colour):
    """Fill a part of the middle axis between two pixel rows."""
    left = (canvas.width - canvas.beam) / 2
    canvas.paint(lambda context: context.rectangle(
        left, top, canvas.beam, bottom - top), flat(colour))


def _padlock(canvas, left, shackle, free_end):
    """Draw a padlock: grid lines of its left edge, of the shackle and of the free end."""
    width = canvas.bold
    first = canvas.at(shackle) + width / 2
    last = canvas.at(shackle + 6) - width / 2
    radius = (last - first) / 2
    centre_y = canvas.at(1) + width / 2 + radius

    def trace(context):
        context.move_to(first, canvas.at(8))
        context.line_to(first, centre_y)
        context.arc(first + radius, centre_y, radius, math.pi, 2 * math.pi)
        context.line_to(last, canvas.at(free_end))

    canvas.trail(trace, INK, width, rounded=False)
    canvas.box(left, 7, left + 10, 15, AMBER_FILL, BROWN)
    canvas.box(left + 4, 9, left + 6, 12, flat(INK))


def _star_points():
    """Return the corners of a five-pointed star."""
    corners = []
    for index in range(2 * STAR_POINTS):
        radius = 8 if index % 2 == 0 else 8 * STAR_WAIST
        angle = math.pi * (index / STAR_POINTS - 0.5)
        corners.append((8 + radius * math.cos(angle), 8.6 + radius * math.sin(angle)))
    return corners
