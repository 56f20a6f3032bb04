# SPDX-License-Identifier: GPL-2.0-or-later
"""The same library on either engine, and what a server may do to a run."""
import os

import pytest

from harness.catalogue import SqliteCatalogues, snapshot

pytestmark = pytest.mark.postgresql

MUSIC, VIDEO, PHOTO = "/volume1/music", "/volume1/video", "/volume1/photo"


def share_of(path):
    return VIDEO if path.endswith((".avi", ".mpg", ".mp4")) else \
        PHOTO if path.endswith((".jpg", ".png", ".gif", ".bmp", ".tif")) else MUSIC


def test_the_same_library_gives_equal_rows_on_both_engines(daemon, samples):
    for name in sorted(os.listdir(samples)):
        daemon.copy(samples / name, f"{share_of(name)}/Trips/{name}")
    daemon.copy(samples / "clip.avi", f"{PHOTO}/Trips/clip.avi")
    # Bytes that are no UTF-8, quotes and what is special in a pattern.
    for name in (b"\xff\xfe.pcm", b"caf\xe9.pcm", b"it's 100%_\\.pcm", b"\"$1\".pcm", "\u65e5\u672c.pcm".encode()):
        for share in (MUSIC, VIDEO):
            with open(daemon.box.path(f"{share}/Trips/".encode() + name), "wb") as file:
                file.write(b"x")
    files = SqliteCatalogues(daemon.box)

    def both(*lines):
        """Carries the same lines out on both engines. Gives the rows of each table, which must be the same."""
        daemon.index(*lines)
        daemon.configure(**files.places)
        daemon.index(*lines)
        daemon.configure()
        expected, found = snapshot(daemon.catalogue), snapshot(files)
        for table, rows in expected.items():
            assert found[table] == rows, (lines, table)
        return expected

    def move(old, new):
        os.rename(daemon.box.path(old), daemon.box.path(new))

    rows = both(f"A:{MUSIC}", f"A:{VIDEO}", f"A:{PHOTO}")
    assert len(rows["music"]) >= 15
    assert len(rows["photo_image"]) >= 5
    rows = both(f"A:{PHOTO}/Trips", "U:photo", f"a:{MUSIC}/Trips/tagged.mp3")
    assert [row["sharename"] for row in rows["photo_share"]] == ["Trips"]
    for catalogues in (daemon.catalogue, files):  # what other programs store
        catalogues.store("insert into video_comment (path, name, comment) values (?, ?, ?)",
                         (f"{PHOTO}/Trips/clip.avi", "it's", None))
        catalogues.store("insert into photo_access_right values (?, ?, ?)", (7, 1, "'\\"))
    move(f"{VIDEO}/Trips", f"{VIDEO}/Travels")
    move(f"{PHOTO}/Trips/picture.png", f"{PHOTO}/Trips/new.png")
    rows = both(f"N:{VIDEO}/Travels:{VIDEO}/Trips", f"N:{PHOTO}/Trips/new.png:{PHOTO}/Trips/picture.png")
    assert not [row for row in rows["video"] if row["path"].startswith(f"{VIDEO}/Trips")]
    assert [table for table, found in rows.items() if not found] == []
    assert [row for row in rows["photo_image"] if row["path"] == f"{PHOTO}/Trips/new.png"]
    move(f"{PHOTO}/Trips", f"{PHOTO}/it's_100%")
    rows = both(f"N:{PHOTO}/it's_100%:{PHOTO}/Trips", "R:photo")
    assert [row["sharename"] for row in rows["photo_share"]] == ["it's_100%"]
    daemon.remove(f"{MUSIC}/Trips/plain.mp3")
    move(f"{VIDEO}/Travels", "/tmp/Travels")
    rows = both(f"d:{MUSIC}/Trips/plain.mp3", f"D:{VIDEO}/Travels", "T:playlist")
    assert not [row for row in rows["video"] if row["path"].startswith(VIDEO)]
    assert not rows["playlist"]
