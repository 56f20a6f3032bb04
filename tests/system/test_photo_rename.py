# SPDX-License-Identifier: GPL-2.0-or-later
"""Renames in the photo share: rows of pictures, albums and videos follow, and no sibling's does."""
import os

import pytest

from harness import photo
from harness.daemon import THUMB_DAEMON, THUMB_QUEUE
from harness.photo import albums, pictures

PHOTO = "/volume1/photo"
COVERS = "/var/services/photo"


def rename(daemon, old, new):
    """Renames something in the share and has the daemon follow."""
    os.makedirs(os.path.dirname(daemon.box.path(f"{PHOTO}/{new}")), exist_ok=True)
    os.rename(daemon.box.path(f"{PHOTO}/{old}"), daemon.box.path(f"{PHOTO}/{new}"))
    return daemon.index(f"N:{PHOTO}/{new}:{PHOTO}/{old}")


def add(daemon, *names):
    """Puts pictures into the share and has them indexed, with the albums that they lie in."""
    for name in names:
        daemon.write(f"{PHOTO}/{name}", photo.jpeg(3, 2))
    tops = {name.split("/")[0] for name in names}
    daemon.index(*[f"A:{PHOTO}/{name}" for name in sorted(tops)])


def private(*names):
    """These albums, none of them public, as `albums` gives them."""
    return {name: ("f", "t" if "/" in name else "f") for name in names}


def videos(daemon):
    """The paths in both tables of the video application, which always agree here."""
    assert daemon.paths("video_desc") == daemon.paths("video_comment")
    return [path[len(PHOTO) + 1:] for path in daemon.paths("video_desc")]


def describe(daemon, *names):
    for name in names:
        daemon.store("insert into video_desc (path) values (?)", f"{PHOTO}/{name}")
        daemon.store("insert into video_comment (path) values (?)", f"{PHOTO}/{name}")


# --- files


def test_a_picture_keeps_its_row_and_what_was_typed_about_it(daemon):
    add(daemon, "a.jpg", "a.jpg.jpg", "a_jpg.jpg")
    daemon.store("update photo_image set title = 'Holiday'")
    before = daemon.row("photo_image", f"{PHOTO}/a.jpg")
    rename(daemon, "a.jpg", "b/c.jpg")
    assert pictures(daemon) == ["a.jpg.jpg", "a_jpg.jpg", "b/c.jpg"]
    assert daemon.row("photo_image", f"{PHOTO}/b/c.jpg") == before | {"path": f"{PHOTO}/b/c.jpg", "name": "c.jpg",
                                                                     "album": "b"}
    assert daemon.paths("photo") == daemon.paths("photo_image")


def test_a_picture_replaces_the_one_whose_name_it_gets(daemon):
    add(daemon, "a.jpg", "b.jpg")
    before = daemon.row("photo_image", f"{PHOTO}/a.jpg")
    rename(daemon, "a.jpg", "b.jpg")
    assert [row["id"] for row in daemon.rows("photo_image")] == [before["id"]]
    assert pictures(daemon) == ["b.jpg"]


def test_an_unknown_picture_is_added_and_queued_nowhere(daemon):
    daemon.start_peer(THUMB_DAEMON)
    daemon.write(f"{PHOTO}/a.jpg", photo.jpeg(3, 2))
    rename(daemon, "a.jpg", "b.jpg")
    assert pictures(daemon) == ["b.jpg"]
    assert daemon.lines(THUMB_QUEUE) == [] and daemon.wakes(THUMB_DAEMON) == 0


@pytest.mark.parametrize("new", ["a.avi", "a.iso", "a.txt"])
def test_a_picture_that_is_no_picture_any_more_loses_its_row(daemon, new):
    add(daemon, "a.jpg", "b.jpg")
    rename(daemon, "a.jpg", new)
    assert pictures(daemon) == ["b.jpg"]


def test_a_file_that_becomes_a_picture_has_a_row(daemon):
    daemon.write(f"{PHOTO}/a.part", photo.jpeg(3, 2))
    rename(daemon, "a.part", "a.jpg")
    assert pictures(daemon) == ["a.jpg"]


@pytest.mark.parametrize("cinehall, new, followed",
                         [(True, "b.avi", True), (True, "b.mkv", False), (False, "b.avi", False)])
def test_the_texts_about_a_web_video_follow_it(make_daemon, cinehall, new, followed):
    daemon = make_daemon(cinehall=cinehall)
    daemon.start()
    add(daemon, "a_1.avi")
    describe(daemon, "a_1.avi", "ax1.avi")
    rename(daemon, "a_1.avi", new)
    assert videos(daemon) == (["ax1.avi", new] if followed else ["a_1.avi", "ax1.avi"])


# --- directories


