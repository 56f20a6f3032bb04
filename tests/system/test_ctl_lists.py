# SPDX-License-Identifier: GPL-2.0-or-later
"""The lists of veluctl: what is shown of each kind of files, of which files, and what is said of those that are not shown."""
import re

import pytest
from harness import id3, media
from harness.short_songs import FRAME, song

DONE, FOUND, USAGE = range(3)
FILMS_SPEED = 20  # a reader of films has 90 seconds of this clock
MUSIC = "/volume1/music"
SONGS = {"nina/1.mp3": ("One", "Nina", "Blue", "Jazz", "1965"), "nina/2.mp3": ("Two", "Nina", "Blue", "Jazz", ""),
         "eve/3.mp3": ("Three", "Eve", "Red", "Folk", "1991"), "eve/4.mp3": ("Four", "Eve", "Red", "Folk", "")}


@pytest.fixture(params=["complete", "appliance"])
def rules(request):
    return request.param


@pytest.fixture
def library(make_daemon, rules):
    box = make_daemon(speed=FILMS_SPEED)
    box.configure(rules=rules)
    for path, tags in SONGS.items():
        box.write(f"{MUSIC}/{path}", song(**{name: value for name, value in zip(("title", "artist", "album", "genre", "year"), tags) if value}))
    media.clip(box.box.path("/volume1/video/Big Film.mkv"), "-frames:v", "2", "-map", "0", "-map", "1", "-map", "1", "-c:v", "mjpeg",
               "-metadata:s:a:0", "language=ger", "-metadata:s:a:1", "language=eng", size="1920x800")
    media.picture(box.box.path("/volume1/photo/beach.jpg"), 40, 30)
    media.exif(box.box.path("/volume1/photo/beach.jpg"), DateTimeOriginal="2024:05:04 10:11:12", Make="Canon", Model="EOS 5D")
    box.write(f"{MUSIC}/all.m3u", b"nina/1.mp3\n")
    box.start().index("A:/volume1/music", "A:/volume1/video", "A:/volume1/photo")
    return box


def cells(line):
    return re.split(r"  +", line.strip())


def table(box, *words):
    return [cells(line) for line in box.ctl(*words)["out"].splitlines()]


@pytest.mark.parametrize("command", ["find", "list"])
def test_each_kind_has_its_own_columns(command, library, rules):
    headings, *songs = table(library, command, "kind=song")
    assert headings == ["TITLE", "ARTIST", "ALBUM", "TIME", "SIZE", "PATH"] and len(songs) == len(SONGS)
    headings, film = table(library, command, "kind=film")
    facts = {"complete": (["CODEC", "LANGUAGES"], ["mjpeg", "ger,eng"]), "appliance": ([], [])}[rules]
    assert headings == ["TITLE", "TIME", "PIXELS", *facts[0], "SIZE", "PATH"]
    assert (film[0], film[2:-2], film[-1]) == ("Big Film", ["1920x800", *facts[1]], "/volume1/video/Big Film.mkv")
    assert re.fullmatch(r"[0-9.]+ k?B", film[-2])
    headings, photo = table(library, command, "kind=photo")
    assert headings == ["TAKEN", "CAMERA", "PIXELS", "SIZE", "PATH"]
    assert photo[:3] == ["2024-05-04 10:11:12", "EOS 5D", "40x30"]
    headings, _ = table(library, command, "kind=playlist")
    assert headings == ["TITLE", "WRITTEN", "SIZE", "PATH"]


def test_several_kinds_share_a_table(library, rules):
    headings, *rows = table(library, "find", "path~volume1")
    assert headings == ["KIND", "TITLE", "ABOUT", "TIME", "PATH"]
    about = {row[1]: row[2] for row in rows}
    assert about["One"] == "Nina: Blue" and about["beach"] == "2024-05-04 10:11:12 EOS 5D" and about["all"] == "-"
    assert about["Big Film"] == ("1920x800 mjpeg ger,eng" if rules == "complete" else "1920x800")
    assert table(library, "find", "nina", "or", "kind=photo")[0][0] == "KIND"
    assert table(library, "find", "eve")[0][0] == "TITLE", "all are songs"
    whole = library.ctl_json("find", "kind=film")[0]
    assert list(whole)[:3] == ["kind", "title", "artist"] and "pixels" not in whole, "programs have the columns of the catalogue"


def test_lists_take_the_words_of_find(library):
    assert [row["album"] for row in library.ctl_json("list", "albums", "year=1990..1999")] == ["Red"]
    assert [row["artist"] for row in library.ctl_json("list", "artists", "genre=jazz")] == ["Nina"]
    assert library.ctl_json("list", "genres", "-genre=jazz", "--dir", f"{MUSIC}/eve") == [{"files": 2, "genre": "Folk"}]
    assert library.ctl_json("list", "genres", "genre=jazz", "--dir", f"{MUSIC}/eve") == []
    assert [row["camera_model"] for row in library.ctl_json("list", "cameras", "camera~eos")] == ["EOS 5D"]
    assert library.ctl_json("list", "cameras", "kind=song") == []
    assert [row["year"] for row in library.ctl_json("list", "year", "nina", "kind=song")] == ["1965"], "the singular does"
    assert [row["title"] for row in library.ctl_json("list", "year=1991")] == ["Three"]
    assert [row["title"] for row in library.ctl_json("recent", "kind=film")] == ["Big Film"]
    for words in (["missing", "year"], ["missing", "years", "kind=song"]):
        assert {row["title"] for row in library.ctl_json(*words)} == {"Two", "Four"}, words
    assert [row["title"] for row in library.ctl_json("missing", "year", "kind=song", "genre=jazz")] == ["Two"]
    assert [row["missing"] for row in library.ctl_json("missing", "tags", "eve", "missing:year")] == ["year track"]
    assert library.ctl("missing", "year", "kind=film")["err"] == "Nothing is missing.\n"
    assert library.ctl("missing", "tracks", "genre=jazz")["status"] == DONE


