"""Contact sheet: all images on white and on grey with their identifiers, small ones enlarged."""

import cairo

import png_file
from catalogue import NEUTRAL
from palette import INK, PAPER, mix

SHEET_WIDTH = 1180
MARGIN = 10
CAPTION = 11
CELL_GAP = 10
ENLARGEMENT = 3
WHITE = PAPER
LIGHT_GREY = mix((0, 0, 0), PAPER, 0.86)


def write_sheet(path, drawn):
    """Write the sheet; `drawn` lists (language, image, surface)."""
    small = [entry for entry in drawn if entry[1].width == 16]
    sections = [(_flow(drawn, 1), WHITE, 1), (_flow(drawn, 1), LIGHT_GREY, 1),
                (_flow(small, ENLARGEMENT), LIGHT_GREY, ENLARGEMENT)]
    height = sum(bottom for (_, bottom), _, _ in sections)
    sheet = cairo.ImageSurface(cairo.FORMAT_ARGB32, SHEET_WIDTH, height)
    context = cairo.Context(sheet)
    top = 0
    for (places, bottom), ground, scale in sections:
        _draw_section(context, top, bottom, ground, places, scale)
        top += bottom
    path.write_bytes(png_file.encode(sheet))


def _flow(drawn, scale):
    """Return where each image goes when they are set in lines, and the height needed."""
    places, x, y, line = [], MARGIN, MARGIN, 0
    for entry in drawn:
        width = max(24, entry[1].width * scale)
        if x + width > SHEET_WIDTH - MARGIN:
            x, y, line = MARGIN, y + line + CELL_GAP, 0
        places.append((x, y, entry))
        x += width + CELL_GAP
        line = max(line, entry[1].height * scale + CAPTION)
    return places, y + line + MARGIN


def _draw_section(context, top, height, ground, places, scale):
    """Draw one part of the sheet from the row `top` on."""
    context.set_source_rgb(*ground)
    context.rectangle(0, top, SHEET_WIDTH, height)
    context.fill()
    context.select_font_face("sans")
    context.set_font_size(9)
    for x, y, (language, image, surface) in places:
        context.save()
        context.translate(x, top + y)
        context.scale(scale, scale)
        context.set_source_surface(surface, 0, 0)
        context.get_source().set_filter(cairo.FILTER_NEAREST)
        context.paint()
        context.restore()
        context.set_source_rgb(*INK)
        context.move_to(x, top + y + image.height * scale + CAPTION - 2)
        context.show_text(_caption(language, image))


def _caption(language, image):
    """Return the identifier, with the language where it is not the neutral one."""
    return str(image.identifier) + ("" if language == NEUTRAL else " " + language)
