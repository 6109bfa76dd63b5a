"""Folders, the special folders of a mailbox, and folders with a mark on them."""

import math

from glyphs_arrow import small_arrow
from glyphs_button import lens, pencil
from glyphs_state import disc, locked, plus, star
from palette import (
    BLUE_FILL, BROWN, CARD_FILL, DARK_GREEN, FOLDER_BACK_FILL, FOLDER_FILL, GREEN_FILL, INK,
    METAL_FILL, NAVY, PAPER, PAPER_FILL, RED, SHADED_PAPER_FILL, STEEL, flat)


def folder(canvas):
    """Draw a closed folder."""
    canvas.shape([(0, 2), (6, 2), (8, 4), (15, 4), (15, 14), (0, 14)],
                 FOLDER_BACK_FILL, BROWN)
    canvas.box(0, 6, 15, 14, FOLDER_FILL, BROWN)


def folder_open(canvas):
    """Draw a folder with its front leaf tilted."""
    open_back(canvas)
    open_front(canvas)


def open_back(canvas):
    """Draw the rear leaf of an open folder."""
    canvas.shape([(0, 2), (6, 2), (8, 4), (13, 4), (13, 14), (0, 14)],
                 FOLDER_BACK_FILL, BROWN)


def open_front(canvas):
    """Draw the front leaf of an open folder."""
    canvas.shape([(3, 7), (16, 7), (13, 14), (0, 14)], FOLDER_FILL, BROWN)


def marked(canvas, mark):
    """Draw a closed folder with a mark in front of it."""
    folder(canvas)
    canvas.overlay(mark)


def shared(canvas):
    """Draw a folder with a person."""
    marked(canvas, _small_person)


def search_folder(canvas):
    """Draw a folder with a magnifying glass."""
    marked(canvas, lambda front: lens(front.corner(11)))


def with_star(canvas):
    """Draw a folder with a star; no bits of the folder are left between its points."""
    folder(canvas)
    corner = canvas.corner(12)
    corner.erase(lambda context: context.arc(
        corner.width / 2, corner.width / 2, corner.width / 2, 0, 2 * math.pi))
    star(corner)


def with_arrow(canvas):
    """Draw a folder with an arrow, for moving into a folder."""
    marked(canvas, lambda front: small_arrow(front.corner(10), "right"))


def with_plus(canvas):
    """Draw a folder with a plus sign, for a new folder."""
    def mark(front):
        corner = front.corner(9)
        disc(corner, GREEN_FILL, DARK_GREEN, 0)
        plus(corner, PAPER)

    marked(canvas, mark)


def with_lock(canvas):
    """Draw a folder with a padlock."""
    marked(canvas, lambda front: locked(front.corner(10)))


def inbox(canvas):
    """Draw a tray with an arrow into it."""
    _tray(canvas)
    canvas.overlay(lambda front: small_arrow(front.inset(3, 0, 10), "down"))


def sent_items(canvas):
    """Draw a tray with an arrow out of it."""
    _tray(canvas)
    canvas.overlay(lambda front: small_arrow(front.inset(3, 0, 10), "up"))


def drafts(canvas):
    """Draw a page with a pencil."""
    canvas.box(1, 0, 12, 16, PAPER_FILL, INK)
    for top in (3, 5, 7):
        canvas.box(3, top, 10, top + 1, flat(STEEL))
    canvas.overlay(lambda front: pencil(front.corner(11)))


def deleted_items(canvas):
    """Draw a folder with a waste bin."""
    marked(canvas, _small_bin)


def junk(canvas):
    """Draw a folder with a no-entry sign."""
    def mark(front):
        corner = front.corner(9)
        corner.oval(0, 0, 16, 16, flat(PAPER), RED, 2 * corner.thin)
        corner.stroke([(3, 3), (13, 13)], RED, 2 * corner.thin, snap=False)

    marked(canvas, mark)


def archive(canvas):
    """Draw a box with a lid."""
    canvas.box(1, 6, 15, 15, CARD_FILL, BROWN)
    canvas.box(0, 2, 16, 7, FOLDER_FILL, BROWN)
    canvas.box(5, 9, 11, 11, flat(PAPER), BROWN)


def mailbox(canvas):
    """Draw a cabinet with two drawers, for a whole mailbox."""
    for top in (0, 8):
        canvas.box(2, top, 14, top + 8, METAL_FILL, INK)
        canvas.box(6, top + 3, 10, top + 5, flat(INK))


def _tray(canvas):
    """Draw an open letter tray."""
    canvas.shape([(0, 9), (2, 6), (14, 6), (16, 9), (16, 16), (0, 16)],
                 SHADED_PAPER_FILL, INK)
    canvas.shape([(0, 9), (4, 9), (5, 12), (11, 12), (12, 9), (16, 9), (16, 16), (0, 16)],
                 METAL_FILL, INK)


def _small_bin(canvas):
    """Draw a waste bin in the lower right."""
    canvas.box(11, 6, 13, 8, flat(INK))
    canvas.box(8, 7, 16, 8, flat(INK))
    canvas.box(9, 9, 15, 16, METAL_FILL, INK)


def _small_person(canvas):
    """Draw the head and shoulders of a person in the lower right."""
    canvas.shape([(7, 16), (7, 13), (9, 11), (14, 11), (16, 13), (16, 16)], BLUE_FILL, NAVY)
    canvas.oval(9, 6, 14, 11, BLUE_FILL, NAVY)
