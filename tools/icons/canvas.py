"""Drawing surface of one icon: a 16-unit grid whose coordinates fall on whole pixels.

Glyphs are written once, in units of a sixteenth of the icon. The canvas rounds each unit to
a pixel edge of the size that is being drawn, and does it alike from both sides, so that a
glyph that is symmetric on the grid stays symmetric at every size. Outlines are drawn inside
the shape that they surround and have whole-pixel widths.
"""

import math

import cairo

from palette import flat

GRID = 16
FULL_TURN = 2 * math.pi


def whole(value):
    """Round to the nearest whole number, halves upwards."""
    return math.floor(value + 0.5)


class Canvas:
    """A square (or, for labels, oblong) image under construction."""

    def __init__(self, width, height=None, surface=None, origin=(0, 0)):
        """Open a transparent canvas, or a window at `origin` of an existing surface."""
        self.width = width
        self.height = height or width
        self.surface = surface or cairo.ImageSurface(
            cairo.FORMAT_ARGB32, self.width, self.height)
        self.origin = origin
        self.context = cairo.Context(self.surface)
        self.context.translate(*origin)

    @property
    def thin(self):
        """Width of outlines in pixels."""
        return 1 if self.width < 32 else 2

    @property
    def bold(self):
        """Width in pixels of strokes that are signs in themselves (ticks, crosses)."""
        return max(1, whole(self.width / 8))

    @property
    def beam(self):
        """Width in pixels of a bar on the middle axis: of the canvas's own parity."""
        return self.bold if self.bold % 2 == self.width % 2 else self.bold + 1

    def at(self, unit):
        """Return the pixel edge of a grid coordinate, rounded alike from both sides."""
        if unit > GRID / 2:
            return self.width - whole((GRID - unit) * self.width / GRID)
        if unit == GRID / 2:
            return self.width / 2
        return whole(unit * self.width / GRID)

    def exact(self, unit):
        """Return the place of a grid coordinate in pixels, not rounded."""
        return unit * self.width / GRID

    def line_at(self, unit, width):
        """Return the centre of a line of `width` pixels so that its edges are sharp."""
        shift = (width % 2) / 2
        pixel = unit * self.width / GRID
        if unit > GRID / 2:
            return self.width - (whole(self.width - pixel - shift) + shift)
        return whole(pixel - shift) + shift

    def inset(self, left, top, size):
        """Return a canvas that draws into a square part of this one (units)."""
        pixels = whole(size * self.width / GRID)
        x, y = whole(self.exact(left)), whole(self.exact(top))
        return self.window(x, y, pixels)

    def corner(self, size):
        """Return a canvas for the lower right corner, where badges go (units)."""
        pixels = whole(size * self.width / GRID)
        return self.window(self.width - pixels, self.height - pixels, pixels)

    def window(self, x, y, pixels):
        """Return a canvas that draws into a square part of this one (pixels)."""
        origin = (self.origin[0] + x, self.origin[1] + y)
        return Canvas(pixels, surface=self.surface, origin=origin)

    def overlay(self, draw):
        """Draw something in front, with a transparent rim that parts it from the rest."""
        front = Canvas(self.width, self.height)
        draw(front)
        context = self.context
        context.set_operator(cairo.OPERATOR_DEST_OUT)
        for dx in (-self.thin, 0, self.thin):
            for dy in (-self.thin, 0, self.thin):
                context.set_source_surface(front.surface, dx, dy)
                context.paint()
        context.set_operator(cairo.OPERATOR_OVER)
        context.set_source_surface(front.surface, 0, 0)
        context.paint()

    def paint(self, trace, fill, edge=None, edge_width=None):
        """Fill the path that `trace` adds to a context, with an outline inside of it.

        Colour and outline are put together first and cut out along the path last, so that
        an edge pixel has the coverage of one shape and not of two on top of each other.
        """
        context = self.context
        context.new_path()
        trace(context)
        _, top, _, bottom = context.path_extents()
        context.push_group()
        context.set_source(_gradient(fill, top, bottom))
        context.paint()
        if edge:
            context.set_source_rgb(*edge)
            context.set_line_width(2 * (edge_width or self.thin))
            context.set_line_join(cairo.LINE_JOIN_MITER)
            context.stroke()
        context.pop_group_to_source()
        context.new_path()
        trace(context)
        context.fill()

    def box(self, x0, y0, x1, y1, fill, edge=None, radius=0):
        """Draw a rectangle between grid lines; `radius` is in units."""
        left, top, right, bottom = (self.at(v) for v in (x0, y0, x1, y1))
        self.paint(lambda context: _trace_box(
            context, left, top, right, bottom, self.exact(radius)), fill, edge)

    def oval(self, x0, y0, x1, y1, fill, edge=None, edge_width=None):
        """Draw the ellipse that fills a rectangle between grid lines."""
        left, top, right, bottom = (self.at(v) for v in (x0, y0, x1, y1))

        def trace(context):
            context.save()
            context.translate((left + right) / 2, (top + bottom) / 2)
            context.scale((right - left) / 2, (bottom - top) / 2)
            context.arc(0, 0, 1, 0, FULL_TURN)
            context.restore()

        self.paint(trace, fill, edge, edge_width)

    def shape(self, points, fill, edge=None, snap=True):
        """Draw a polygon; `snap` puts its corners on pixel edges."""
        place = self.at if snap else self.exact
        corners = [(place(x), place(y)) for x, y in points]

        def trace(context):
            for corner in corners:
                context.line_to(*corner)
            context.close_path()

        self.paint(trace, fill, edge)

    def stroke(self, points, colour, width=None, rounded=False, snap=True):
        """Draw an open line of `width` pixels (bold unless given) through grid points."""
        width = width or self.bold
        place = (lambda unit: self.line_at(unit, width)) if snap else self.exact
        corners = [(place(x), place(y)) for x, y in points]

        def trace(context):
            for corner in corners:
                context.line_to(*corner)

        self.trail(trace, colour, width, rounded)

    def arc(self, x, y, radius, start, end, colour, width=None):
        """Draw a clockwise arc about a grid point; angles in degrees from the right."""
        self.trail(lambda context: context.arc(
            self.exact(x), self.exact(y), self.exact(radius),
            math.radians(start), math.radians(end)), colour, width or self.bold, False)

    def trail(self, trace, colour, width, rounded=True):
        """Stroke the path that `trace` adds to a context."""
        context = self.context
        context.new_path()
        trace(context)
        context.set_source_rgb(*colour)
        context.set_line_width(width)
        context.set_line_join(cairo.LINE_JOIN_ROUND if rounded else cairo.LINE_JOIN_MITER)
        context.set_line_cap(cairo.LINE_CAP_ROUND if rounded else cairo.LINE_CAP_BUTT)
        context.stroke()

    def bar(self, x0, x1, colour, upright=False):
        """Draw a bar on the middle axis between two grid lines."""
        start, end = self.at(x0), self.at(x1)
        low = (self.width - self.beam) / 2
        high = low + self.beam
        ends = (low, start, high, end) if upright else (start, low, end, high)
        self.paint(lambda context: _trace_box(context, *ends, 0), flat(colour))

    def erase(self, trace):
        """Make the inside of the path that `trace` adds transparent."""
        context = self.context
        context.new_path()
        trace(context)
        context.set_operator(cairo.OPERATOR_CLEAR)
        context.fill()
        context.set_operator(cairo.OPERATOR_OVER)


def _gradient(fill, top, bottom):
    """Return the pattern that runs from the fill's first colour down to its second."""
    pattern = cairo.LinearGradient(0, top, 0, bottom)
    pattern.add_color_stop_rgb(0, *fill[0])
    pattern.add_color_stop_rgb(1, *fill[1])
    return pattern


def _trace_box(context, left, top, right, bottom, radius):
    """Add a rectangle, rounded at its corners if `radius` is not 0, to the path."""
    if not radius:
        context.rectangle(left, top, right - left, bottom - top)
        return
    quarter = math.pi / 2
    context.new_sub_path()
    for turn, (x, y) in enumerate(((right - radius, top + radius),
                                   (right - radius, bottom - radius),
                                   (left + radius, bottom - radius),
                                   (left + radius, top + radius))):
        context.arc(x, y, radius, (turn - 1) * quarter, turn * quarter)
    context.close_path()
