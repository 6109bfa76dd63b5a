#!/usr/bin/python3 -B
"""Draws the images that are compiled into the program, and their catalogue.

    generate_icons.py                       write all images and the catalogue
    generate_icons.py --check               report files that differ from the drawing
    generate_icons.py --contact-sheet FILE  draw all images on one sheet

The images are files `resources/images/LANGUAGE/IDENTIFIER.png`. They depend on nothing but
these modules and the cairo library (Debian: python3-cairo): no fonts, no dates. Running the
generator twice writes the same bytes.
"""

import argparse
import pathlib
import sys

import catalogue
import contact_sheet
import png_file
from canvas import Canvas

IMAGES_FOLDER = pathlib.Path(__file__).resolve().parents[2] / "resources" / "images"
CATALOGUE_NAME = "catalogue.tsv"


def draw(image):
    """Return the finished surface of one image."""
    canvas = Canvas(image.width, image.height)
    image.draw(canvas)
    return canvas.surface


def catalogue_text():
    """Return the catalogue: a heading and one line for each image, parted by tabs."""
    lines = ["identifier\tsize\tname\tmeaning"]
    lines += [f"{image.identifier}\t{image.width}x{image.height}\t{image.name}\t{image.meaning}"
              for image in catalogue.neutral_images()]
    return "\n".join(lines) + "\n"


def expected_files():
    """Return the bytes of every file of the set by its path below the images folder."""
    files = {f"{language}/{image.identifier}.png": png_file.encode(draw(image))
             for language, image in catalogue.all_images()}
    files[CATALOGUE_NAME] = catalogue_text().encode()
    return files


def differences(folder):
    """Return a line for each fault of the table and each file that is not as drawn."""
    if found := catalogue.faults():
        return found
    expected = expected_files()
    for name, data in expected.items():
        path = folder / name
        if not path.is_file():
            found.append(f"{name}: missing")
        elif path.read_bytes() != data:
            found.append(f"{name}: differs from the drawing")
    present = {path.relative_to(folder).as_posix() for path in folder.glob("**/*.png")}
    found += [f"{name}: not in the catalogue" for name in sorted(present - set(expected))]
    return found


def write_files(folder):
    """Write all images and the catalogue; return the number of bytes in the images."""
    total = 0
    for name, data in expected_files().items():
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
        total += len(data) if path.suffix == ".png" else 0
    return total


def main():
    """Run what the command line asks for; return the exit code."""
    parser = argparse.ArgumentParser(description="Draw the images of the program.")
    action = parser.add_mutually_exclusive_group()
    action.add_argument("--check", action="store_true",
                        help="write nothing; exit 1 and name the files that differ")
    action.add_argument("--contact-sheet", metavar="FILE", type=pathlib.Path,
                        help="write nothing but a sheet with all images to FILE")
    options = parser.parse_args()
    if options.check:
        found = differences(IMAGES_FOLDER)
        print("\n".join(found) or "images: as drawn")
        return 1 if found else 0
    if found := catalogue.faults():
        print("\n".join(found), file=sys.stderr)
        return 1
    if options.contact_sheet:
        contact_sheet.write_sheet(options.contact_sheet, [
            (language, image, draw(image)) for language, image in catalogue.all_images()])
        return 0
    print(f"{len(catalogue.all_images())} images, {write_files(IMAGES_FOLDER)} bytes")
    return 0


if __name__ == "__main__":
    sys.exit(main())
