# SPDX-License-Identifier: GPL-2.0-or-later
"""A few groups of an answer are the first ones of the whole answer, though not all groups are made for them."""
import json

import pytest
from harness.short_songs import song

MUSIC = "/volume1/music"
SINGERS = "Ada Ben Cleo Dan Eve Flo".split()
# More titles of many small albums than are looked at for one album, then a large one that none of them comes near.
SPLIT = [(f"Hits {number}", singer) for number in range(5) for singer in SINGERS]
LARGE = [("Epic", "Gus")] * 5
SPELLED = [("Blue", "Ada"), ("blue", "Ben"), ("BLUE", "Cleo"), ("Blue", "Ada"), ("Amber", "Dan"), ("amber", "Eve"), ("Zoo", "Flo")]


@pytest.fixture(params=["complete", "appliance"])
def library(make_daemon, request):
    box = make_daemon()
    box.configure(rules=request.param)
    for number, (album, artist) in enumerate(SPLIT + LARGE + SPELLED):
        box.write(f"{MUSIC}/{artist}/{album}/{number}.mp3", song(title=f"Song {number}", artist=artist, album=album))
    box.start().index("A:/volume1/music")
    return box


def answer(box, *words):
    return json.loads(box.ctl(*words, "--json")["out"])


def test_the_largest_albums_are_the_first_of_all(library):
    every = answer(library, "list", "albums")
    assert every[0]["album"] == "Epic" and len(every) == len(SPLIT) + 1 + 6
    for few in (1, 2, 3, 7, len(every), len(every) + 1):
        assert answer(library, "list", "albums", "-n", str(few)) == every[:few], few
    of_ada = answer(library, "list", "albums", "artist=ada")
    assert answer(library, "list", "albums", "artist=ada", "-n", "2") == of_ada[:2] and len(of_ada) == 6


@pytest.mark.parametrize("order", [(), ("--sort", "album,artist"), ("--sort", "-album,artist"), ("--sort", "-files,album,artist")])
def test_the_first_groups_are_those_of_all(library, order):
    words = ("find", "kind=song", "--group", "album,artist", *order)
    every = answer(library, *words)
    assert len(every) == len(SPLIT) + 1 + 6
    for few in (1, 2, 4, 6, len(every), len(every) + 1):
        assert answer(library, *words, "-n", str(few)) == every[:few], few


def test_what_came_last_is_the_end_of_all(library):
    every = answer(library, "recent", "-n", "1000")
    assert len(every) == len(SPLIT + LARGE + SPELLED)
    assert answer(library, "recent", "-n", "3") == every[:3]


def test_what_came_at_a_time_is_found_though_more_came_later(make_daemon):
    box = make_daemon()
    box.configure(rules="complete")
    for number in range(20):
        box.write(f"{MUSIC}/{number:02}.mp3", song(title=f"Song {number}", artist="Ada"))
    box.start().index("A:/volume1/music")
    for number in range(20):
        box.catalogue.store("update file_state set added = ? where path = ?", (f"20{number:02}-05-04T10:11:12Z", f"{MUSIC}/{number:02}.mp3"), "music")

    def years(*words):
        return [row["path"].rsplit("/", 1)[1][:2] for row in answer(box, *words)]

    assert years("recent", "-n", "3") == ["19", "18", "17"]
    assert years("find", "added=2010..", "--sort", "-added", "-n", "3") == ["19", "18", "17"]
    assert years("find", "added=..2005", "--sort", "-added", "-n", "3") == ["05", "04", "03"]
    assert years("find", "added=2003", "or", "added=2004", "--sort", "-added", "-n", "9") == ["04", "03"]
    assert years("find", "added=2010..", "-added=2018", "--sort", "-added", "-n", "2") == ["19", "17"]
