# SPDX-License-Identifier: GPL-2.0-or-later
"""A script of work: all that the daemon does to its catalogues, step by step, on a few files of each kind."""
import os
import shutil
from typing import Callable, NamedTuple

from . import id3, photo
from .catalogue import snapshot
from .photo import attribute_file

MUSIC, VIDEO, PHOTO = "/volume1/music", "/volume1/video", "/volume1/photo"
COVER = photo.jpeg(5, 4)
# Bytes that are no UTF-8, quotes and what is special in a pattern.
NAMES = (b"\xff\xfe.pcm", b"it's 100%_\\.pcm", b"\"$1\" ?.pcm", "\u65e5\u672c.pcm".encode())


# MPEG 1, layer 3, 128 kbit/s, 44.1 kHz.
STREAM = (b"\xff\xfb\x90\x64" + bytes(413)) * 8


def song(title, *frames):
    return id3.tag(3, id3.text(3, "TIT2", title), *frames) + STREAM


class Step(NamedTuple):
    """What happens on the disk, what other programs do before the lines are carried out on a catalogue, and the lines."""
    name: str
    lines: tuple
    change: Callable = lambda daemon: None
    hand_over: Callable = lambda daemon: None
    store: tuple = ()


def _first_files(daemon):
    for number in range(8):
        daemon.write(f"{MUSIC}/Band/Album/{number}.mp3", song(f"Song {number}", id3.picture(3, COVER)))
    for number in range(4):
        daemon.write(f"{MUSIC}/Band/Other/{number}.pcm", b"x")
        daemon.write(f"{VIDEO}/Films/{number}.srt", b"x")
    daemon.write(f"{MUSIC}/Band/list.m3u", b"x")
    for name in NAMES:
        with open(daemon.box.path(f"{MUSIC}/Band/".encode() + name), "wb") as file:
            file.write(b"x")
    for album in ("Trip", "Trip/Day", "Home", "it's_100%", "Old"):
        for number in range(3):
            daemon.write(f"{PHOTO}/{album}/{number}.jpg", photo.jpeg(3 + number, 2))
    daemon.write(f"{PHOTO}/Trip/film.avi", b"")


def _edit(daemon):
    daemon.write(f"{MUSIC}/Band/Album/1.mp3", song("Song one, anew"))
    daemon.write(f"{PHOTO}/Trip/1.jpg", photo.jpeg(30, 20))


def _hand_over(daemon):
    daemon.write(attribute_file(f"{PHOTO}/Trip/1.jpg", "TITLE"), "What somebody typed")
    daemon.write(attribute_file(f"{PHOTO}/Trip/1.jpg", "DESC"), "and more of it")


def _moved(*pairs):
    return lambda daemon: [os.rename(daemon.box.path(old), daemon.box.path(new)) for old, new in pairs]


def _removed(*paths):
    def change(daemon):
        for path in paths:
            place = daemon.box.path(path)
            shutil.rmtree(place) if os.path.isdir(place) else os.unlink(place)
    return change


