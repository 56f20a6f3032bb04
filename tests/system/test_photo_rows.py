# SPDX-License-Identifier: GPL-2.0-or-later
"""Rows of the photo library: which files have one, and the texts that users typed about them."""
import os

import pytest

from harness import photo
from harness.photo import attribute_file

PHOTO, MUSIC = "/volume1/photo", "/volume1/music"
SIZE_END = 20 * 1024 * 1024
FAMILY = "jpg jpeg jpe bmp gif ico png psd tif tiff ufo"


def texts(row):
    return {key: row[key] for key in ("name", "title", "description", "album")}


def test_a_picture_of_every_family_has_a_row_with_its_size(box, samples):
    sizes = {"jpg": (120, 80), "png": (90, 60), "gif": (50, 40), "bmp": (30, 20), "tif": (40, 30)}
    for extension in sizes:
        box.copy(samples / f"picture.{extension}", f"{PHOTO}/{extension}.{extension.upper()}")
    for extension in FAMILY.split():
        box.write(f"{PHOTO}/text.{extension}", "no picture")
    box.start()
    box.index(f"A:{PHOTO}")
    assert {row["name"]: (row["width"], row["height"]) for row in box.rows("photo_image")} == {
        **{f"{extension}.{extension.upper()}": size for extension, size in sizes.items()},
        **{f"text.{extension}": (0, 0) for extension in FAMILY.split()}}


def test_files_that_are_left_out(box):
    left_out = ["/.thumb.jpg", "/empty.jpg", "/@eaDir/a.jpg", "/x@eaDir/a.jpg", "/#recycle/a.jpg", "/song.mp3", "/a",
                "/._fork.jpg"]
    for name in left_out:
        box.write(PHOTO + name, b"" if "empty" in name else photo.jpeg(3, 2))
    box.write(f"{MUSIC}/a.jpg", photo.jpeg(3, 2))
    for name, size in (("largest", SIZE_END - 1), ("too large", SIZE_END)):
        os.truncate(box.box.path(box.write(f"{PHOTO}/{name}.jpg", photo.jpeg(3, 2))), size)
    kept = [box.write(f"{PHOTO}/deep/#recycle/a.jpg", photo.jpeg(3, 2)), f"{PHOTO}/largest.jpg"]
    box.start()
    box.index(f"A:{PHOTO}", f"A:{MUSIC}", *[f"a:{PHOTO}{name}" for name in left_out if "#" not in name])
    assert box.paths("photo_image") == kept
    assert box.row("photo_image", kept[1])["file_size"] == SIZE_END - 1


def test_nothing_without_the_photo_library(make_daemon):
    daemon = make_daemon(photo=False)
    path = daemon.write(f"{PHOTO}/Trips/a.jpg", photo.jpeg(3, 2))
    daemon.start()
    daemon.index(f"A:{PHOTO}/Trips", f"a:{path}", f"N:{path}:{PHOTO}/Trips/b.jpg")
    assert daemon.paths("photo") == [path]
    assert daemon.rows("photo_image") == daemon.rows("photo_share") == []


# The attribute file, and what becomes of the title, "one" being that of the name.
TITLES = [("Holiday\n", "Holiday"), ("Holiday", "Holiday"), ("\n", "one"), ("", "one"), ("\nHoliday", "one"),
          ("First\nSecond\n", "First"), ("It's 100% \\ \"x\"_\n", "It's 100% \\ \"x\"_"), ("x" * 300, "x" * 254)]


def test_typed_texts_are_taken_over_and_their_files_go(daemon):
    for number, (text, _) in enumerate(TITLES):
        path = daemon.write(f"{PHOTO}/{number}/one.jpg", photo.jpeg(3, 2))
        daemon.write(attribute_file(path, "TITLE"), text)
        daemon.write(attribute_file(path, "DESC"), text)
    daemon.index(*[f"a:{PHOTO}/{number}/one.jpg" for number in range(len(TITLES))])
    for number, (text, title) in enumerate(TITLES):
        path = f"{PHOTO}/{number}/one.jpg"
        assert texts(daemon.row("photo_image", path)) == {
            "name": "one.jpg", "title": title, "description": "" if title == "one" else title,
            "album": str(number)}, repr(text)
        assert not daemon.exists(attribute_file(path, "TITLE")) and not daemon.exists(attribute_file(path, "DESC"))


