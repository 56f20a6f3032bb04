# SPDX-License-Identifier: GPL-2.0-or-later
"""What tests of rows that are kept have in common: files, places, and the lines that tell of them."""
import os
import re

from . import photo
from .daemon import QUEUE, WORKING_COPY

MUSIC, PHOTO = "/volume1/music", "/volume1/photo"
USB = f"{MUSIC}/usb"
# What is to be mounted, and what was when a walk ended well.
FSTAB, REMEMBERED = "/etc/fstab", "/var/lib/velu/mounts"
DONE = 0  # the control tool's status
WORD_OF_KEEPING = re.compile(r"\b(kept|keeps|left alone|away)\b")


def lines_of_keeping(lines, place):
    """The lines that say that the rows at a place are kept."""
    return [line for line in lines if WORD_OF_KEEPING.search(line) and place in line]


def queue_is_done(daemon):
    """What could not be stored may wait still."""
    return not daemon.exists(QUEUE) and not daemon.exists(WORKING_COPY)


def write(daemon, *paths):
    """Writes pictures, and other files without content."""
    for path in paths:
        daemon.write(path, photo.jpeg(3, 2) if path.endswith(".jpg") else b"")


def take_away(daemon, path):
    os.rename(daemon.box.path(path), daemon.box.path(f"/tmp/{path.replace('/', ' ')}"))
