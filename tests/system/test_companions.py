# SPDX-License-Identifier: GPL-2.0-or-later
"""Photos and films that were taken together, by the rules `complete`: each row says where the other file is, whatever comes, goes or
is renamed."""
import os

import pytest
from test_complete_facts import facts_of

from harness import media, raws
from harness.watcher import Watcher, check_equal

PHOTO = "/volume1/photo"
RAW, JPEG, FILM = (f"{PHOTO}/trip/IMG_1.{extension}" for extension in ("CR2", "JPG", "MOV"))

# What a reader may take, a film's too on a machine that does much else, is long enough at this speed.
SPEED = 20


@pytest.fixture(scope="module", name="contents")
def real_contents(tmp_path_factory):
    """By extension, a file as cameras write it."""
    folder = tmp_path_factory.mktemp("taken")
    media.picture(f"{folder}/photo.jpg", 48, 36)
    media.exif(f"{folder}/photo.jpg", Make="Maker", Model="M-1")
    media.clip(f"{folder}/film.mov", "-c:v", "mpeg4", "-c:a", "aac")
    jpeg, film = (folder / "photo.jpg").read_bytes(), (folder / "film.mov").read_bytes()
    return {".jpg": jpeg, ".cr2": raws.cr2(jpeg), ".dng": raws.cr2(jpeg), ".mov": film, ".mp4": film}


@pytest.fixture(name="box")
def complete_daemon(make_daemon):
    daemon = make_daemon(speed=SPEED)
    daemon.configure(rules="complete")
    return daemon


def put(box, contents, *paths):
    for path in paths:
        box.write(path, contents[os.path.splitext(path)[1].lower()])


def move(box, old, new):
    os.makedirs(os.path.dirname(box.box.path(new)), exist_ok=True)
    os.rename(box.box.path(old), box.box.path(new))


def companions(box):
    return {path: found["companion"] for path, found in facts_of(box).items() if "companion" in found}


def test_what_was_taken_together_says_so(box, contents):
    burst = [f"{PHOTO}/burst/IMG_20190504_101112_BURST00{end}.jpg" for end in ("1", "2_COVER", "3")]
    phone = [f"{PHOTO}/phone/PXL_20231207_032108788.RAW-0{end}" for end in ("1.MP.COVER.jpg", "2.ORIGINAL.dng")]
    moment = [f"{PHOTO}/phone/IMG_2.JPG", f"{PHOTO}/phone/IMG_2_HEVC.MOV"]
    alone = [f"{PHOTO}/phone/IMG_3.jpg", f"{PHOTO}/trip/IMG_2.mov", f"{PHOTO}/IMG_1.JPG"]
    put(box, contents, RAW, JPEG, FILM, *burst, *phone, *moment, *alone)
    box.start()
    box.index(f"A:{PHOTO}")
    expected = {RAW: [JPEG, FILM], JPEG: [RAW, FILM], FILM: [RAW, JPEG], burst[0]: [burst[1]], burst[1]: [burst[0], burst[2]],
                burst[2]: [burst[1]], phone[0]: [phone[1]], phone[1]: [phone[0]], moment[0]: [moment[1]], moment[1]: [moment[0]]}
    assert companions(box) == expected
    assert set(box.paths("photo")) | set(box.paths("video")) == {*expected, *alone}
    for line in ("R:photo", "R:all", f"A:{PHOTO}", f"N:{PHOTO}:{PHOTO}"):
        box.index(line)
        assert companions(box) == expected, line
    box.index(*(f"a:{path}" for path in expected))
    assert companions(box) == expected


def test_show_tells_them(box, contents):
    put(box, contents, RAW, JPEG, FILM)
    box.start()
    box.index(f"A:{PHOTO}")
    parts = {part["part"]: part for part in box.ctl_json("show", JPEG)}
    assert parts["facts"]["companion"] == f"{RAW}; {FILM}" and parts["photo"]["path"] == JPEG
    assert RAW in box.ctl("show", FILM)["out"]


def test_they_follow_each_request(box, contents):
    away = f"{PHOTO}/away/IMG_1.CR2"
    put(box, contents, RAW, JPEG, FILM)
    box.start()
    box.index(*(f"a:{path}" for path in (JPEG, RAW, FILM)))
    whole = {RAW: [JPEG, FILM], JPEG: [RAW, FILM], FILM: [RAW, JPEG]}
    assert companions(box) == whole
    steps = [((RAW, away), (f"d:{RAW}", f"a:{away}")), ((away, RAW), (f"N:{RAW}:{away}",)),
             ((RAW, away), (f"D:{RAW}", f"A:{away}")), ((away, RAW), (f"D:{away}", f"A:{RAW}")),
             ((RAW, away), (f"N:{away}:{RAW}",)), ((away, RAW), (f"A:{PHOTO}", f"D:{away}"))]
    for (old, new), lines in steps:
        move(box, old, new)
        box.index(*lines)
        assert companions(box) == (whole if new == RAW else {JPEG: [FILM], FILM: [JPEG]}), lines
    move(box, f"{PHOTO}/trip", f"{PHOTO}/away/trip")
    box.index(f"N:{PHOTO}/away/trip:{PHOTO}/trip")

    def moved(path):
        return path.replace("/trip/", "/away/trip/")
    assert companions(box) == {moved(path): [moved(other) for other in found] for path, found in whole.items()}
    box.remove(moved(JPEG))
    box.index("R:photo")
    assert companions(box) == {moved(RAW): [moved(FILM)], moved(FILM): [moved(RAW)]}


def test_they_follow_what_a_watcher_sees(box, contents):
    put(box, contents, JPEG, f"{PHOTO}/other.jpg")
    box.start()
    box.index("R:all")
    assert companions(box) == {}
    watcher = Watcher(box)
    put(box, contents, RAW)
    watcher.settle()
    assert companions(box) == {RAW: [JPEG], JPEG: [RAW]}
    put(box, contents, FILM)
    box.remove(RAW)
    watcher.settle()
    assert companions(box) == {JPEG: [FILM], FILM: [JPEG]}
    move(box, FILM, f"{PHOTO}/trip/other.MOV")
    watcher.settle()
    assert companions(box) == {}
    move(box, f"{PHOTO}/other.jpg", f"{PHOTO}/trip/other.jpg")
    watcher.settle()
    assert companions(box) == {f"{PHOTO}/trip/other.jpg": [f"{PHOTO}/trip/other.MOV"], f"{PHOTO}/trip/other.MOV": [f"{PHOTO}/trip/other.jpg"]}
    check_equal(box)
    watcher.stop()


def test_names_are_bytes(box, contents):
    """As an old client has written them: no UTF-8, and what a database takes for its own."""
    stems = ("caf\xe9", "it's \\x41 %s", "\xff")
    pairs = [[f"{PHOTO}/d\xe9j\xe0/{stem}.{extension}" for extension in ("CR2", "JPG")] for stem in stems]
    box.mkdir(f"{PHOTO}/d\xe9j\xe0".encode("latin-1"))
    for path in [path for pair in pairs for path in pair]:
        with open(box.box.path(path.encode("latin-1")), "wb") as file:
            file.write(contents[path[-4:].lower()])
    box.start()
    box.index(f"A:{PHOTO}")
    assert set(box.paths("photo")) == {path for pair in pairs for path in pair}
    found = {row["path"]: row["value"] for row in box.rows("fact") if row["name"] == "companion"}
    assert found == {path: other for pair in pairs for path, other in (pair, reversed(pair))}
