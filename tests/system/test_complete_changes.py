# SPDX-License-Identifier: GPL-2.0-or-later
"""Changes under the rules `complete`: what has not changed is not opened, and subtitles are facts of their films."""
import contextlib
import os
import sqlite3

import pytest
from test_complete import MUSIC, box, run  # noqa: F401  (box is a fixture)
from test_complete_facts import facts_of
from test_complete_kinds import again, move

VIDEO = "/volume1/video"


def store(box, sql, *values):
    """Writes to the media catalogue as another program would."""
    with contextlib.closing(sqlite3.connect(box.catalogue._file("music"), timeout=30)) as catalogue:  # pylint: disable=protected-access
        catalogue.execute(sql, values)
        catalogue.commit()


def stamp_all(box):
    """Stamps that hold, as they are written once a file has been at rest for some seconds."""
    for row in box.rows("file_state"):
        status = os.stat(box.box.path(row["path"]))
        store(box, "update file_state set stamp = ? where path = ?", stamp_of(status), row["path"])


def stamp_of(status):
    def text(nanoseconds):
        return f"{nanoseconds // 10**9}.{nanoseconds % 10**9:09}"
    return f"{status.st_size} {text(status.st_mtime_ns)} {text(status.st_ctime_ns)} {status.st_ino} r2"


def test_a_film_has_its_subtitles(box):  # noqa: F811
    film = box.write(f"{VIDEO}/f/film.mkv", "film F")
    box.write(f"{VIDEO}/f/film 2.mkv", "film G")
    expected = [box.write(f"{VIDEO}/f/{name}", "text") for name in ("film.de.srt", "film.srt")]
    second = box.write(f"{VIDEO}/f/film 2.srt", "text")
    box.write(f"{VIDEO}/f/other.srt", "text")
    run(box, f"A:{VIDEO}")
    assert box.paths("video") == [f"{VIDEO}/f/film 2.mkv", film]
    facts = facts_of(box)
    assert facts[film]["subtitle"] == expected and facts[f"{VIDEO}/f/film 2.mkv"]["subtitle"] == [second]
    box.remove(expected[1])
    move(box, second, f"{VIDEO}/f/film.zz.vtt")
    again(box, f"d:{expected[1]}", f"N:{VIDEO}/f/film.zz.vtt:{second}")
    facts = facts_of(box)
    assert facts[film]["subtitle"] == [expected[0], f"{VIDEO}/f/film.zz.vtt"] and f"{VIDEO}/f/film 2.mkv" not in facts
    box.remove(expected[0])
    again(box, "R:video")
    assert facts_of(box)[film]["subtitle"] == [f"{VIDEO}/f/film.zz.vtt"]


def test_subtitles_may_name_their_language_as_it_calls_itself(box):  # noqa: F811
    beside = {"one": ("Deutsch",), "two": ("Italiano.forced", "en"), "three": ("SVENSKA",), "four": ("Deutschland",)}
    for film, names in beside.items():
        box.write(f"{VIDEO}/{film}.mkv", f"film {film}")
        for name in names:
            box.write(f"{VIDEO}/{film}.{name}.srt", "text")
    run(box, f"A:{VIDEO}")
    found = {film: facts_of(box)[f"{VIDEO}/{film}.mkv"].get("subtitle_file_language") for film in beside}
    assert found == {"one": ["deu"], "two": ["ita", "eng"], "three": ["swe"], "four": None}
    os.rename(box.box.path(f"{VIDEO}/one.Deutsch.srt"), box.box.path(f"{VIDEO}/one.Nederlands.srt"))
    again(box, f"d:{VIDEO}/one.Deutsch.srt", f"a:{VIDEO}/one.Nederlands.srt")
    assert facts_of(box)[f"{VIDEO}/one.mkv"]["subtitle_file_language"] == ["nld"]


@pytest.mark.sqlite
def test_what_has_not_changed_is_not_opened(box):  # noqa: F811
    paths = [box.write(f"{MUSIC}/{number % 3}/{number}.mp3", f"title T{number}") for number in range(30)]
    run(box, f"A:{MUSIC}")
    stamp_all(box)
    for path in paths:  # what a reader would say, were it asked
        assert box.row("music", path)["title"]
        store(box, "update music set title = 'kept' where path = ?", path)
    box.write(paths[4], "title new")
    again(box, f"A:{MUSIC}", f"a:{paths[0]}", "R:music")
    titles = {row["path"]: row["title"] for row in box.rows("music")}
    assert titles == {path: "new" if path == paths[4] else "kept" for path in paths}
    again(box, "T:file_state", f"A:{MUSIC}")
    assert box.row("music", paths[0])["title"] == "T0"
