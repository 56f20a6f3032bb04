# SPDX-License-Identifier: GPL-2.0-or-later
"""XMP files beside photos, which exiftool writes and reads."""
import functools
import json
import os
import subprocess

import pytest

from harness import media

PHOTO = "/volume1/photo"


def written(path, *asked, **tags):
    """Has exiftool write tags into a file, which it makes when it is XMP's. Gives what it then reads of those that are asked for."""
    tags = (f"-{name.replace('_', ':')}={value}" for name, value in tags.items())
    told = subprocess.run(["exiftool", "-q", "-overwrite_original", *tags, path, "-execute", "-j", *asked, path], capture_output=True,
                          check=True).stdout
    return json.loads(told)[0]


@pytest.fixture
def picture(tmp_path):
    """A photo with a title and a camera of its own."""
    path = tmp_path / "photo.jpg"
    media.picture(str(path), 48, 36)
    written(path, **{"XMP-dc_Title": "In the file", "IFD0_Model": "M-1", "ExifIFD_ISO": 400})
    return path.read_bytes()


@pytest.fixture
def sidecar(tmp_path):
    @functools.cache
    def make(text):
        path = tmp_path / f"{text}.xmp"
        assert written(path, "-XMP-dc:Title", **{"XMP-dc_Title": text})["Title"] == text
        return path.read_bytes()
    return make


def titles(daemon):
    return {row["path"].rsplit("/", 1)[1]: row["title"] for row in daemon.rows("photo")}


def test_what_lies_beside_a_photo_counts_more(box, picture, sidecar):
    box.configure(rules="complete")
    names = {"plain.jpg": (), "own.jpg": ("own.jpg.xmp",), "shared.jpg": ("shared.xmp",), "both.jpg": ("both.xmp", "both.jpg.xmp"),
             "upper.JPG": ("upper.JPG.XMP",), "mixed.jpg": ("mixed.Xmp",), "more.dots.jpg": ("more.dots.xmp",),
             "other.jpg": ("other.png.xmp", "othe.xmp", "other.jpg.xmp.bak", "another.xmp")}
    for folder in ("with", "alone"):
        for name, beside in names.items():
            box.write(f"{PHOTO}/{folder}/{name}", picture)
            for other in beside:
                box.write(f"{PHOTO}/{folder}/{other}", sidecar(other))
    box.mkdir(f"{PHOTO}/without")
    box.write(f"{PHOTO}/without/plain.jpg", picture)
    box.start()
    box.index(f"A:{PHOTO}/with", f"A:{PHOTO}/without")
    expected = {"plain.jpg": "In the file", "own.jpg": "own.jpg.xmp", "shared.jpg": "shared.xmp", "both.jpg": "both.jpg.xmp",
                "upper.JPG": "upper.JPG.XMP", "mixed.jpg": "mixed.Xmp", "more.dots.jpg": "more.dots.xmp", "other.jpg": "In the file"}
    assert titles(box) == expected
    assert {row["camera_model"] for row in box.rows("photo")} == {"M-1"}
    box.index(*(f"a:{PHOTO}/alone/{name}" for name in names))
    assert {row["path"].rsplit("/", 1)[1]: row["title"] for row in box.rows("photo") if "/alone/" in row["path"]} == expected


def test_what_is_no_sidecar_harms_nobody(box, picture):
    box.configure(rules="complete")
    for name in ("folder", "pipe", "damaged", "huge", "lost"):
        box.write(f"{PHOTO}/{name}.jpg", picture)
    box.mkdir(f"{PHOTO}/folder.xmp")
    box.box.ask("run", arguments=["/usr/bin/mkfifo", f"{PHOTO}/pipe.xmp"], environment={}, timeout=60)
    box.box.ask("run", arguments=["/bin/ln", "-s", "nowhere", f"{PHOTO}/lost.xmp"], environment={}, timeout=60)
    box.write(f"{PHOTO}/damaged.xmp", b"<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF" + b"\xff<" * 100)
    box.write(f"{PHOTO}/huge.xmp", b" " * (20 << 20))
    box.start()
    first = len(box.log.lines)
    box.index(f"A:{PHOTO}")
    assert titles(box) == {f"{name}.jpg": "In the file" for name in ("folder", "pipe", "damaged", "huge", "lost")}
    assert not [line for line in box.log.texts()[first:] if "cannot be read" in line]


def test_photos_follow_requests_about_their_sidecars(box, picture, sidecar, tmp_path):
    """As one that watches asks: about the file that came, went or changed, and nothing else."""
    box.configure(rules="complete")
    for name in ("one.jpg", "one.png.jpg", "two.jpg"):
        box.write(f"{PHOTO}/{name}", picture)
    box.start()
    box.index(f"A:{PHOTO}")
    plain = {"one.jpg": "In the file", "one.png.jpg": "In the file", "two.jpg": "In the file"}
    assert titles(box) == plain
    one, two = f"{PHOTO}/one.xmp", f"{PHOTO}/two.jpg.XMP"
    for text in ("first", "second"):
        box.write(one, sidecar(text))
        box.index(f"a:{one}")
        assert titles(box) == {**plain, "one.jpg": text}
    dated = tmp_path / "dated.xmp"
    written(dated, **{"XMP-dc_Title": "dated", "XMP-exif_DateTimeOriginal": "2001:02:03 04:05:06"})
    box.copy(dated, one)
    box.index(f"a:{one}")
    dates = [box.row(table, f"{PHOTO}/one.jpg")["date_taken"] for table in ("photo", "photo_image")]
    assert dates == ["2001-02-03 04:05:06"] * 2, "in both catalogues"
    os.rename(box.box.path(one), box.box.path(two))
    box.index(f"N:{two}:{one}")
    assert titles(box) == {**plain, "two.jpg": "dated"}
    box.remove(two)
    box.index(f"d:{two}")
    assert titles(box) == plain
