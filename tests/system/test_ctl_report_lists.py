# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl report: what stands behind its numbers opens where they are; walls of covers; what is worth a look."""
import os
import re
import shlex
import sqlite3
import subprocess

import pytest
from harness import media
from harness.page import Page
from harness.short_songs import song

DONE, FOUND = 0, 1
FILMS_SPEED = 20  # a reader of films has 90 seconds of this clock
MUSIC = "/volume1/music"
# Two albums of one title, a sampler without an album artist, one with, and an album of two discs in directories of their own.
SONGS = {
    "Nina/Hits/1.mp3": {"artist": "Nina", "album": "Hits", "track": "1/4", "year": "1999"},
    "Nina/Hits/4.mp3": {"artist": "Nina", "album": "Hits", "track": "4/4"},
    "Eve/Hits/1.mp3": {"artist": "Eve", "album": "Hits", "genre": "Folk"},
    "Sampler/1.mp3": {"artist": "Ann", "album": "Summer", "genre": "Jazz"},
    "Sampler/2.mp3": {"artist": "Bea", "album": "Summer", "genre": "Jazz"},
    "Band/1.mp3": {"artist": "Cleo", "album": "Red", "albumartist": "Band"},
    "Band/2.mp3": {"artist": "Dora", "album": "Red", "albumartist": "Band"},
    "Long/CD1/1.mp3": {"title": "A", "artist": "Fay", "album": "Long"},
    "Long/CD2/1.mp3": {"title": "B", "artist": "Fay", "album": "Long"},
}
COVERS = {"Nina/Hits": "webp", "Eve/Hits": "png", "Sampler": "jpg", "Band": "webp", "Long/CD1": "jpg", "Long/CD2": "jpg"}


def report(box, *options):
    answer = box.ctl("report", "-", *options)
    assert answer["status"] == DONE, answer
    return Page(answer["out"].encode("latin-1").decode("utf-8"))


def lists(page):
    """What opens each list, and what is in it."""
    return {one.all("summary")[0].text: one for one in page.root.all("details") if one.attributes["class"] == "list"}


def entries(one):
    return [item.all("bdi")[0].text for item in one.all("li")]


def commands(page):
    """The commands of veluctl that the page names, but those that change something."""
    named = {code.text for one in page.root.all("details") for code in one.all("code")}
    return sorted(command for command in named if command.startswith("veluctl "))


@pytest.fixture(params=["complete", "appliance"])
def library(request, make_daemon, samples):
    box = make_daemon(speed=FILMS_SPEED)
    box.rules = request.param
    box.configure(rules=box.rules)
    for path, tags in SONGS.items():
        box.write(f"{MUSIC}/{path}", song(**tags))
    for folder, kind in COVERS.items():
        media.picture(box.box.path(f"{MUSIC}/{folder}/cover.{kind}"), 40, 40)
    media.mp3(box.box.path(f"{MUSIC}/Sampler/3.mp3"), samples / "tone.wav", cover=box.box.path(f"{MUSIC}/Sampler/cover.jpg"),
              artist="Gina", album="Summer")
    media.clip(box.box.path("/volume1/video/old.avi"), "-c:v", "msmpeg4", "-an")
    media.clip(box.box.path("/volume1/video/old.wmv"), "-c:v", "wmv2", "-an")
    box.write("/volume1/video/old.srt", b"1\n00:00:00,000 --> 00:00:01,000\nHello\n\n")
    box.copy(samples / "exif.jpg", "/volume1/photo/exif.jpg")
    box.start().index("R:all", "A:/volume1/photo")
    return box


def numbers_open_the_files_behind_them(library, page):
    opened = lists(page)
    for summary, without in (("without a year", lambda row: not row["year"]), ("without a genre", lambda row: not row["genre"]),
                             ("without a track number", lambda row: not row["track"]),
                             ("without a cover", lambda row: not row["has_cover"])):
        paths = sorted(row["path"] for row in library.rows("music") if without(row))
        found = [entries(one) for name, one in opened.items() if name == f"{len(paths)} {summary}"]
        assert found == ([paths] if paths else []), summary
    assert entries(opened["Where they are"])[0] == max((row for kind in ("music", "video", "photo", "playlist") for row in library.rows(kind)),
                                                       key=lambda row: (row["file_size"], row["path"]))["path"]


