# SPDX-License-Identifier: GPL-2.0-or-later
"""The photo library is brought in step with the disk: by R:photo wholly, by U:photo without taking anything away."""
import os

import pytest

from harness import photo
from harness.daemon import FLV_DAEMON, FLV_QUEUE, THUMB_DAEMON, THUMB_QUEUE, WORKING_COPY
from harness.photo import albums, attribute_file, pictures

PHOTO = "/volume1/photo"
LINK = "/var/services/photo"


def add(daemon, *names):
    for name in names:
        daemon.write(f"{PHOTO}/{name}", photo.jpeg(3, 2))


def take_away(daemon, name):
    """Moves something out of the share without telling the daemon."""
    os.rename(daemon.box.path(f"{PHOTO}/{name}"), daemon.box.path(f"/tmp/{name.replace('/', ' ')}"))


@pytest.fixture
def library(daemon, samples):
    """A running daemon with a library of three albums, beside converters that have seen nothing."""
    add(daemon, "top.jpg", "Trips/1.jpg", "Trips/2.jpg", "Trips/2009/3.jpg", "Trips/2009/May/4.jpg", "Gone/5.jpg",
        "Gone/sub/6.jpg")
    daemon.copy(samples / "clip.avi", f"{PHOTO}/Trips/clip.avi")
    daemon.index("R:photo")
    assert sorted(albums(daemon)) == ["Gone", "Gone/sub", "Trips", "Trips/2009"]
    assert len(daemon.rows("photo_image")) == 7
    for name in (THUMB_DAEMON, FLV_DAEMON):
        daemon.start_peer(name)
    return daemon


def test_a_resync_finds_what_has_come_what_has_gone_and_what_is_another_now(library, samples):
    take_away(library, "Gone")
    take_away(library, "Trips/1.jpg")
    library.write(f"{PHOTO}/Trips/2.jpg", photo.jpeg(30, 20))
    add(library, "New/7.jpg", "New/sub/8.jpg", "New/sub/deep/9.jpg", "Trips/2009/10.jpg")
    library.copy(samples / "clip.avi", f"{PHOTO}/New/new.avi")
    for folder in ("@eaDir", "#recycle", "Trips/@eaDir", "#recycle/deep"):
        add(library, f"{folder}/x.jpg")
    add(library, "Trips/.hidden.jpg", ".hidden/x.jpg", "Trips/no extension")
    library.store("update photo_share set title = 'typed', hits = 7 where sharename = 'Trips'")
    numbers = {row["path"]: row["id"] for row in library.rows("photo_image")}

    library.index("R:photo")
    assert pictures(library) == sorted(["top.jpg", "Trips/2.jpg", "Trips/2009/3.jpg", "Trips/2009/May/4.jpg", "New/7.jpg",
                                        "New/sub/8.jpg", "New/sub/deep/9.jpg", "Trips/2009/10.jpg"])
    row = library.row("photo_image", f"{PHOTO}/Trips/2.jpg")
    assert (row["id"], row["width"], row["height"]) == (numbers[row["path"]], 30, 20)
    assert {row["updated"] for table in ("photo_image", "photo_share") for row in library.rows(table)} == {"1"}
    assert sorted(albums(library)) == ["New", "New/sub", "Trips", "Trips/2009"]
    kept = [row for row in library.rows("photo_share") if row["sharename"] == "Trips"][0]
    assert (kept["title"], kept["hits"]) == ("typed", 7)
    assert library.paths("video_desc") == [f"{PHOTO}/Trips/clip.avi"], "the video that was known"
    assert f"{PHOTO}/New/new.avi" in library.paths("video") and f"{PHOTO}/New/7.jpg" in library.paths("photo")
    assert library.lines(THUMB_QUEUE) and set(library.lines(THUMB_QUEUE)) == {
        f"{PHOTO}/{folder}" for folder in ("New", "New/sub", "New/sub/deep", "Trips/2009")}
    assert library.lines(FLV_QUEUE) == [f"{PHOTO}/New/new.avi"]

    settled = library.snapshot()
    library.index("R:photo")
    new_video = [{"path": f"{PHOTO}/New/new.avi", "title": "", "description": "", "updated": "1"}]
    assert library.snapshot() == settled | {"video_desc": new_video + settled["video_desc"]}
    assert len(library.lines(FLV_QUEUE)) == 1


