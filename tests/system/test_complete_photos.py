# SPDX-License-Identifier: GPL-2.0-or-later
"""The photo library under the rules `complete`: what it has of pictures of every format beside exiftool and the media catalogue."""
import os

import pytest

from harness import pictures
from harness.photo_facts import EXPLAINED, expected, library
from test_complete_facts import again as done
from test_complete_facts import box, read  # noqa: F401  (box is a fixture)

MUSIC, PHOTO = "/volume1/music", "/volume1/photo"
# The photo library's columns, the media catalogue's, and the facts that exiftool's tags amount to.
COLUMNS = {"make": "camera_make", "model": "camera_model", "exposure": "exposure_time", "fnumber": "f_number", "date_taken": "date_taken",
           "iso": "iso_speed", "width": "width", "height": "height", "file_size": "file_size"}
NOT_TAGS = {"width", "height", "file_size"}
# What the daemon knows no extension of.
UNKNOWN = ("j2k", "mef", "mos")


def by_path(box, table):
    return {row["path"]: row for row in read(box, table)}


def differences(box):
    """Between the two catalogues."""
    media = by_path(box, "photo")
    library_rows = by_path(box, "photo_image")
    assert media.keys() == library_rows.keys()
    return [(path, name, row[name], media[path][other]) for path, row in library_rows.items() for name, other in COLUMNS.items()
            if row[name] != media[path][other]]


@pytest.mark.parametrize("lines", [(f"A:{PHOTO}",), ("R:photo",)], ids=["added", "resynchronised"])
def test_pictures_of_every_format_as_exiftool_reads_them(box, lines):  # noqa: F811
    folder = library()
    shapes = [path for path in pictures.every(folder) if path.suffix[1:] not in UNKNOWN]
    for path in shapes:
        box.copy(path, f"{PHOTO}/Formats/{path.name}")
    done(box, *lines)
    assert not differences(box)
    rows = by_path(box, "photo_image")
    assert len(rows) == len(shapes)
    tags = pictures.exiftool(folder)
    wrong = []
    for path in shapes:
        row, told = rows[f"{PHOTO}/Formats/{path.name}"], expected(tags[path.name])
        assert (row["width"], row["height"]) == (48, 36), path.name
        for name, fact in COLUMNS.items():
            if fact in NOT_TAGS or (path.name, fact) in EXPLAINED or (fact == "date_taken" and fact not in told):
                continue
            theirs = int(told.get(fact, [0])[0]) if name == "iso" else told.get(fact, [""])[0]
            if row[name] != theirs:
                wrong.append(f"{path.name}: {name}: {row[name]!r} instead of {theirs!r}")
    assert not wrong, "\n".join(wrong)


def test_large_raw_photos_and_sidecars_are_of_the_library(box):  # noqa: F811
    folder = library()
    raw = box.write(f"{PHOTO}/Raw/large.dng", (folder / "raw.dng").read_bytes())
    with open(box.box.path(raw), "r+b") as file:
        file.truncate(200 * 1024 * 1024)
    plain = box.copy(folder / "plain.heic", f"{PHOTO}/Raw/IMG_20190504_101112.heic")
    done(box, f"A:{PHOTO}")
    assert not differences(box)
    rows = by_path(box, "photo_image")
    assert rows[raw]["file_size"] == 200 * 1024 * 1024 and rows[raw]["make"]
    assert rows[plain]["date_taken"] == "2019-05-04 10:11:12"