def the_commands_that_it_names_answer(library, page):
    named = commands(page)
    assert {"veluctl missing years", "veluctl missing tracks"} < set(named)
    for command in named:
        answer = library.ctl(*shlex.split(command)[1:], *(["/volume1/music/Band/1.mp3"] if command.endswith("dump FILE") else []))
        assert answer["status"] in (DONE, FOUND) and (answer["out"] or "Nothing" in answer["err"]), (command, answer)


def test_more_names_than_bars_are_a_list(make_daemon):
    box = make_daemon()
    for number in range(30):
        box.write(f"{MUSIC}/{number:02}.mp3", song(artist=f"Artist {number:02}", genre="Folk"))
    box.start().index("R:all")
    page = report(box)
    names = [row[0] for row in page.table("Artists")]
    assert names == [f"Artist {number:02}" for number in range(12)]
    others = lists(page)["and 18 others"]
    assert entries(others) == [f"Artist {number:02}" for number in range(12, 30)]
    assert "veluctl list artists" in others.text and "Genres" not in "".join(name for name in lists(page) if "others" in name)


def test_long_lists_say_how_many_there_are_and_what_tells_them(make_daemon):
    box = make_daemon()
    for number in range(25):
        box.write(f"{MUSIC}/{number:02}.mp3", song(artist="Nina"))
    box.start().index("R:all")
    years = lists(report(box))["25 without a year"]
    assert len(entries(years)) == 20 and "and 5 more" in years.text and "veluctl missing years" in years.text
    assert len(box.ctl_json("missing", "years")) == 25


def walls(page, anchor):
    """Name and artist of each picture of a wall, and its kind."""
    sections = [one for one in page.root.all("section") if one.attributes["id"] == anchor]
    return [(tuple(bdi.text for bdi in item.all("bdi")), item.all("img")[0].attributes["src"].split(";")[0].split("/")[1])
            for section in sections for grid in section.all("ul") if grid.attributes["class"] == "covers" for item in grid.all("li")
            if item.all("img")]


def placeholders(page):
    """Name and artist of those whose picture is too large, with the name that stands in its place."""
    return [tuple(bdi.text for bdi in item.all("bdi")) for item in page.root.all("li") if item.attributes.get("class") == "unshown"]


def albums_are_those_of_their_album_artists(library, page):
    found = dict(walls(page, "covers"))
    if library.rules == "appliance":  # covers beside songs are none there
        assert found == {("Summer", "Gina"): "jpeg"}
        return
    assert found == {("Hits", "Nina"): "webp", ("Hits", "Eve"): "png", ("Summer", "Various artists"): "jpeg", ("Red", "Band"): "webp",
                     ("Long", "Fay"): "jpeg"}


def test_pictures_that_have_no_place_are_named_with_the_reason(make_daemon):
    box = make_daemon()
    box.configure(rules="complete")
    for number, artist in enumerate(("Gone", "Broken", "Empty", "Large", "Wide", "Fit")):
        box.write(f"{MUSIC}/{artist}/1.mp3", song(artist=artist, album=artist))
        media.picture(box.box.path(f"{MUSIC}/{artist}/cover.{'webp' if artist == 'Wide' else 'png'}"), 2000 if artist == "Wide" else 40, 40 + number)
    box.start().index("R:all")
    kept = {artist: next(part["path"] for part in box.ctl_json("show", f"{MUSIC}/{artist}/1.mp3") if part["part"] == "cover")
            for artist in ("Gone", "Broken", "Empty", "Large", "Wide")}
    large = box.read(kept["Large"])
    for artist, content in (("Broken", b"no picture at all"), ("Empty", b""), ("Large", large + bytes(160 * 1024))):
        box.remove(kept[artist])  # it may be one more name of the picture
        box.write(kept[artist], content)
    box.remove(kept["Gone"])
    page = report(box)
    assert [names for names, _ in walls(page, "covers")] == [("Fit", "Fit")] and "1 of 6 albums with a cover" in page.root.text
    assert sorted(placeholders(page)) == [("Large", "Large", "Large"), ("Wide", "Wide", "Wide")] and "; 2 more by name alone." in page.root.text
    found = {name.split(" ", 1)[1].split(":")[0].rstrip("."): entries(one) for name, one in lists(page).items() if "picture" in name}
    assert found == {"pictures have no place here": [f"{MUSIC}/Large/1.mp3", f"{MUSIC}/Wide/1.mp3"],
                     "pictures are damaged": [f"{MUSIC}/Broken/1.mp3", f"{MUSIC}/Empty/1.mp3"], "picture is gone": [f"{MUSIC}/Gone/1.mp3"]}


