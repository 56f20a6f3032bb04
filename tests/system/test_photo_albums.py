# SPDX-License-Identifier: GPL-2.0-or-later
"""Albums of the photo share: their rows, who may see them, and what a sub-album takes over."""
import os
import re

import pytest

from harness.photo import albums, attribute_file

PHOTO = "/volume1/photo"
NO_KEY = "Can't get key valude. key=supportcinehall"
GRANT_TIME = re.compile(r"\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4}\n")


def album_id(daemon, name):
    return {row["sharename"]: row["shareid"] for row in daemon.rows("photo_share")}[name]


def rights(daemon, name):
    number = album_id(daemon, name)
    return {row["userid"]: row["granted"] for row in daemon.rows("photo_access_right") if row["shareid"] == number}


def grant(daemon, name, *users):
    for user in users:
        daemon.store("insert into photo_access_right values (?, ?, 'earlier')", user, album_id(daemon, name))


@pytest.fixture
def trips(daemon):
    """A running daemon that knows the album Trips, which is not public."""
    daemon.configure(albumdefpublic="no")
    daemon.mkdir(f"{PHOTO}/Trips")
    daemon.index(f"A:{PHOTO}/Trips")
    assert albums(daemon) == {"Trips": ("f", "f")}
    return daemon


def test_a_new_directory_is_an_album_and_so_are_its_sub_directories(daemon):
    for folder in ("2009/May", "@eaDir/x", ".hidden", "it's"):
        daemon.mkdir(f"{PHOTO}/Trips/{folder}")
    daemon.write(f"{PHOTO}/Trips/file")
    daemon.index(f"A:{PHOTO}/Trips")
    assert albums(daemon) == {"Trips": ("f", "f"), "Trips/2009": ("f", "t"), "Trips/it's": ("f", "t")}
    assert daemon.rows("photo_share")[0] == {
        "shareid": 1, "sharename": "Trips", "title": "", "description": "", "public": "f", "hits": 0, "cover": "",
        "allow_comment": "t", "is_subdir": "f", "updated": "1"}
    assert daemon.logged("photo_share.c", NO_KEY) == 3, "once for each album, by the name of another key"
    known = daemon.rows("photo_share")
    daemon.index(f"A:{PHOTO}/Trips")
    assert daemon.rows("photo_share") == known


@pytest.mark.parametrize("command", ["A", "a"])
def test_an_album_for_each_directory_down_to_the_second_level(trips, command):
    trips.mkdir(f"{PHOTO}/Trips/2009/May")
    trips.index(f"{command}:{PHOTO}", f"{command}:{PHOTO}/Trips/2009", f"{command}:{PHOTO}/Trips/2009/May")
    assert albums(trips) == {"Trips": ("f", "f"), "Trips/2009": ("f", "t")}


def test_a_file_is_no_album(trips):
    path = trips.write(f"{PHOTO}/a.jpg", "no picture")
    trips.index(f"A:{path}", f"a:{path}")
    assert list(albums(trips)) == ["Trips"]


# albumdefpublic, the text of the attribute file, public or not.
CHOICES = [("yes", None, "t"), ("YES", None, "t"), ("no", None, "f"), ("1", None, "f"), ("", None, "f"),
           ("no", "1\n", "t"), ("no", "1", "t"), ("no", "10", "t"), ("yes", "0\n", "f"), ("yes", " 1\n", "f"),
           ("yes", "\n", "t"), ("no", "", "f")]


def test_who_decides_whether_an_album_is_public(daemon):
    for number, (setting, typed, public) in enumerate(CHOICES):
        path = daemon.mkdir(f"{PHOTO}/{number}")
        if typed is not None:
            daemon.write(attribute_file(path, "PUBLIC"), typed)
        daemon.configure(albumdefpublic=setting)
        daemon.index(f"A:{path}")
        assert albums(daemon)[str(number)] == (public, "f"), (setting, typed)
        assert not daemon.exists(attribute_file(path, "PUBLIC"))
    assert daemon.logged("photo_share.c", NO_KEY) == 0


def test_a_sub_album_is_as_public_as_its_album_whatever_was_typed(trips):
    trips.store("update photo_share set public = 't'")
    trips.write(attribute_file(trips.mkdir(f"{PHOTO}/Trips/2009"), "PUBLIC"), "0\n")
    trips.index(f"A:{PHOTO}/Trips/2009")
    assert albums(trips) == {"Trips": ("t", "f"), "Trips/2009": ("t", "t")}
    assert not trips.exists(attribute_file(f"{PHOTO}/Trips/2009", "PUBLIC"))


