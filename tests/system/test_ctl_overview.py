# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl tells of the catalogue as a whole: stats, recent, missing, and list artists, albums, genres, years, cameras. Beside what the
rows themselves say, by either rules."""
import collections
import csv
import io
import os
import time

import pytest
from harness.short_songs import song

DONE, FOUND, USAGE, UNREACHABLE = 0, 1, 2, 6
MUSIC = "/volume1/music"

SONGS = {
    "Nina/Blue/1.mp3": {"title": "One", "artist": "Nina", "album": "Blue", "genre": "Jazz", "track": "1/5", "year": "1999"},
    "Nina/Blue/3.mp3": {"title": "Three", "artist": "Nina", "album": "Blue", "genre": "Jazz", "track": "3/5"},
    "Nina/Blue/other/1.mp3": {"title": "Apart", "artist": "Eve", "album": "Blue", "track": "1", "disc": "2"},
    "Eve/Blue/4.mp3": {"title": "Four", "artist": "Eve", "album": "Blue", "genre": "Folk", "track": "4", "year": "2004"},
    "Eve/Red/1.mp3": {"title": "A", "artist": "Eve", "album": "Red", "albumartist": "Band", "genre": "Jazz", "track": "1", "year": "2004"},
    "Eve/Red/2.mp3": {"title": "B", "artist": "Ann", "album": "Red", "albumartist": "Band", "genre": "Jazz", "track": "2", "year": "2014"},
    "plain/no tags.mp3": {},
}


@pytest.fixture(params=["complete", "appliance"])
def rules(request):
    return request.param


@pytest.fixture
def library(make_daemon, rules, samples):
    box = make_daemon()
    box.configure(rules=rules)
    for path, tags in SONGS.items():
        write_song(box, path, tags)
        os.utime(box.box.path(f"{MUSIC}/{path}"), (1e9, 1e9))
    box.copy(samples / "exif.jpg", "/volume1/photo/Trip/exif.jpg")
    box.copy(samples / "clip.mp4", "/volume1/video/clip.mp4")
    box.start().index("R:all", "A:/volume1/photo")
    return box


def write_song(box, path, tags, version=3):
    box.write(f"{MUSIC}/{path}", song(version, **tags))


def listed(box, *arguments):
    """The values of a list, which comes last in each row, with the numbers of files."""
    return [tuple(row.values()) for row in box.ctl_json("list", *arguments)]


def test_artists_albums_and_genres_have_the_number_of_their_files(library, rules):
    artists = collections.Counter(tags["artist"] for tags in SONGS.values() if tags)
    assert listed(library, "artists") == sorted(((count, name) for name, count in artists.items()), key=lambda one: (-one[0], one[1]))
    assert listed(library, "genres") == [(4, "Jazz"), (1, "Folk")]
    albums = {(row["album"], row["artist"]): row["files"] for row in library.ctl_json("list", "albums")}
    red = {("Red", "Band"): 2} if rules == "complete" else {("Red", "Eve"): 1, ("Red", "Ann"): 1}
    assert albums == {("Blue", "Nina"): 2, ("Blue", "Eve"): 2, ("plain", ""): 1, **red}
    assert listed(library, "artists", "--dir", f"{MUSIC}/Eve/Red") == [(1, "Ann"), (1, "Eve")]
    assert listed(library, "artists", "-n", "1") == [(3, "Eve")]


def test_several_artists_of_a_song_count_each(library, rules):
    write_song(library, "both.mp3", {"title": "Both", "artist": "Nina\0Eve", "album": "Both"}, version=4)
    library.index(f"a:{MUSIC}/both.mp3")
    names = dict((name, count) for count, name in listed(library, "artists"))
    if rules == "complete":
        assert names == {"Eve": 4, "Nina": 3, "Ann": 1}
    else:
        assert names[library.row("music", f"{MUSIC}/both.mp3")["artist"]] >= 1


def test_years_and_cameras(library):
    photo = library.row("photo", "/volume1/photo/Trip/exif.jpg")
    years = {row["year"]: (row["music"], row["video"], row["photo"]) for row in library.ctl_json("list", "years")}
    assert years == {"1999": (1, 0, 0), "2004": (2, 0, 0), "2014": (1, 0, 0), photo["date_taken"][:4]: (0, 0, 1)}
    assert list(years) == sorted(years)
    camera, = library.ctl_json("list", "cameras")
    assert (camera["camera_model"], camera["files"], camera["file_size"]) == (photo["camera_model"], 1, photo["file_size"])


def test_what_came_last_stands_first(library, rules):
    begun = int(time.time())
    while int(time.time()) == begun:  # times of files have whole seconds in rows
        time.sleep(0.01)
    write_song(library, "new.mp3", {"title": "New"})
    library.index(f"a:{MUSIC}/new.mp3")
    answer = library.ctl("recent", "--json", "-n", "3")
    newest, *others = library.ctl_json("recent", "-n", "3")
    assert newest["path"] == f"{MUSIC}/new.mp3" and newest["kind"] == "music" and len(others) == 2
    assert [row["added"] for row in others] == sorted((row["added"] for row in others), reverse=True)
    if rules == "complete":
        added = next(row["added"] for row in library.rows("file_state") if row["path"] == newest["path"])
        assert newest["added"] == added and answer["err"] == ""
    else:
        assert newest["added"] == library.row("music", newest["path"])["create_time"]
        assert "do not keep when a file was added" in answer["err"]
    assert library.ctl_json("recent", "-n", "1") == [newest]
    assert library.ctl_json("recent", "--kind", "photo")[0]["path"] == "/volume1/photo/Trip/exif.jpg"
    assert library.ctl("recent", "--dir", "/volume1/none")["status"] == FOUND
    assert library.ctl("recent", "--kind", "album")["status"] == USAGE


def test_without_a_number_they_are_a_screenful(daemon):
    for number in range(30):
        daemon.write(f"{MUSIC}/{number}.pcm")
    daemon.index("R:music")
    assert len(daemon.ctl_json("recent")) == 20 and len(daemon.ctl_json("recent", "-n", "25")) == 25


def test_tracks_that_albums_lack(library, rules):
    answer = library.ctl("missing", "tracks", "--json")
    assert answer["status"] == FOUND
    gap, = library.ctl_json("missing", "tracks")
    total = 5 if rules == "complete" else 3
    assert (gap["path"], gap["album"], gap["artist"], gap["disc"], gap["present"], gap["last"]) == (
        f"{MUSIC}/Nina/Blue", "Blue", "Nina", 0, 2, total)
    assert gap["missing"] == ("2, 4-5" if rules == "complete" else "2")
    assert library.ctl("missing", "tracks", "--dir", f"{MUSIC}/Eve")["status"] == DONE


def test_tags_covers_and_years_that_songs_lack(library, rules):
    lacks = {row["path"].removeprefix(f"{MUSIC}/"): row["missing"] for row in library.ctl_json("missing", "tags")}
    assert lacks == {"Nina/Blue/3.mp3": "year", "Nina/Blue/other/1.mp3": "genre year",
                     "plain/no tags.mp3": "title artist album genre year track" if rules == "complete" else "artist genre year track"}
    assert {row["path"].removeprefix(f"{MUSIC}/") for row in library.ctl_json("missing", "years")} == {
        path for path, tags in SONGS.items() if "year" not in tags}
    assert len(library.ctl_json("missing", "covers")) == len(SONGS)
    assert len(library.ctl_json("missing", "covers", "-n", "2")) == 2
    answer = library.ctl("missing", "tags", "--dir", f"{MUSIC}/Eve")
    assert answer["status"] == DONE and answer["out"] == "" and answer["err"] == "Nothing is missing.\n"


def test_stats_are_the_sums_of_the_rows(library, rules):
    stats = library.ctl_json("stats")
    for kind in ("music", "video", "photo", "playlist"):
        rows = library.rows(kind)
        told = stats["kinds"][kind]
        assert (told["files"], told["bytes"]) == (len(rows), sum(row["file_size"] for row in rows))
        assert abs(told["seconds"] - sum(row["duration"] for row in rows)) < 0.01
        assert sum(one["files"] for one in told["formats"]) == len(rows)
    assert stats["kinds"]["music"]["formats"][0]["format"] == "mp3" and stats["kinds"]["photo"]["formats"][0]["format"] == "jpg"
    assert (stats["artists"], stats["albums"], stats["genres"]) == (3, 3, 2)
    assert stats["directories"] == len(library.rows("directory"))
    assert [(one["decade"], one["files"]) for one in stats["decades"]] == [("1990", 1), ("2000", 2), ("2010", 1)]
    missing = {one["tag"]: one["files"] for one in stats["missing"]}
    named = {"title": 1, "album": 1} if rules == "complete" else {"album": 0}
    assert missing == {"artist": 1, "genre": 2, "year": 3, "track": 1, "cover": len(SONGS), **named}
    if rules == "complete":
        months = collections.Counter(row["added"][:7] for row in library.rows("file_state"))
        assert {one["month"]: one["files"] for one in stats["added"]} == months
        codecs = collections.Counter(row["value"] for row in library.rows("fact") if row["name"] in ("codec", "video_codec"))
        assert {one["codec"]: one["files"] for one in stats["codecs"]} == codecs and codecs["mp3"] == len(SONGS)
    else:
        assert stats["codecs"] is None and stats["added"] is None
    text = library.ctl("stats")["out"]
    assert "3 artists, 3 album titles, 2 genres" in text and max(map(len, text.splitlines())) <= 80


def test_forms(library):
    rows = list(csv.DictReader(io.StringIO(library.ctl("list", "albums", "--csv")["out"], newline="")))
    assert {row["album"] for row in rows} == {"Blue", "Red", "plain"}
    assert library.ctl("list", "artists")["out"].splitlines()[0].split() == ["FILES", "ARTIST"]
    assert library.ctl("list", "artists", "--kind", "music")["status"] == USAGE
    assert library.ctl("list", "colours")["status"] == USAGE and library.ctl("missing")["status"] == USAGE


def test_a_catalogue_that_cannot_be_read_is_no_answer(box):
    box.configure(mediadb="sqlite:/dev/null/media.db", photodb="sqlite:/dev/null/photo.db")
    for command in (["stats"], ["recent"], ["missing", "tags"], ["list", "artists"]):
        assert box.ctl(*command)["status"] == UNREACHABLE, command
