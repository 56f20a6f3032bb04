# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl export: all rows, or what find finds, as a playlist, as lines of JSON and as CSV."""
import csv
import io
import json
import os

import pytest
from harness import id3, short_songs

DONE, FOUND, USAGE, UNREACHABLE, FAILED = 0, 1, 2, 6, 8
MUSIC = "/volume1/music"
HOSTILE = f"{MUSIC}/\x1b[31m \xe9,\"x\".mp3"


def song(title, artist, genre):
    return short_songs.song(4, id3.UTF_8, 40, title=title, artist=artist, genre=genre)


@pytest.fixture(params=["complete", "appliance"])
def rules(request):
    return request.param


@pytest.fixture
def library(make_daemon, rules, samples):
    box = make_daemon(speed=20)  # a reader of films has 90 seconds of this clock
    box.configure(rules=rules)
    box.write(f"{MUSIC}/a.mp3", song("One, \"two\"", "Nina\0Eve", "Jazz"))
    box.write(f"{MUSIC}/b.mp3", song("Zwei", "Äon", "Jazz"))
    box.write(HOSTILE, song("Three", "Eve", "Pop"))
    box.copy(samples / "exif.jpg", "/volume1/photo/exif.jpg")
    box.copy(samples / "clip.mp4", "/volume1/video/clip.mp4")
    box.start().index("R:all", "R:photo")
    return box


def path_of(row):
    return bytes.fromhex(row["path_hex"]).decode("latin-1") if "path_hex" in row else row["path"].encode().decode("latin-1")


def lines(box, *words):
    """Rows of an export in JSON, by path."""
    rows = [json.loads(line.encode("latin-1")) for line in box.ctl("export", "jsonl", *words)["out"].splitlines()]
    return {path_of(row): row for row in rows}


def facts_of(box):
    facts = {}
    for row in sorted(box.rows("fact"), key=lambda row: row["position"]):
        facts.setdefault(row["path"], {}).setdefault(row["name"], []).append(row["value"])
    return facts


def text_of(value):
    return str(value).encode().decode("latin-1")


def test_lines_of_json_hold_all_that_is_known(library, rules):
    rows = lines(library)
    assert sorted(rows) == sorted(library.media_paths())
    listed = {path_of(row): row for row in library.ctl_json("list")}
    known = facts_of(library) if rules == "complete" else {}
    states = {row["path"]: row for row in library.rows("file_state")} if rules == "complete" else {}
    for path, row in rows.items():
        facts = row.pop("facts", {})
        if rules == "complete":
            assert (row.pop("added"), row.pop("trouble")) == (states[path]["added"], states[path]["trouble"])
        assert row == listed[path]
        values = {name: [text_of(one) for one in (value if isinstance(value, list) else [value])] for name, value in facts.items()}
        assert {name: [float(one) if isinstance(facts[name], (int, float)) else one for one in value] for name, value in values.items()} == {
            name: [float(one) if isinstance(facts[name], (int, float)) else one for one in value] for name, value in known.get(path, {}).items()}
    if rules == "complete":
        assert lines(library, "a.mp3")[f"{MUSIC}/a.mp3"]["facts"]["artist"] == ["Nina", "Eve"]
        assert lines(library, "a.mp3")[f"{MUSIC}/a.mp3"]["facts"]["codec"] == "mp3"


def test_csv_has_the_same_columns_for_every_row(library, rules):
    rows = list(csv.DictReader(io.StringIO(library.ctl("export", "csv")["out"], newline="")))
    assert sorted(row["path"] for row in rows) == sorted(library.media_paths())
    row = next(row for row in rows if row["path"] == f"{MUSIC}/a.mp3")
    assert row["title"] == "One, \"two\"" and row["kind"] == "music" and None not in row
    if rules == "complete":
        assert row["codec"] == "mp3" and row["added"].endswith("Z") and "musicbrainz_trackid" in row and "companion" in row
        assert row["artist"] == "Nina; Eve" and list(row).count("artist") == 1
        photo = next(row for row in rows if row["kind"] == "photo")
        assert {name: photo[name] for name in ("codec", "trouble")} == {"codec": "", "trouble": ""}
    else:
        assert "codec" not in row and "added" not in row


