"""PNG container for finished canvases: 8-bit RGBA, no time stamps, as small as it gets.

The bytes depend on the pixels alone, so that the same drawing always gives the same file.
"""

import struct
import zlib

SIGNATURE = b"\x89PNG\r\n\x1a\n"
COLOUR_TYPE_RGBA = 6
BYTES_PER_PIXEL = 4
STRATEGIES = (zlib.Z_DEFAULT_STRATEGY, zlib.Z_FILTERED)


def encode(surface):
    """Return the PNG file of a cairo ARGB32 surface."""
    width, height = surface.get_width(), surface.get_height()
    header = struct.pack(">IIBBBBB", width, height, 8, COLOUR_TYPE_RGBA, 0, 0, 0)
    data = _smallest(_straight_rows(surface))
    return SIGNATURE + _chunk(b"IHDR", header) + _chunk(b"IDAT", data) + _chunk(b"IEND", b"")


def _chunk(kind, body):
    """Return one chunk: length, type, body and checksum."""
    return struct.pack(">I", len(body)) + kind + body + struct.pack(
        ">I", zlib.crc32(kind + body))


def _straight_rows(surface):
    """Return the rows as RGBA bytes with the colour no longer multiplied by alpha."""
    surface.flush()
    data, stride = bytes(surface.get_data()), surface.get_stride()
    rows = []
    for y in range(surface.get_height()):
        row = bytearray()
        for x in range(surface.get_width()):
            (pixel,) = struct.unpack_from("=I", data, y * stride + x * BYTES_PER_PIXEL)
            row += _straight_pixel(pixel)
        rows.append(bytes(row))
    return rows


def _straight_pixel(pixel):
    """Return R, G, B, A of a premultiplied ARGB word; transparent pixels are all zero."""
    alpha = pixel >> 24
    if alpha == 0:
        return b"\0\0\0\0"
    colour = ((pixel >> shift) & 255 for shift in (16, 8, 0))
    return bytes([min(255, (c * 255 + alpha // 2) // alpha) for c in colour] + [alpha])


def _smallest(rows):
    """Return the shortest compressed form among the filter choices worth trying."""
    blank = bytes(len(rows[0]))
    lines = [_filtered(row, above) for row, above in zip(rows, [blank] + rows[:-1])]
    choices = [[kinds[kind] for kinds in lines] for kind in range(5)]
    choices.append([min(kinds, key=_roughness) for kinds in lines])
    packed = [_deflate(b"".join(choice), strategy)
              for choice in choices for strategy in STRATEGIES]
    return min(packed, key=len)


def _deflate(data, strategy):
    """Return the zlib stream of the data at the highest level."""
    packer = zlib.compressobj(9, zlib.DEFLATED, 15, 9, strategy)
    return packer.compress(data) + packer.flush()


def _filtered(row, above):
    """Return the row under each of the five filters, each led by its filter number."""
    start = bytes(BYTES_PER_PIXEL)
    left = start + row[:-BYTES_PER_PIXEL]
    corner = start + above[:-BYTES_PER_PIXEL]
    guesses = (
        bytes(len(row)),
        left,
        above,
        bytes((a + b) // 2 for a, b in zip(left, above)),
        bytes(_paeth(a, b, c) for a, b, c in zip(left, above, corner)),
    )
    return [bytes([kind]) + bytes((v - g) & 255 for v, g in zip(row, guess))
            for kind, guess in enumerate(guesses)]


def _paeth(left, above, corner):
    """Return the neighbour that is nearest to left + above - corner."""
    estimate = left + above - corner
    return min((left, above, corner), key=lambda value: abs(estimate - value))


def _roughness(line):
    """Return the sum of the line's bytes as signed numbers: small means it packs well."""
    return sum(min(value, 256 - value) for value in line[1:])