def test_a_resync_takes_typed_texts_and_hands_what_it_cannot_read_to_the_converter(library, samples):
    library.write(attribute_file(f"{PHOTO}/top.jpg", "TITLE"), "Holiday\n")
    library.copy(samples / "broken.avi", f"{PHOTO}/broken.avi")
    library.index("R:photo")
    assert library.row("photo_image", f"{PHOTO}/top.jpg")["title"] == "Holiday"
    assert library.converter_calls() == [f"-f {PHOTO}/broken.avi"]
    assert library.lines(FLV_QUEUE) == []


def test_names_of_any_bytes_are_known_again(library):
    names = [b"a_b", b"axb", b"100%", b"100x", b"it's", b"back\\slash", b"caf\xe9", b"\xff\xfe",
             b"x'); drop table photo_image;--"]
    for name in names:
        library.write(PHOTO.encode() + b"/" + name + b"/" + name + b".jpg", photo.jpeg(3, 2))
    library.index("R:photo")
    first = library.rows("photo_image")
    assert len(first) == 7 + len(names)
    library.index("R:photo")
    assert library.rows("photo_image") == first
    take_away(library, "a_b")
    library.index("R:photo")
    assert library.rows("photo_image") == [row for row in first if row["path"] != f"{PHOTO}/a_b/a_b.jpg"]
    assert "axb" in albums(library) and "a_b" not in albums(library)


def test_links_in_the_share_are_followed_and_never_for_ever(library):
    add(library, "../elsewhere/x.jpg")
    os.symlink("/volume1/elsewhere", library.box.path(f"{PHOTO}/link"))
    os.symlink("..", library.box.path(f"{PHOTO}/Trips/up"))
    os.symlink(".", library.box.path(f"{PHOTO}/Trips/2009/same"))
    library.index("R:photo")
    assert "link/x.jpg" in pictures(library)
    assert len(pictures(library)) == 8


def test_without_the_share_nothing_is_taken_away(library):
    kept = library.snapshot()
    library.remove(LINK)
    library.mkdir(LINK)
    library.index("R:photo")
    assert library.snapshot() == kept
    for module in ("photo_index.c", "photo_share.c"):
        assert library.logged(module, f"Failed to read link of {LINK}") == 1


def test_an_update_adds_and_refreshes_and_takes_nothing_away(library):
    add(library, "New/7.jpg", "@eaDir/x.jpg", "#recycle/x.jpg")
    take_away(library, "Trips/1.jpg")
    library.write(f"{PHOTO}/top.jpg", photo.jpeg(30, 20))
    known = albums(library)
    library.index("U:photo")
    assert "New/7.jpg" in pictures(library) and "Trips/1.jpg" in pictures(library) and len(pictures(library)) == 8
    assert library.row("photo_image", f"{PHOTO}/top.jpg")["width"] == 30
    assert library.paths("video_desc") == [f"{PHOTO}/Trips/clip.avi"]
    assert albums(library) == known
    assert library.lines(THUMB_QUEUE) == []


FOLDERS = range(0, 30, 5)


def rename_on_disk(box, old, new):
    """Renames some folders without telling the daemon."""
    for folder in FOLDERS:
        os.rename(box.box.path(f"{PHOTO}/{old}{folder:02}"), box.box.path(f"{PHOTO}/{new}{folder:02}"))


def numberless(box):
    """The catalogues without the numbers of albums, of which each that is made anew gets another."""
    return {table: sorted(({key: value for key, value in row.items() if key != "shareid"} for row in rows), key=str)
            for table, rows in box.snapshot().items()}


def test_what_a_killed_resync_leaves_is_repaired_by_the_next(box):
    add(box, *[f"{folder:02}/{name}.jpg" for folder in range(30) for name in range(40)])
    box.start()
    box.index("R:photo")
    undisturbed = {}
    for old, new in (("", "new "), ("new ", "")):
        rename_on_disk(box, old, new)
        box.index("R:photo")
        undisturbed[new] = numberless(box)
        assert len(undisturbed[new]["photo_image"]) == 1200 and len(undisturbed[new]["photo_share"]) == 30
    box.stop()
    assert undisturbed[""]["photo_image"] != undisturbed["new "]["photo_image"]

    interrupted = 0
    for number, delay in enumerate((0, 0.01, 0.03, 0.06, 0.1, 0.15)):
        old, new = ("new ", "") if number % 2 else ("", "new ")
        rename_on_disk(box, old, new)
        box.start()
        box.queue("R:photo")
        box.kill_in_run(delay)
        if box.exists(WORKING_COPY):
            interrupted += 1
            # Of three times one loses the request itself, too, and somebody asks again later.
            if number % 3 == 2:
                box.remove(WORKING_COPY)
        box.start()
        box.index("R:photo")
        assert numberless(box) == undisturbed[new], f"killed {delay} s into the run"
        box.stop()
    assert interrupted >= 2