SCRIPT = (
    Step("index", (f"A:{MUSIC}", f"A:{VIDEO}", f"A:{PHOTO}/Home", f"A:{PHOTO}"), _first_files),
    Step("albums", (f"A:{PHOTO}/Trip", f"a:{PHOTO}/Old", f"A:{PHOTO}/it's_100%", f"a:{PHOTO}/Trip/Day")),
    Step("rights", (f"a:{PHOTO}/Trip/Day", f"a:{PHOTO}/Trip"), store=(
        ("update photo_share set title = ?, public = ? where sharename = 'Trip'", ("Our trip", "t")),
        ("insert into photo_access_right select ?, shareid, 'earlier' from photo_share where sharename = 'Trip'", (7,)),
        ("insert into photo_access_right select ?, shareid, 'earlier' from photo_share where sharename = 'Old'", (8,)),
        ("insert into video_comment (path, name, comment) values (?, 'x', 'y')", (f"{PHOTO}/Trip/film.avi",)),
    )),
    Step("edit", (f"a:{MUSIC}/Band/Album/1.mp3", f"a:{PHOTO}/Trip/1.jpg"), _edit),
    Step("hand over", (f"a:{PHOTO}/Trip/1.jpg",), hand_over=_hand_over),
    Step("a new sub-album takes over the rights", (f"A:{PHOTO}/Trip/Night",),
         lambda daemon: daemon.write(f"{PHOTO}/Trip/Night/9.jpg", COVER)),
    Step("rename files", (f"N:{PHOTO}/Trip/one.jpg:{PHOTO}/Trip/1.jpg", f"N:{MUSIC}/Band/Album/two.mp3:{MUSIC}/Band/Album/2.mp3",
                          f"N:{PHOTO}/Trip/new.avi:{PHOTO}/Trip/film.avi"),
         _moved((f"{PHOTO}/Trip/1.jpg", f"{PHOTO}/Trip/one.jpg"), (f"{MUSIC}/Band/Album/2.mp3", f"{MUSIC}/Band/Album/two.mp3"),
                (f"{PHOTO}/Trip/film.avi", f"{PHOTO}/Trip/new.avi"))),
    Step("rename folders", (f"N:{PHOTO}/Travels:{PHOTO}/Trip", f"N:{MUSIC}/Bands:{MUSIC}/Band"),
         _moved((f"{PHOTO}/Trip", f"{PHOTO}/Travels"), (f"{MUSIC}/Band", f"{MUSIC}/Bands"))),
    Step("remove", (f"D:{PHOTO}/Old", f"d:{PHOTO}/Home/1.jpg", f"D:{MUSIC}/Bands/Other", f"d:{MUSIC}/Bands/Album/3.mp3"),
         _removed(f"{PHOTO}/Old", f"{PHOTO}/Home/1.jpg", f"{MUSIC}/Bands/Other", f"{MUSIC}/Bands/Album/3.mp3")),
    Step("update the photos", ("U:photo",), _removed(f"{PHOTO}/Home/2.jpg")),
    Step("index the photos anew", ("R:photo",), _removed(f"{PHOTO}/it's_100%")),
    Step("index the rest anew", ("R:music", "R:video"), _removed(f"{MUSIC}/Bands/Album/4.mp3", f"{VIDEO}/Films/1.srt")),
    Step("empty tables", ("T:video", "T:photo_access_right")),
    Step("all anew", ("R:all", "R:photo")),
)


def carry_out(daemon, step, catalogues):
    """Carries the lines of a step out on one of the catalogues that a daemon can have. Gives the rows of each table."""
    daemon.configure(**catalogues.places)
    step.hand_over(daemon)
    for sql, values in step.store:
        catalogues.store(sql, values)
    daemon.index(*step.lines)
    return rows_of(catalogues)


def check_equal(daemon, reference, nodes):
    """Does all the work on the daemon's catalogues and on `reference`, and compares after each step the rows, and what the
    servers tell of errors. Gives the rows."""
    for step in SCRIPT:
        step.change(daemon)
        sizes = [node.log_size() for node in nodes]
        expected = carry_out(daemon, step, reference)
        between = [node.log_size() for node in nodes]
        first = len(daemon.log.lines)
        found = carry_out(daemon, step, daemon.catalogue)
        words = daemon.log.texts()[first:]
        for table, rows in expected.items():
            assert found[table] == rows, (step.name, table, words)
        for node, begin, end in zip(nodes, sizes, between):
            assert node.told(end) <= node.told(begin, end), (step.name, words)
    return expected


def rows_of(catalogues):
    """Every row of every table, without what hangs on the moment in which it was written."""
    rows = snapshot(catalogues)
    for right in rows["photo_access_right"]:
        right["granted"] = "earlier" if right["granted"] == "earlier" else "now"
    return rows