def test_a_text_is_handed_over_once(daemon):
    path = daemon.write(f"{PHOTO}/a.jpg", photo.jpeg(3, 2))
    daemon.write(attribute_file(path, "TITLE"), "Holiday\n")
    daemon.index(f"a:{path}")
    assert daemon.row("photo_image", path)["title"] == "Holiday"
    daemon.index(f"a:{path}")
    assert texts(daemon.row("photo_image", path)) == {"name": "a.jpg", "title": "Holiday", "description": "",
                                                      "album": "photo"}
    daemon.store("update photo_image set title = 'typed since'")
    daemon.index(f"a:{path}")
    assert daemon.row("photo_image", path)["title"] == "typed since"


@pytest.mark.parametrize("kind", ["directory", "pipe"])
def test_an_attribute_that_is_no_file_does_no_harm(daemon, kind):
    path = daemon.write(f"{PHOTO}/a.jpg", photo.jpeg(3, 2))
    place = daemon.box.path(attribute_file(path, "TITLE"))
    os.makedirs(os.path.dirname(place))
    os.mkdir(place) if kind == "directory" else os.mkfifo(place)
    daemon.index(f"a:{path}")
    assert daemon.row("photo_image", path)["title"] == "a"


def test_add_again_refreshes_the_row_and_keeps_its_number(daemon):
    path = daemon.write(f"{PHOTO}/a.jpg", photo.jpeg(3, 2))
    daemon.index(f"a:{path}")
    before = daemon.row("photo_image", path)
    daemon.write(path, photo.jpeg(30, 20) + b"more")
    daemon.index(f"a:{path}")
    after = daemon.row("photo_image", path)
    assert (before["id"], 3, 2) == (after["id"], before["width"], before["height"])
    assert (after["width"], after["height"], after["file_size"]) == (30, 20, before["file_size"] + 4)


def test_delete_takes_the_row_of_a_file_that_is_gone_and_of_no_other(daemon):
    paths = [daemon.write(f"{PHOTO}/{name}.jpg", photo.jpeg(3, 2)) for name in ("a", "a_b", "axb", "kept")]
    daemon.index(f"A:{PHOTO}")
    daemon.remove(paths[1])
    daemon.index(f"d:{paths[1]}", f"d:{paths[3]}")
    assert daemon.paths("photo_image") == daemon.paths("photo") == [paths[0], paths[2], paths[3]]


def test_remove_tree_takes_the_rows_of_pictures_and_videos_below_and_of_no_sibling(daemon):
    inside = [daemon.write(f"{PHOTO}/a_b/{name}.jpg", photo.jpeg(3, 2)) for name in ("x", "deep/x")]
    beside = [daemon.write(f"{PHOTO}/{name}/x.jpg", photo.jpeg(3, 2)) for name in ("a b", "a_b c", "axb")]
    daemon.index(f"A:{PHOTO}")
    for table in ("video_desc", "video_comment"):
        for folder in ("a_b", "axb"):
            daemon.store(f"insert into {table} (path) values (?)", f"{PHOTO}/{folder}/x.avi")
    os.rename(daemon.box.path(f"{PHOTO}/a_b"), daemon.box.path("/tmp/gone"))
    assert len(inside) + len(beside) == len(daemon.paths("photo_image"))
    daemon.index(f"D:{PHOTO}/a_b")
    assert daemon.paths("photo_image") == beside
    for table in ("video_desc", "video_comment"):
        assert daemon.paths(table) == [f"{PHOTO}/axb/x.avi"]
