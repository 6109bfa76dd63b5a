"""Table of all images: what is drawn, in which sizes, under which identifiers.

The identifiers are compiled into programs, so that an identifier, once given, keeps its
meaning. Each theme starts at a round number and leaves room behind it. The languages, and
the word on the label of each, are read from resources/languages.tsv.
"""

import csv
import pathlib
from collections import namedtuple
from functools import partial

import glyphs_arrow as arrows
import glyphs_brand as brand
import glyphs_button as buttons
import glyphs_folder as folders
import glyphs_mail as mails
import glyphs_state as states
import glyphs_widget as widgets
import lettering

NEUTRAL = "xx-xx"
NEUTRAL_COUNT = 137
LABEL_ID = 321
LABEL_NAME = "help-label"
LABEL_MEANING = "Label that opens the help; each language has its own"
LANGUAGES = pathlib.Path(__file__).resolve().parents[2] / "resources" / "languages.tsv"
with LANGUAGES.open(encoding="utf-8", newline="") as _lines:
    LABEL_WORDS = {row["namespace"]: row["label word"]
                   for row in csv.DictReader(_lines, delimiter="\t")}

Image = namedtuple("Image", "identifier width height name draw meaning")

# name, drawing function, identifier for each size, meaning
MAIL = (
    ("mail", mails.mail, {16: 100, 24: 101, 32: 102}, "Message, closed"),
    ("mail-open", mails.mail_open, {16: 103, 24: 104, 32: 105}, "Message that has been read"),
    ("mail-flagged", mails.flagged, {16: 106, 24: 107}, "Message with a flag to follow up"),
    ("mail-attachment", mails.with_attachment, {16: 108, 24: 109}, "Message with attachments"),
    ("mail-stack", mails.stack, {16: 110, 24: 111, 32: 112}, "Several messages"),
    ("mail-sent", mails.sent, {16: 113, 24: 114}, "Message that was sent"),
    ("mail-unread", mails.unread, {16: 115}, "Message not read yet"),
    ("mail-filed", mails.filed, {16: 116}, "Message that lies in a folder"),
)

FOLDERS = (
    ("folder", folders.folder, {16: 120, 24: 121, 32: 122}, "Folder, closed"),
    ("folder-open", folders.folder_open, {16: 123, 24: 124, 32: 125}, "Folder, open"),
    ("folder-shared", folders.shared, {16: 126}, "Folder shared with other people"),
    ("folder-search", folders.search_folder, {16: 127}, "Search folder"),
    ("folder-star", folders.with_star, {16: 128, 24: 129}, "Favorite folder"),
    ("folder-arrow", folders.with_arrow, {16: 130, 24: 131}, "File into a folder"),
    ("folder-plus", folders.with_plus, {16: 132, 24: 133}, "Create a folder"),
    ("folder-locked", folders.with_lock, {16: 134}, "Folder without permission to write"),
    ("inbox", folders.inbox, {16: 135}, "Inbox"),
    ("sent-items", folders.sent_items, {16: 136}, "Sent items"),
    ("drafts", folders.drafts, {16: 137}, "Drafts"),
    ("deleted-items", folders.deleted_items, {16: 138}, "Deleted items"),
    ("junk", folders.junk, {16: 139}, "Junk mail"),
    ("archive", folders.archive, {16: 140}, "Archive"),
    ("mailbox", folders.mailbox, {16: 141}, "Mailbox, the root of a folder tree"),
)

ARROWS = (
    ("arrow-left", partial(arrows.arrow, direction="left"), {16: 150}, "To the left"),
    ("arrow-right", partial(arrows.arrow, direction="right"), {16: 151}, "To the right"),
    ("arrow-up", partial(arrows.arrow, direction="up"), {16: 152}, "Move up"),
    ("arrow-down", partial(arrows.arrow, direction="down"), {16: 153}, "Move down"),
    ("back", partial(arrows.navigation, direction="left"), {16: 154, 24: 155}, "Go back"),
    ("forward", partial(arrows.navigation, direction="right"), {16: 156, 24: 157}, "Go forward"),
    ("undo", arrows.undo, {16: 158, 24: 159}, "Undo"),
    ("redo", arrows.redo, {16: 160, 24: 161}, "Redo"),
    ("expand", partial(arrows.chevrons, direction="down"), {16: 162}, "Show more"),
    ("collapse", partial(arrows.chevrons, direction="up"), {16: 163}, "Show less"),
    ("sort-rising", partial(arrows.sort, rising=True), {16: 164}, "Sorted from low to high"),
    ("sort-falling", partial(arrows.sort, rising=False), {16: 165}, "Sorted from high to low"),
)

STATES = (
    ("ok", states.ok, {16: 170, 24: 171}, "Done, in order"),
    ("warning", states.warning, {16: 172, 24: 173}, "Warning"),
    ("error", states.error, {16: 174, 24: 175}, "Error"),
    ("information", states.information, {16: 176, 24: 177}, "Information"),
    ("question", states.question, {16: 178}, "Question"),
    ("busy", states.busy, {16: 179}, "Busy, please wait"),
    ("locked", states.locked, {16: 180}, "Locked"),
    ("unlocked", states.unlocked, {16: 181}, "Not locked"),
    ("favourite", states.star, {16: 182}, "Favorite"),
    ("favourite-off", states.empty_star, {16: 183}, "Not a favourite"),
)