def test_films_have_a_wall_of_their_own(make_daemon):
    box = make_daemon(speed=FILMS_SPEED)
    box.configure(rules="complete")
    poster = box.box.path("/volume1/video/Film/poster.png")
    os.makedirs(os.path.dirname(poster))
    media.picture(poster, 40, 60)
    media.clip(box.box.path("/volume1/video/Film/Film.mp4"), "-i", poster, "-map", "0", "-map", "2", "-c:v:0", "mpeg4", "-c:v:1", "png",
               "-disposition:v:1", "attached_pic", title="A Film")
    box.start().index("R:all")
    assert box.row("video", "/volume1/video/Film/Film.mp4")["has_cover"] == 1
    assert walls(report(box), "posters") == [(("A Film",), "png")]


def subtitles_are_no_films(library, page):
    kinds = {row[0]: row[1] for row in page.table("By kind")}
    rows = [row["path"] for row in library.rows("video")]
    assert kinds["Films"] == 2 and kinds.get("Subtitles", 0) == sum(path.endswith(".srt") for path in rows)
    assert ("Subtitles" in kinds) == (library.rules == "appliance")
    assert "without a known size" not in page.root.text, "both films have one"


def albums_that_lack_tracks_are_told(_library, page):
    one = lists(page).get("1 album lacks tracks")
    assert entries(one) == ["Nina \u2013 Hits"] and "lacks 2-3 of 4 tracks" in one.text


def formats_that_players_find_hard_are_told(library, page):
    names = [name for name in lists(page) if ": " in name]
    assert any(name.startswith("1 file of Windows Media Video: ") for name in names)
    # That a film is of such a codec is known by its facts alone.
    assert any(name.startswith("1 file of DivX 3: ") for name in names) == (library.rules == "complete")


@pytest.mark.sqlite
def test_growth_goes_by_when_files_were_catalogued(make_daemon):
    box = make_daemon()
    box.configure(rules="complete")
    for number in range(3):
        box.write(f"{MUSIC}/{number}.mp3", song(artist="Nina"))
    box.start().index("R:all")
    with sqlite3.connect(box.box.path("/var/lib/velu/mediaserver.db")) as connection:
        connection.execute("update file_state set added = '2021-05-06T07:08:09Z' where path like '%/0.mp3'")
    connection.close()
    page = report(box)
    years = [[cell.text for cell in row.all("td") + row.all("th")] for details in page.root.all("details")
             if "The same in figures" in details.text for row in details.all("tbody")[0].all("tr")]
    assert [(row[3], row[0]) for row in years][0] == ("2021", "1") and years[-1][0] == "2"
    assert "first catalogued" in page.root.text


def test_what_rules_leave_out_is_no_problem(make_daemon):
    box = make_daemon()
    box.configure(rules="complete")
    for path in ("quiet/.nomedia", "quiet/1.mp3", ".hidden/1.mp3", "Film.srt"):
        box.write(f"{MUSIC}/{path}", song(artist="Nina"))
    box.write(f"{MUSIC}/1.mp3", song(artist="Nina"))
    box.start().index("R:all")
    assert box.ctl("check")["status"] == DONE
    assert "nothing wrong was found" in report(box).root.text


@pytest.mark.sqlite
def test_it_stays_small(make_daemon):
    box = make_daemon()
    box.configure(rules="complete")
    noise = box.box.path("/tmp/noise.jpg")
    subprocess.run(["convert", "-size", "210x210", "plasma:fractal", "-quality", "99", noise], check=True)
    picture = open(noise, "rb").read()
    assert len(picture) < 150_000
    for number in range(30):
        folder = f"{MUSIC}/{number}"
        box.write(f"{folder}/1.mp3", song(artist="Nina", album=f"Album {number}"))
        box.write(f"{folder}/cover.jpg", picture + bytes(155_000 - len(picture) + number))
    box.start().index("R:all")
    page = box.ctl("report", "-", "--no-check")["out"]
    assert 900_000 < len(page) < 2_000_000
    assert re.search(r"[1-9]\d* of 30 albums with a cover", Page(page.encode("latin-1").decode("utf-8")).root.text)