def test_lists_of_a_kind(library):
    for word, kind in (("films", "film"), ("film", "film"), ("songs", "song"), ("photos", "photo"), ("playlists", "playlist")):
        assert library.ctl_json("list", word) == library.ctl_json("find", f"kind={kind}") == library.ctl_json("list", "--kind", kind) != [], word
    assert [row["title"] for row in library.ctl_json("list", "songs", "eve", "has:year")] == ["Three"]
    assert library.ctl("list", "albums")["out"].startswith("FILES"), "no rows of the photo library"


def test_a_maker_is_not_a_model(library):
    for asked in ("camera=canon", "camera~canon", "model=Canon EOS 5D"):
        answer = library.ctl("find", "kind=photo", asked)
        assert " is the model alone; 'make~canon' finds" in answer["err"].replace("Canon", "canon") and answer["status"] == 1, answer
    assert "beach.jpg" in library.ctl("find", "kind=photo", "make~canon")["out"]
    assert "model alone" not in library.ctl("find", "kind=photo", "camera=nikon")["err"]


def test_recent_of_some_days(library, rules):
    came = library.ctl_json("recent")
    assert library.ctl_json("recent", "year") == came != []
    assert [row["title"] for row in library.ctl_json("recent", "year", "kind=film")] == ["Big Film"]
    assert [row["title"] for row in library.ctl_json("recent", "film", "--kind", "film")] == ["Big Film"], "any other word is looked for"
    assert library.ctl_json("recent", "yesterday") == []
    assert library.ctl_json("recent", "kind=film", "year") == [], "behind other words it is one of them"


def test_words_that_mean_nothing_are_marked_here_too(library):
    for command in (["list"], ["list", "albums"], ["missing", "year"], ["recent"]):
        answer = library.ctl(*command, "genre=jazz", "artits=nina")
        assert answer["status"] == USAGE and answer["out"] == "" and "^^^^^^" in answer["err"], (command, answer)
    for command, there in ((["list", "colours"], "artists, albums, genres, years, cameras, songs, films, photos, playlists"), (["missing", "colours"], "tags, tracks"), (["list", "albums", "kind=library"], "music, video")):
        answer = library.ctl(*command)
        assert answer["status"] == USAGE and there in answer["err"], answer


@pytest.mark.parametrize("command", [["list"], ["find", "love"], ["recent", "-live"], ["export", "csv"]])
def test_a_number_that_is_missing_or_none_is_told(command, daemon):
    assert "--limit: 1 required ROWS missing" in daemon.ctl(*command, "-n")["err"]
    for value in ("x", "--json", "-1"):
        answer = daemon.ctl(*command, "-n", value)
        assert answer["status"] == USAGE and f'--limit: "{value}" is no whole number' in answer["err"], answer


def test_recent_says_how_many_more_there_are(daemon):
    for number in range(23):
        daemon.write(f"{MUSIC}/{number}.pcm")
    daemon.index("R:music")
    *rows, last = daemon.ctl("recent")["out"].splitlines()
    assert len(rows) == 21 and last == "3 more: -n 23 shows all."
    assert len(daemon.ctl("recent", "-n", "20")["out"].splitlines()) == 21, "so many were asked for"
    assert "more" not in daemon.ctl("recent", "path~music/1")["out"]


def test_samplers_are_one_album(make_daemon, rules):
    box = make_daemon()
    box.configure(rules=rules)
    hits = {"hits/1.mp3": ("Ann", "Hits"), "hits/2.mp3": ("Eve", "Hits"), "Ann/1.mp3": ("Ann", "Solo"), "Eve/1.mp3": ("Eve", "Solo")}
    for path, (artist, album) in hits.items():
        box.write(f"{MUSIC}/{path}", song(title=path, artist=artist, album=album))
    for number, artist in enumerate(("Ann", "Ann", "Eve")):
        frames = (id3.text(3, "TPE1", artist), id3.text(3, "TALB", "Flagged"), id3.text(3, "TCMP", "1"))
        box.write(f"{MUSIC}/{artist}/flagged {number}.mp3", id3.tag(3, *frames) + FRAME * 3)
    box.start().index("A:/volume1/music")
    albums = {(row["album"], row["artist"]): row["files"] for row in box.ctl_json("list", "albums")}
    solo = {("Solo", "Ann"): 1, ("Solo", "Eve"): 1}
    if rules == "complete":
        assert albums == {("Hits", "Various artists"): 2, ("Flagged", "Various artists"): 3, **solo}
    else:
        assert albums == {("Hits", "Ann"): 1, ("Hits", "Eve"): 1, ("Flagged", "Ann"): 2, ("Flagged", "Eve"): 1, **solo}