def test_every_command_keeps_both_catalogues_in_step(box):  # noqa: F811
    folder = library()
    names = {"a.heic": "all.heic", "b.webp": "all.webp", "c.cr2": "raw.cr2", "d.jpg": "exif-MM.jpg", "e.avif": "xmp.avif"}
    for name, shape in names.items():
        box.copy(folder / shape, f"{PHOTO}/One/{name}")
    done(box, f"A:{PHOTO}/One")
    assert len(by_path(box, "photo_image")) == len(names) and not differences(box)
    box.box.ask("run", arguments=["/bin/mv", f"{PHOTO}/One", f"{PHOTO}/Two"], environment={}, timeout=60)
    done(box, f"N:{PHOTO}/Two:{PHOTO}/One")
    assert len(by_path(box, "photo_image")) == len(names) and not differences(box)
    box.box.ask("run", arguments=["/bin/mv", f"{PHOTO}/Two/a.heic", f"{PHOTO}/Two/f.heic"], environment={}, timeout=60)
    done(box, f"N:{PHOTO}/Two/f.heic:{PHOTO}/Two/a.heic")
    assert f"{PHOTO}/Two/f.heic" in by_path(box, "photo_image") and not differences(box)
    box.copy(folder / "plain.jpg", f"{PHOTO}/Two/d.jpg")
    box.remove(f"{PHOTO}/Two/b.webp")
    done(box, f"a:{PHOTO}/Two/d.jpg", f"d:{PHOTO}/Two/b.webp")
    rows = by_path(box, "photo_image")
    assert rows[f"{PHOTO}/Two/d.jpg"]["make"] == "" and f"{PHOTO}/Two/b.webp" not in rows and not differences(box)
    box.copy(folder / "exif-II.jpg", f"{PHOTO}/Two/d.jpg")
    done(box, "U:photo")
    assert by_path(box, "photo_image")[f"{PHOTO}/Two/d.jpg"]["make"] and not differences(box)
    box.remove(f"{PHOTO}/Two/c.cr2")
    box.copy(folder / "raw.nef", f"{PHOTO}/Two/g.nef")
    done(box, "R:photo", "R:all")
    assert set(by_path(box, "photo_image")) == {f"{PHOTO}/Two/{name}" for name in ("d.jpg", "e.avif", "f.heic", "g.nef")}
    assert not differences(box)


# Where the share's link leads, and further links on the way there.
PLACES = {"the usual one": ("/volume1/photo", {}), "short": ("/volume1/p", {}), "deep": ("/volume1/data/pictures/family", {}),
          "a link to a link": ("/volume1/data/real", {"/volume1/data/first": "second", "/volume1/data/second": "/volume1/data/real"})}


@pytest.mark.parametrize("place", PLACES)
def test_albums_and_rights_wherever_the_share_lies(box, place):  # noqa: F811
    share, links = PLACES[place]
    folder = library()
    box.mkdir(share)
    for name, target in links.items():
        os.symlink(target, box.box.path(name))
    link = box.box.path("/var/services/photo")
    os.unlink(link)
    os.symlink(next(iter(links), share), link)
    names = {"Trips/2009/a.jpg": "exif-II.jpg", "Trips/2009/May/b.heic": "all.heic", "Trips/c.cr2": "raw.cr2", "Trips2/d.png": "exif-MM.png"}
    for name, shape in names.items():
        box.copy(folder / shape, f"{share}/{name}")
    sibling = box.copy(folder / "plain.jpg", f"{share}2/e.jpg")

    def library_is(pictures_there, albums_there):
        assert set(by_path(box, "photo_image")) == {f"{share}/{name}" for name in pictures_there}
        assert {row["sharename"] for row in box.rows("photo_share")} == set(albums_there)
        media = by_path(box, "photo")
        assert set(media) == {sibling, *by_path(box, "photo_image")}

    def moved(new, old):
        box.box.ask("run", arguments=["/bin/mv", f"{share}/{old}", f"{share}/{new}"], environment={}, timeout=60)
        done(box, f"N:{share}/{new}:{share}/{old}")

    done(box, f"A:{share}/Trips", f"A:{share}/Trips2/", f"A:{share}2")
    library_is(names, {"Trips", "Trips/2009", "Trips2"})
    box.catalogue.store("update photo_share set public = 'false' where sharename = 'Trips'", ())
    box.catalogue.store("insert into photo_access_right select 7, shareid, 'now' from photo_share where sharename = 'Trips'", ())
    box.mkdir(f"{share}/Trips/2010")
    done(box, f"A:{share}/Trips/2010")
    ids = {row["sharename"]: row["shareid"] for row in box.rows("photo_share")}
    assert {row["shareid"] for row in box.rows("photo_access_right")} == {ids["Trips"], ids["Trips/2010"]}
    moved("Travel", "Trips")
    library_is([name.replace("Trips/", "Travel/") for name in names], {"Travel", "Travel/2009", "Travel/2010", "Trips2"})
    assert {row["shareid"]: row["sharename"].replace("Travel", "Trips") for row in box.rows("photo_share")} == {
        number: name for name, number in ids.items()}
    box.box.ask("run", arguments=["/bin/rm", "-r", f"{share}/Travel/2009"], environment={}, timeout=60)
    box.copy(folder / "plain.webp", f"{share}/New/f.webp")
    done(box, "R:all")
    library_is(["Travel/c.cr2", "Trips2/d.png", "New/f.webp"], {"Travel", "Travel/2010", "Trips2", "New"})
    box.box.ask("run", arguments=["/bin/rm", "-r", f"{share}/Travel"], environment={}, timeout=60)
    done(box, f"D:{share}/Travel")
    library_is(["Trips2/d.png", "New/f.webp"], {"Trips2", "New"})