def test_everything_in_a_directory_follows_it_and_nothing_beside_it_does(daemon):
    inside = ["1.jpg", "deep/2.jpg", "deep/er/3.jpg"]
    folders = ["a_b", "axb", "a_bc", "a"]
    add(daemon, *[f"{folder}/{name}" for folder in folders for name in inside])
    describe(daemon, "a_b/1.avi", "a_b/deep/2.avi", "axb/1.avi")
    numbers = {row["path"]: row["id"] for row in daemon.rows("photo_image")}
    rename(daemon, "a_b", "new_name")
    now = ["new_name", "axb", "a_bc", "a"]
    assert pictures(daemon) == sorted(f"{folder}/{name}" for folder in now for name in inside)
    assert daemon.paths("photo") == daemon.paths("photo_image")
    assert {row["path"].replace("new_name", "a_b"): row["id"] for row in daemon.rows("photo_image")} == numbers
    assert daemon.row("photo_image", f"{PHOTO}/new_name/1.jpg")["album"] == "new_name"
    assert daemon.row("photo_image", f"{PHOTO}/new_name/deep/2.jpg")["album"] == "deep"
    assert albums(daemon) == private(*now, *[f"{folder}/deep" for folder in now])
    assert videos(daemon) == ["axb/1.avi", "new_name/1.avi", "new_name/deep/2.avi"]


def test_covers_follow_their_album(daemon):
    add(daemon, "Trips/1.jpg", "Trips/2009/2.jpg", "Other/3.jpg")
    for name in ("Trips", "Trips/2009", "Other"):
        daemon.store("update photo_share set cover = ?, hits = 7, title = 'typed' where sharename = ?",
                     f"{COVERS}/{name}/x.jpg", name)
    rename(daemon, "Trips", "It's 50%")
    assert {row["sharename"]: (row["cover"], row["hits"], row["title"]) for row in daemon.rows("photo_share")} == {
        name: (f"{COVERS}/{name}/x.jpg", 7, "typed") for name in ("It's 50%", "It's 50%/2009", "Other")}


def test_an_unknown_directory_is_indexed_as_a_new_one(daemon):
    daemon.start_peer(THUMB_DAEMON)
    for name in ("a/1.jpg", "a/b/2.jpg"):
        daemon.write(f"{PHOTO}/{name}", photo.jpeg(3, 2))
    rename(daemon, "a", "c")
    assert pictures(daemon) == ["c/1.jpg", "c/b/2.jpg"]
    assert albums(daemon) == private("c", "c/b")
    assert sorted(daemon.lines(THUMB_QUEUE)) == [f"{PHOTO}/c", f"{PHOTO}/c/b"]


# The old and the new name, and the albums afterwards.
MOVES = [("top/sub", "top/other", {"top", "top/other", "Archive"}),
         ("top", "Archive/top", {"Archive", "Archive/top"}),
         ("top/sub", "sub", {"top", "sub", "sub/deep", "Archive"}),
         ("top/sub/deep", "top/sub/deeper", {"top", "top/sub", "Archive"})]


@pytest.mark.parametrize("old, new, expected", MOVES)
def test_albums_after_a_move_to_another_level(daemon, old, new, expected):
    add(daemon, "top/1.jpg", "top/sub/2.jpg", "top/sub/deep/3.jpg", "Archive/4.jpg")
    assert set(albums(daemon)) == {"top", "top/sub", "Archive"}
    rename(daemon, old, new)
    assert albums(daemon) == private(*expected)
    assert {name.startswith(f"{new}/") for name in pictures(daemon) if new.split("/")[-1] in name.split("/")} == {True}


def test_names_of_any_bytes_from_one_to_the_next(daemon):
    names = [b"it's", b"100%", b"under_score", b"back\\slash", b"caf\xe9", b"\xff\xfe", b"'; drop table photo_image;--",
             b"plain"]
    folders = [PHOTO.encode() + b"/" + name for name in names]
    daemon.write(folders[0] + b"/sub/a.jpg", photo.jpeg(3, 2))
    daemon.index(b"A:" + folders[0])
    describe(daemon, "it's/sub/a.avi")
    number = daemon.rows("photo_image")[0]["id"]
    for old, new in zip(folders, folders[1:]):
        os.rename(daemon.box.path(old), daemon.box.path(new))
        daemon.index(b"N:" + new + b":" + old)
        name = new.decode("latin-1")
        assert [(row["id"], row["path"]) for row in daemon.rows("photo_image")] == [(number, f"{name}/sub/a.jpg")]
        assert set(albums(daemon)) == {name[len(PHOTO) + 1:], name[len(PHOTO) + 1:] + "/sub"}
        assert videos(daemon) == [f"{name[len(PHOTO) + 1:]}/sub/a.avi"]