def recordings_that_are_there_twice_are_told(library, samples):
    for folder in ("One", "Two"):
        media.mp3(library.box.path(f"{MUSIC}/{folder}/song.mp3"), samples / "tone.wav", title="Same", artist="Ida", album=folder)
    library.index("R:all")
    summary, = (name for name in lists(report(library)) if "could be freed" in name)
    assert summary.startswith("2 files of 1 recording; ")
    assert sorted(entries(lists(report(library))[summary])) == [f"{MUSIC}/One/song.mp3", f"{MUSIC}/Two/song.mp3"]


def test_a_recording_that_is_there_many_times_leaves_room_for_others(make_daemon):
    box = make_daemon()
    for title, count in (("Often", 50), ("Twice", 2)):
        for number in range(count):
            box.write(f"{MUSIC}/{title}/{number:02}.mp3", song(title=title, artist="Ida"))
    box.start().index("R:all")
    one, = (one for name, one in lists(report(box)).items() if "could be freed" in name)
    names = entries(one)
    assert len([name for name in names if "/Often/" in name]) == 4 and len([name for name in names if "/Twice/" in name]) == 2
    assert "and 46 more of it" in names and "more. All" not in one.text, "none beside these"


def test_films_and_pictures_that_are_there_twice_are_told(make_daemon):
    box = make_daemon()
    box.write(f"{MUSIC}/One/song.mp3", song(title="Same", artist="Ida"))
    box.write(f"{MUSIC}/Two/song.mp3", song(title="Same", artist="Ida"))
    long_bytes = bytes(range(256)) * 2000
    for path, content in (("video/holiday.avi", long_bytes), ("video/old/holiday.avi", long_bytes), ("video/other.avi", long_bytes[::-1]),
                          ("photo/a.jpg", b"picture"), ("photo/b.jpg", b"picture"), ("photo/c.jpg", b"PICTURE")):
        box.write(f"/volume1/{path}", content)
    box.start().index("R:all")
    found = {name: entries(one) for name, one in lists(report(box)).items() if "could be freed" in name}
    songs, files = sorted(found, key=lambda name: "recording" not in name)
    assert songs.startswith("2 files of 1 recording; ") and found[songs] == [f"{MUSIC}/One/song.mp3", f"{MUSIC}/Two/song.mp3"]
    assert re.fullmatch(f"4 files, of which 2 would do; {len(long_bytes) // 1000}\\skB could be freed", files)
    assert found[files] == [f"/volume1/{name}" for name in ("video/holiday.avi", "video/old/holiday.avi", "photo/a.jpg", "photo/b.jpg")]
    page = box.ctl("report", "--no-check", "-")["out"]
    assert "2 files of 1 recording; " in page and "would do" not in page and "the disk was left alone" in page


def test_more_files_of_one_size_than_a_page_compares_are_counted(make_daemon):
    box = make_daemon()
    for number in range(1001):
        box.write(f"/volume1/photo/{number}.jpg", b"small")
    for name in ("a", "b"):
        box.write(f"/volume1/photo/{name}.jpg", b"large picture")
    box.start().index("R:photo")
    page = box.ctl("report", "-")["out"]
    assert "2 files, of which 1 would do; " in page and re.search(r"1.{1,3}001 files were not compared, since there are so many of one size\.", page)


def test_numbers_of_tracks_are_a_sentence(make_daemon):
    box = make_daemon()
    box.configure(rules="complete")
    for number in (1, 2, 3, 5):
        box.write(f"{MUSIC}/Album/{number}.mp3", song(artist="Nina", album="Hits", track=f"{number}/7"))
    box.start().index("R:all")
    assert "lacks 4 and 6-7 of 7 tracks" in lists(report(box))["1 album lacks tracks"].text


def test_the_page_of_a_library(library, samples):
    page = report(library)
    for holds in (numbers_open_the_files_behind_them, the_commands_that_it_names_answer, albums_are_those_of_their_album_artists,
                  subtitles_are_no_films, albums_that_lack_tracks_are_told, formats_that_players_find_hard_are_told):
        holds(library, page)
    recordings_that_are_there_twice_are_told(library, samples)