def test_a_film_comes_to_the_photo_catalogue_and_leaves_it(box, samples):  # noqa: F811
    film = f"{PHOTO}/Trip/film.avi"
    box.copy(samples / "clip.avi", film)
    done(box, f"a:{film}")
    assert by_path(box, "video_desc").keys() == {film}
    box.remove(film)
    done(box, f"d:{film}")
    assert not by_path(box, "video_desc")


def test_films_come_to_the_photo_catalogue_by_their_folder(box, samples):  # noqa: F811
    for name in ("a.avi", "b.mp4"):
        box.copy(samples / "clip.avi", f"{PHOTO}/Trip/{name}")
    done(box, f"A:{PHOTO}/Trip")
    assert by_path(box, "video_desc").keys() == {f"{PHOTO}/Trip/a.avi", f"{PHOTO}/Trip/b.mp4"}


def described(box):
    return {row["path"]: row["title"] for row in box.rows("video_desc")}


def test_what_is_written_of_films_goes_where_they_go(box, samples):  # noqa: F811
    film = box.copy(samples / "clip.avi", f"{PHOTO}/Trip/film.avi")
    done(box, f"a:{film}")
    box.catalogue.store("update video_desc set title = 'Home'", ())
    box.catalogue.store("insert into video_comment (path) values (?)", (film,))

    def moved(old, new):
        box.box.ask("run", arguments=["/bin/mv", old, new], environment={}, timeout=60)
        done(box, f"N:{new}:{old}")

    moved(film, f"{PHOTO}/Trip/other.avi")
    assert described(box) == {f"{PHOTO}/Trip/other.avi": "Home"}
    moved(f"{PHOTO}/Trip", f"{PHOTO}/Travel")
    assert described(box) == {f"{PHOTO}/Travel/other.avi": "Home"}
    assert box.paths("video_comment") == [f"{PHOTO}/Travel/other.avi"]
    box.copy(samples / "clip.avi", f"{PHOTO}/Travel/in the way.avi")
    done(box, f"a:{PHOTO}/Travel/in the way.avi")
    moved(f"{PHOTO}/Travel/other.avi", f"{PHOTO}/Travel/in the way.avi")
    assert described(box) == {f"{PHOTO}/Travel/in the way.avi": "Home"}
    outside = f"{MUSIC}/film.avi"
    moved(f"{PHOTO}/Travel/in the way.avi", outside)
    assert described(box) == {} and outside in box.paths("video")
    moved(outside, film.replace("/Trip/", "/Travel/"))
    assert described(box) == {f"{PHOTO}/Travel/film.avi": ""}


def test_resynchronising_forgets_films_that_are_gone_or_left_out(box, samples):  # noqa: F811
    for name in ("a/gone.avi", "a/kept.avi", "b/hidden.avi"):
        box.copy(samples / "clip.avi", f"{PHOTO}/{name}")
    done(box, f"A:{PHOTO}/a", f"A:{PHOTO}/b")
    assert len(described(box)) == 3
    box.catalogue.store("update video_desc set title = 'Home'", ())
    box.remove(f"{PHOTO}/a/gone.avi")
    box.write(f"{PHOTO}/b/.nomedia")
    done(box, "R:photo")
    assert described(box) == {f"{PHOTO}/a/kept.avi": "Home"}
    box.remove(f"{PHOTO}/b/.nomedia")
    done(box, "R:photo")
    assert described(box) == {f"{PHOTO}/a/kept.avi": "Home", f"{PHOTO}/b/hidden.avi": ""}