def test_a_playlist_is_of_songs_and_films(library):
    text = library.ctl("export", "m3u8")["out"]
    played = [line for line in text.splitlines() if not line.startswith("#")]
    assert text.startswith("#EXTM3U\n") and played == sorted(played, key=lambda path: ("video" in path, path)) and len(played) == 4
    assert library.ctl("export", "m3u8", "jazz")["out"] == library.ctl("find", "jazz", "--m3u")["out"] != ""
    assert library.ctl("export", "m3u8", "kind=photo")["status"] == USAGE
    assert library.ctl("export", "m3u", "jazz") == library.ctl("export", "m3u8", "jazz")
    answer = library.ctl("export", "m3v")
    assert answer["status"] == USAGE and "m3u8 (or m3u), jsonl and csv" in answer["err"]
    assert library.ctl("export", "m3u8", "jazz", "-o", "/tmp/jazz.m3u8") == {"status": DONE, "out": "", "err": "2 rows in '/tmp/jazz.m3u8'.\n"}


def test_the_words_are_those_of_find(library):
    for words in (["genre=jazz"], ["jazz", "or", "kind=photo"], ["-jazz", "--kind", "music"], ["--dir", "/volume1/video"], ["--sort", "-title", "-n", "2"],
                  ["kind=library"]):
        wanted = [path_of(row) for row in library.ctl_json(*(["find"] if words[0][:2] != "--" else ["find", "mp3", "or", "mp4", "or", "jpg"]), *words)]
        assert list(lines(library, *words)) == wanted != [], words
    wrong = library.ctl("export", "csv", "artst=x")
    assert wrong["status"] == USAGE and "artst" in wrong["err"] and wrong["out"] == ""
    assert library.ctl("export", "csv", "--sort", "colour")["status"] == USAGE
    assert library.ctl("export", "xml")["status"] == USAGE and library.ctl("export")["status"] == USAGE


def test_more_rows_than_are_taken_at_once(library):
    for number in range(1100):
        library.write(f"{MUSIC}/many/{number:04}.mp3", short_songs.song(4, sound=4, title=f"T{number}"))
    library.index(f"A:{MUSIC}/many")
    rows = lines(library, "--dir", f"{MUSIC}/many")
    assert len(rows) == 1100 and all(row["title"] == f"T{int(path[-8:-4])}" for path, row in rows.items())
    assert all("facts" not in row or row["facts"]["codec"] == "mp3" for row in rows.values())


def test_a_file_is_replaced_whole_or_stays_as_it_is(library):
    """With its rights, and nothing is left beside it."""
    library.write("/tmp/out/all.csv", "before")
    place = library.box.path("/tmp/out/all.csv")
    os.chmod(place, 0o640)
    for words in (["artst=x"], ["--sort", "colour"]):
        assert library.ctl("export", "csv", *words, "-o", "/tmp/out/all.csv")["status"] == USAGE
    library.configure(mediadb="sqlite:/dev/null/media.db")
    assert library.ctl("export", "csv", "-o", "/tmp/out/all.csv")["status"] == UNREACHABLE
    assert library.read("/tmp/out/all.csv") == b"before"
    library.configure()
    answer = library.ctl("export", "csv", "-o", "/tmp/out/all.csv")
    assert answer["status"] == DONE and answer["out"] == "" and answer["err"] == "5 rows in '/tmp/out/all.csv'.\n"
    assert library.read("/tmp/out/all.csv").decode("latin-1") == library.ctl("export", "csv", "-o", "-")["out"]
    assert os.stat(place).st_mode & 0o777 == 0o640 and os.listdir(os.path.dirname(place)) == ["all.csv"]
    nothing = library.ctl("export", "jsonl", "nothing of the kind", "--output", "/tmp/out/all.csv")
    assert nothing["status"] == FOUND and library.read("/tmp/out/all.csv") == b""


def test_what_cannot_be_written_is_said(library):
    os.symlink("all.csv", library.box.path("/tmp/link"))
    for place, why in (("/dev/full", "is there and no ordinary file"), ("/tmp/link", "is there and no ordinary file"), ("/tmp/none/x", "No such file")):
        answer = library.ctl("export", "csv", "-o", place)
        assert answer["status"] == FAILED and why in answer["err"], place
    full = library.box.ask("run", arguments=["/bin/sh", "-c", f"{library.ctl_program} export csv > /dev/full"], environment={}, timeout=60)
    assert full["status"] == FAILED