BUTTONS = (
    ("save", buttons.save, {16: 190, 24: 191}, "Save"),
    ("delete", buttons.delete, {16: 192, 24: 193}, "Delete"),
    ("add", buttons.add, {16: 194, 24: 195}, "Add"),
    ("remove", buttons.remove, {16: 196, 24: 197}, "Remove from a list"),
    ("edit", buttons.pencil, {16: 198, 24: 199}, "Edit"),
    ("search", buttons.lens, {16: 200, 24: 201, 32: 202}, "Search"),
    ("settings", buttons.settings, {16: 203, 24: 204, 32: 205}, "Settings"),
    ("help", buttons.help_sign, {16: 206, 24: 207}, "Help"),
    ("close", buttons.close, {16: 208, 24: 209}, "Close"),
    ("refresh", arrows.refresh, {16: 210, 24: 211}, "Refresh"),
    ("pin", buttons.pin, {16: 212, 24: 213}, "Pinned: stays where it is"),
    ("unpin", buttons.unpin, {16: 214}, "Not pinned"),
    ("filter", buttons.filter_funnel, {16: 215, 24: 216}, "Filter"),
    ("send", buttons.send, {16: 217, 24: 218, 32: 219}, "Send"),
)

WIDGETS = (
    ("tree-plus", widgets.tree_plus, {16: 230}, "Branch that can be opened"),
    ("tree-minus", widgets.tree_minus, {16: 231}, "Branch that is open"),
    ("check-off", widgets.check_box, {16: 232}, "Check box, not checked"),
    ("check-on", partial(widgets.check_box, mark="tick"), {16: 233}, "Check box, checked"),
    ("check-mixed", partial(widgets.check_box, mark="mixed"), {16: 234},
     "Check box, some of the items checked"),
    ("check-off-disabled", partial(widgets.check_box, enabled=False), {16: 235},
     "Check box, not checked, cannot be changed"),
    ("check-on-disabled", partial(widgets.check_box, mark="tick", enabled=False), {16: 236},
     "Check box, checked, cannot be changed"),
    ("radio-off", widgets.radio_button, {16: 237}, "Radio button, not chosen"),
    ("radio-on", partial(widgets.radio_button, chosen=True), {16: 238}, "Radio button, chosen"),
    ("radio-off-disabled", partial(widgets.radio_button, enabled=False), {16: 239},
     "Radio button, not chosen, cannot be changed"),
    ("radio-on-disabled", partial(widgets.radio_button, chosen=True, enabled=False), {16: 240},
     "Radio button, chosen, cannot be changed"),
)

PROGRESS = tuple(
    (f"progress-{step + 1}", partial(widgets.progress, step=step), {16: 250 + step},
     f"Turning wheel, frame {step + 1} of {widgets.SPOKES}")
    for step in range(widgets.SPOKES)
)

WIZARD = (
    ("wizard-welcome", brand.wizard_welcome, {96: 260}, "First page of a wizard"),
    ("wizard-folders", brand.wizard_folders, {96: 261}, "Wizard page on which folders are chosen"),
    ("wizard-done", brand.wizard_done, {96: 262}, "Last page of a wizard"),
)

MESSAGE_BOXES = (
    ("box-information", states.information, {32: 270, 48: 271}, "Message box: information"),
    ("box-warning", states.warning, {32: 272, 48: 273}, "Message box: warning"),
    ("box-error", states.error, {32: 274, 48: 275}, "Message box: error"),
    ("box-question", states.question, {32: 276, 48: 277}, "Message box: question"),
)

BRAND = (
    ("logo", brand.logo, {16: 300, 32: 301, 48: 302, 64: 303}, "Logo of Pellory"),
)

MARKS = (
    ("attachment", mails.paper_clip, {16: 330}, "Attachment"),
    ("tag", mails.tag, {16: 331}, "Category"),
    ("recent", mails.clock, {16: 332}, "Recently used"),
)

THEMES = (MAIL, FOLDERS, ARROWS, STATES, BUTTONS, WIDGETS, PROGRESS, WIZARD, MESSAGE_BOXES,
          BRAND, MARKS)


def label(language):
    """Return the image of the help label in one language."""
    return Image(LABEL_ID, brand.LABEL_WIDTH, brand.LABEL_HEIGHT, LABEL_NAME,
                 partial(brand.help_label, word=LABEL_WORDS[language]), LABEL_MEANING)


def neutral_images():
    """Return all images of the language-neutral set in the order of their identifiers."""
    images = [Image(identifier, size, size, name, draw, meaning)
              for theme in THEMES
              for name, draw, sizes, meaning in theme
              for size, identifier in sizes.items()]
    return sorted(images + [label(NEUTRAL)], key=lambda image: image.identifier)


def all_images():
    """Return (language, image) for every file of the set, the neutral ones first."""
    others = [(language, label(language)) for language in LABEL_WORDS if language != NEUTRAL]
    return [(NEUTRAL, image) for image in neutral_images()] + others


def faults():
    """Return a line for everything that is wrong with the table itself."""
    identifiers = [image.identifier for image in neutral_images()]
    found = [f"identifier {number} is used twice"
             for number in sorted(set(identifiers)) if identifiers.count(number) > 1]
    if len(identifiers) != NEUTRAL_COUNT:
        found.append(f"{len(identifiers)} images instead of {NEUTRAL_COUNT}")
    if min(identifiers) < 100:
        found.append("identifiers below 100 are kept for texts")
    if LABEL_ID not in identifiers:
        found.append(f"image {LABEL_ID} is missing")
    found += [f"{language}: no letter {letter} to write {word}"
              for language, word in LABEL_WORDS.items()
              for letter in sorted(set(word) - lettering.LETTERS.keys())]
    return found