def test_a_sub_album_takes_over_the_rights_on_an_album_that_is_not_public(trips):
    grant(trips, "Trips", 1024, 1025)
    trips.index(f"A:{trips.mkdir(f'{PHOTO}/Other')}")
    grant(trips, "Other", 1026)
    trips.mkdir(f"{PHOTO}/Trips/2009")
    trips.index(f"A:{PHOTO}/Trips/2009")
    taken = rights(trips, "Trips/2009")
    assert sorted(taken) == [1024, 1025] and all(GRANT_TIME.fullmatch(time) for time in taken.values())
    assert rights(trips, "Trips") == {1024: "earlier", 1025: "earlier"}
    assert rights(trips, "Other") == {1026: "earlier"}


def test_a_sub_album_of_a_public_album_has_no_rights_of_its_own(trips):
    grant(trips, "Trips", 1024)
    trips.store("update photo_share set public = 't'")
    trips.mkdir(f"{PHOTO}/Trips/2009")
    trips.index(f"A:{PHOTO}/Trips/2009")
    assert rights(trips, "Trips/2009") == {}


def test_a_sub_album_of_an_unknown_album_keeps_its_row_and_is_logged(daemon):
    daemon.mkdir(f"{PHOTO}/Trips/2009")
    daemon.index(f"A:{PHOTO}/Trips/2009")
    assert albums(daemon) == {"Trips/2009": ("f", "t")}
    assert daemon.logged("photo_share.c", "VELUPhotoShareGetFieldValue failed.") == 1
    assert daemon.logged("photo_share.c", "VELUPhotoShareSubDirUpdatePrivilege Failed.") == 1


def test_a_new_album_gets_the_largest_number_and_one(trips):
    trips.store("update photo_share set shareid = 41")
    trips.index(f"A:{trips.mkdir(f'{PHOTO}/Other')}")
    assert album_id(trips, "Other") == 42


# Names that mean something in SQL or in a pattern, each with a sibling that an unescaped pattern would take too.
NAMES = [(b"a_b", b"axb"), (b"100%", b"100 more"), (b"%", b"x"), (b"_", b"y"), (b"back\\slash", b"backXslash"),
         (b"end\\", b"end"), (b"it's", b"its"), (b"x'); delete from photo_share;--", b"x"), (b"caf\xe9", b"caf\xe8"),
         (b"\xff\xfe", b"\xff\xfd"), (b'"quoted"', b"quoted"), (b"Case", b"case"), (b"long", b"longer")]


def test_a_removed_album_of_any_name_takes_no_sibling_with_it(daemon):
    siblings = dict(NAMES)
    folders = [name + below for name in {*siblings, *siblings.values()} for below in (b"", b"/sub")]
    for folder in folders:
        daemon.mkdir(f"{PHOTO}/".encode() + folder)
    daemon.index(*[f"A:{PHOTO}/".encode() + folder for folder in folders if b"/" not in folder])
    left = {folder.decode("latin-1") for folder in folders}
    assert set(albums(daemon)) == left
    for number, name in enumerate(siblings):
        os.rename(daemon.box.path(f"{PHOTO}/".encode() + name), daemon.box.path(f"/tmp/{number}".encode()))
        daemon.index(f"D:{PHOTO}/".encode() + name)
        left -= {name.decode("latin-1"), name.decode("latin-1") + "/sub"}
        assert set(albums(daemon)) == left, name


def test_removing_a_sub_album_leaves_its_album(trips):
    os.makedirs(trips.box.path(f"{PHOTO}/Trips/2009"))
    trips.index(f"A:{PHOTO}/Trips/2009")
    os.rmdir(trips.box.path(f"{PHOTO}/Trips/2009"))
    trips.index(f"D:{PHOTO}/Trips/2009")
    assert list(albums(trips)) == ["Trips"]


def test_removing_the_share_removes_every_album(trips):
    os.rename(trips.box.path(PHOTO), trips.box.path("/tmp/gone"))
    trips.index(f"D:{PHOTO}/Trips/2009/May", f"D:{PHOTO}/none")
    assert list(albums(trips)) == ["Trips"]
    trips.index(f"D:{PHOTO}")
    assert albums(trips) == {}
